#include "kernel/workers/worker.h"

#include "kernel/workers/overseer.h"
#include "kernel/workers/workerdelegate.h"
#include "kernel/workers/workerstate.h"

namespace tov::main {

Worker::Worker(bool creatorKeepsOwnership) : mp_State(new State)
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
    Overseer* overseer = Overseer::getInstance();
    if (overseer->isApplicationThread()) {
        overseer->processWorkersUntil([this] { return isFinished(); });
    }
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

WorkerDelegate::InternalWorker::InternalWorker(tov::util::DelegateBase* delegate, bool creatorKeepsOwnership)
    : Worker(creatorKeepsOwnership), mp_Delegate(delegate)
{}

WorkerDelegate::InternalWorker::~InternalWorker()
{
    delete mp_Delegate;
    mp_Delegate = nullptr;
}

void WorkerDelegate::InternalWorker::run()
{
    mp_Delegate->call();
}

} // namespace tov::main
