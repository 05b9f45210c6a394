#pragma once

namespace tov::test {

/// Called before each event is delivered: what was done before it was posted is ordered before what follows. Does
/// nothing but in builds with the thread sanitizer.
void eventReceived();

} // namespace tov::test
