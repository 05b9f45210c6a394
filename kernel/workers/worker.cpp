#include "kernel/workers/worker.h"

#include "kernel/workers/workerstate.h"

namespace tov::main {

Worker::Worker(bool creatorKeepsOwnership) : mp_State(new WorkerState)
{
    mp_State->creatorKeepsOwnership = creatorKeepsOwnership;
}

Worker::~Worker() = default;

void Worker::setWait(bool wait)
{
    if (wait == mp_State->waited)
        return;
    mp_State->waited = wait;
    mp_State->references += wait ? 1 : -1;
}

bool Worker::wait()
{
    bool succeeded;
    {
        std::unique_lock<std::mutex> lock(mp_State->mutex);
        mp_State->changed.wait(lock, [this] { return mp_State->finished; });
        succeeded = mp_State->succeeded;
    }
    const bool keeps = mp_State->creatorKeepsOwnership;
    if (mp_State->references.fetch_sub(1) == 1 && !keeps)
        delete this;
    return succeeded;
}

bool Worker::isFinished() const
{
    std::lock_guard<std::mutex> guard(mp_State->mutex);
    return mp_State->finished;
}

} // namespace tov::main
