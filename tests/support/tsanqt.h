#pragma once

namespace tov::test {

/// Tells the thread sanitizer that posting an event happens before delivering it. Call it before each delivery. Does
/// nothing in builds without the sanitizer.
void eventReceived();

} // namespace tov::test
