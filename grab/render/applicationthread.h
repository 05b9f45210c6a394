#pragma once

#include "kernel/workers/overseer.h"
#include "kernel/workers/workerdelegate.h"

#include <functional>
#include <utility>

namespace tov::grab::render {

/// Runs a function on the application thread and returns when it has run. Thread: any.
inline void onApplicationThread(std::function<void()> function)
{
    tov::main::Worker* worker =
        new tov::main::WorkerDelegate::InternalWorker(new tov::util::FunctionDelegate(std::move(function)), false);
    worker->setWait(true);
    tov::main::Overseer::getInstance()->transmitWorker(worker);
    worker->wait();
}

} // namespace tov::grab::render
