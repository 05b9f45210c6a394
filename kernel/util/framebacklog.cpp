#include "kernel/util/framebacklog.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tov::util {

namespace {

/// Longest time between two calls of a waiter's stop function, because nothing wakes the waiter when its result
/// changes.
constexpr std::chrono::milliseconds StopInterval(20);

struct State
{
    std::mutex mutex;
    std::condition_variable changed;
    FrameBacklog::Amount captured; ///< guarded by mutex
    FrameBacklog::Amount taken;    ///< guarded by mutex

    qint64 pendingBytes() const { return captured.bytes - taken.bytes; }
};

/// Never destroyed: encoders of a library may report frames while the process exits.
State& state()
{
    static State* instance = new State;
    return *instance;
}

} // namespace

void FrameBacklog::captured(qint64 frames, qint64 bytes)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.mutex);
    s.captured.frames += frames;
    s.captured.bytes += bytes;
}

void FrameBacklog::taken(qint64 frames, qint64 bytes)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.mutex);
    s.taken.frames += frames;
    s.taken.bytes += bytes;
    s.changed.notify_all();
}

FrameBacklog::Amount FrameBacklog::pending()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.mutex);
    return {std::max<qint64>(0, s.captured.frames - s.taken.frames), std::max<qint64>(0, s.pendingBytes())};
}

FrameBacklog::Amount FrameBacklog::totalTaken()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.mutex);
    return s.taken;
}

bool FrameBacklog::waitUntilBelow(qint64 limitBytes, const std::function<bool()>& stop)
{
    State& s = state();
    for (;;) {
        if (stop && stop())
            return false;
        std::unique_lock<std::mutex> lock(s.mutex);
        if (s.pendingBytes() < limitBytes)
            return true;
        s.changed.wait_for(lock, StopInterval);
    }
}

void FrameBacklog::clear()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.mutex);
    s.captured = {};
    s.taken = {};
    s.changed.notify_all();
}

} // namespace tov::util
