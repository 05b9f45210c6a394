#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace tov::main {

/// The state that the worker queue and the waiter of a worker share.
struct WorkerState
{
    bool creatorKeepsOwnership = false;
    bool waited = false;
    std::atomic<int> references{1}; ///< one of the queue or the creator, one of the waiter
    std::mutex mutex;
    std::condition_variable changed;
    bool finished = false;  ///< guarded by mutex
    bool succeeded = false; ///< guarded by mutex
};

} // namespace tov::main
