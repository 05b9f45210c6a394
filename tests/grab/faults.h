#pragma once

#include "kernel/main/export.h"

#include <atomic>

/// Injects faults of the system, Qt and OpenGL: definitions in the test program replace a few functions of the
/// libraries and call the originals.
namespace tov::test::faults {

/// The thread in which a fault occurs.
enum class TOV_EXPORT Where
{
    Nowhere,
    Application,
    Capture,
};

TOV_EXPORT inline std::atomic<bool> sysinfoFails{false};
/// Pages of 4096 bytes that `sysinfo` reports as free and as buffers; below 0: the real numbers.
TOV_EXPORT inline std::atomic<long long> freePages{-1};
TOV_EXPORT inline std::atomic<long long> bufferPages{0};
TOV_EXPORT inline std::atomic<bool> contextCreateFails{false};
TOV_EXPORT inline std::atomic<Where> makeCurrentFails{Where::Nowhere};
/// How many of the next bindings on capture threads fail.
TOV_EXPORT inline std::atomic<int> bindsToFail{0};
/// How many of the next read-backs on capture threads return no image.
TOV_EXPORT inline std::atomic<int> readBacksToFail{0};
TOV_EXPORT inline std::atomic<bool> framebuffersMissing{false};
/// The maximum texture size that OpenGL reports; below 0: the real one.
TOV_EXPORT inline std::atomic<int> maxTextureSize{-1};
TOV_EXPORT inline std::atomic<bool> bufferOpenFails{false};
/// How many of the next writes to chunks on capture threads throw `std::bad_alloc`.
TOV_EXPORT inline std::atomic<int> writesWithoutMemory{0};
/// The most bytes that a write to a chunk on a capture thread accepts; 0: no limit.
TOV_EXPORT inline std::atomic<long long> shortWrite{0};
/// Number of calls, to check that the fault was in use at all.
TOV_EXPORT inline std::atomic<int> bufferOpens{0};
/// How many of the next calls of glGetError on capture threads report that memory ran out.
TOV_EXPORT inline std::atomic<int> glErrors{0};
/// Threads whose name ends with this text cannot be started; an empty text means threads without a name; null: no
/// fault. Not in builds with the thread sanitizer.
TOV_EXPORT inline std::atomic<const char*> refusedThread{nullptr};
/// What `QTime::restart` returns on capture threads, in milliseconds; while it is set, `QThread::msleep` does not sleep
/// there. Null: the real time.
TOV_EXPORT inline std::atomic<int (*)()> onRestart{nullptr};
/// Called instead of `QThread::msleep` on capture threads while `onRestart` is set.
TOV_EXPORT inline std::atomic<void (*)(unsigned long milliseconds)> onSleep{nullptr};
/// Called before `madvise` unless null.
TOV_EXPORT inline std::atomic<void (*)()> onMadvise{nullptr};

/// Called on the calling thread before one of these calls: "create" of a context, "open" of a memory chunk on a capture
/// thread, "bind" and "toImage" of a framebuffer object, "msleep" on a capture thread, "flush" of OpenGL, and on
/// capture threads "lock context", "unlock context", "lock scene" and "unlock scene". Null: not used.
TOV_EXPORT inline std::atomic<void (*)(const char* call)> onCall{nullptr};

/// Called after a thread was started, before its starter continues. Null: not used. Not in builds with the thread
/// sanitizer.
TOV_EXPORT inline std::atomic<void (*)()> onStarted{nullptr};

/// How often a context was made current on the application thread after a capture thread had used it.
TOV_EXPORT inline std::atomic<int> contextsBroughtBack{0};

/// Ends every fault.
TOV_EXPORT void clear();

} // namespace tov::test::faults
