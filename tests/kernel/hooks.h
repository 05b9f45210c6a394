#pragma once

#include <functional>

class QThread;

/// Functions that the test program replaces, so that a test can force a race. Not available under ThreadSanitizer,
/// which replaces the same functions.
namespace tov::test::hooks {

#ifdef __SANITIZE_THREAD__
constexpr bool Available = false;
#else
constexpr bool Available = true;
#endif

/// Functions to call when the thread that set them locks a mutex of the standard library.
struct LockHook
{
    std::function<void()> before;  ///< before every lock; may be empty
    std::function<void()> blocked; ///< when the mutex is locked already, before the thread waits for it; may be empty
};
/// Null = none. Locks taken by the hook itself do not call it.
extern thread_local LockHook* lockHook;

/// Called instead of `QThread::start`, on the thread that calls it; `start` is the real one. Empty = none.
extern std::function<void(QThread* thread, const std::function<void()>& start)> startHook;

} // namespace tov::test::hooks
