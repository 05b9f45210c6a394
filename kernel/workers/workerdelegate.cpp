#include "kernel/workers/workerdelegate.h"

namespace tov::main {

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
