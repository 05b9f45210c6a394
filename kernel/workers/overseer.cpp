#include "kernel/workers/overseer.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/main/settings.h"
#include "kernel/workers/workerqueue.h"

#include <atomic>

namespace tov::main {

namespace {

/// Remains after `destroyInstance`: libraries may use the Overseer while they are unloaded and the process exits.
std::atomic<Overseer*> instance{nullptr};

} // namespace

struct Overseer::Private
{
    WorkerQueue workers;
    std::atomic<CommandProcessor*> processor{nullptr}; ///< owned; null after the end
};

Overseer* Overseer::getInstance()
{
    Overseer* overseer = instance.load();
    if (!overseer) {
        overseer = new Overseer;
        instance.store(overseer);
        overseer->d->processor = new CommandProcessor(overseer->d->workers);
    }
    return overseer;
}

void Overseer::destroyInstance()
{
    Overseer* overseer = instance.load();
    if (!overseer)
        return;
    Private* d = overseer->d;
    // Commands that are ending still use the processor.
    delete d->processor.load();
    d->processor = nullptr;
    d->workers.process();
    d->workers.end();
}

Overseer::Overseer() : d(new Private) {}

QThread* Overseer::getApplicationThread() const
{
    return d->workers.getThread();
}

bool Overseer::isApplicationThread() const
{
    return d->workers.isOwnThread();
}

void Overseer::transmitWorker(Worker* worker)
{
    d->workers.transmit(worker);
}

bool Overseer::runAndWait(std::function<void()> function)
{
    return d->workers.runAndWait(std::move(function));
}

void Overseer::post(std::function<void()> function)
{
    d->workers.post(std::move(function));
}

void Overseer::processWorkers()
{
    d->workers.process();
}

bool Overseer::processWorkersUntil(const std::function<bool()>& condition, int timeoutMs)
{
    return d->workers.processUntil(condition, timeoutMs);
}

CommandProcessor* Overseer::getCommandProcessor() const
{
    return d->processor;
}

QSettings* Overseer::getQSettings() const
{
    return &tovSettings();
}

} // namespace tov::main
