#pragma once

namespace tov::trajectory {

/// Makes the handler emit `positionChanged` on the application thread. Thread: any.
void reportPosition(unsigned long position);

} // namespace tov::trajectory
