#pragma once

#include <functional>

namespace tov::scene {

/// Percent 0 to 100; return false to cancel. Called on the thread that imports.
typedef std::function<bool(int percent)> ReadProgress;

} // namespace tov::scene
