#pragma once

#include "kernel/main/export.h"

#include <atomic>

/// Faults of the system, of Qt and of OpenGL, brought about from outside: this program's own definitions of a few
/// functions come before those of the libraries, and pass on what they need not spoil.
namespace tov::test::faults {

/// Which thread a fault is for: those of captures, or the application's.
enum class TOV_EXPORT Where
{
    Nowhere,
    Application,
    Capture,
};

TOV_EXPORT inline std::atomic<bool> sysinfoFails{false};
/// Bytes that `sysinfo` calls free, in units of a page; below 0 = the truth.
TOV_EXPORT inline std::atomic<long long> freePages{-1};
TOV_EXPORT inline std::atomic<bool> contextCreateFails{false};
TOV_EXPORT inline std::atomic<Where> makeCurrentFails{Where::Nowhere};
/// How many bindings on capture threads fail from now on.
TOV_EXPORT inline std::atomic<int> bindsToFail{0};
/// How many read-backs on capture threads give nothing from now on.
TOV_EXPORT inline std::atomic<int> readBacksToFail{0};
TOV_EXPORT inline std::atomic<bool> framebuffersMissing{false};
/// What OpenGL gives as the largest texture; below 0 = the truth.
TOV_EXPORT inline std::atomic<int> maxTextureSize{-1};
TOV_EXPORT inline std::atomic<bool> bufferOpenFails{false};
/// How many writes into chunks on capture threads find no memory from now on.
TOV_EXPORT inline std::atomic<int> writesWithoutMemory{0};
/// The most bytes that a write into a chunk on a capture thread takes; 0 = no limit.
TOV_EXPORT inline std::atomic<long long> shortWrite{0};
/// Calls that came through here, to tell whether the fault was in the way at all.
TOV_EXPORT inline std::atomic<int> bufferOpens{0};

/// Called on the thread that makes one of these calls, before it: "create" of a context, "open" of a memory chunk on a
/// capture thread, "bind" and "toImage" of a framebuffer object, "msleep" on a capture thread. Null = nobody.
TOV_EXPORT inline std::atomic<void (*)(const char* call)> onCall{nullptr};

/// Called after a thread was started, before its starter goes on. Null = nobody. Not in builds
/// with the thread sanitizer.
TOV_EXPORT inline std::atomic<void (*)()> onStarted{nullptr};

/// How often the context that a capture thread used last has been made current on the application thread afterwards.
TOV_EXPORT inline std::atomic<int> contextsBroughtBack{0};

/// Ends every fault.
TOV_EXPORT void clear();

} // namespace tov::test::faults
