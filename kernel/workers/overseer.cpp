#include "kernel/workers/overseer.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/log/logger.h"
#include "kernel/main/settings.h"
#include "kernel/workers/workerdelegate.h"
#include "kernel/workers/workerstate.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace tov::main {

namespace {

/// Stays after `destroyInstance`: libraries may use the Overseer while they are unloaded and the process exits.
std::atomic<Overseer*> instance{nullptr};
const QEvent::Type WorkersEvent = QEvent::Type(QEvent::registerEventType());

/// Lives on the application thread and runs the workers when an event says so.
class Receiver : public QObject
{
public:
    explicit Receiver(Overseer* overseer) : mp_Overseer(overseer) {}

protected:
    bool event(QEvent* event) override
    {
        if (event->type() != WorkersEvent)
            return QObject::event(event);
        mp_Overseer->processWorkers();
        return true;
    }

private:
    Overseer* mp_Overseer;
};

} // namespace

struct Overseer::Private
{
    QThread* applicationThread = nullptr;
    std::atomic<CommandProcessor*> processor{nullptr}; ///< owned; null after the end
    std::unique_ptr<Receiver> receiver;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Worker*> queue; ///< guarded by mutex
    bool posted = false;       ///< guarded by mutex; an event is on its way
    /// Set under the mutex, by the application thread.
    std::atomic<bool> ended{false};
    int depth = 0; ///< workers on the application thread's stack

    /// Stores the worker's result, wakes its waiter and gives up the Overseer's reference.
    static void finish(Worker* worker, bool succeeded)
    {
        WorkerState* state = worker->mp_State.get();
        const bool keeps = state->creatorKeepsOwnership;
        {
            std::lock_guard<std::mutex> guard(state->mutex);
            state->finished = true;
            state->succeeded = succeeded;
            state->changed.notify_all();
            if (keeps) // The creator may delete it as soon as the lock is free.
                return;
        }
        if (state->references.fetch_sub(1) == 1)
            delete worker;
    }

    void run(Worker* worker)
    {
        bool succeeded = false;
        ++depth;
        try {
            worker->run();
            succeeded = true;
        } catch (const std::exception& e) {
            tov::log::Logger::log(tov::log::LevelError, "main/overseer", __LINE__, __func__, nullptr,
                                  "Work for the application thread failed: %s", e.what());
        } catch (...) {
            tov::log::Logger::log(tov::log::LevelError, "main/overseer", __LINE__, __func__, nullptr,
                                  "Work for the application thread failed");
        }
        --depth;
        finish(worker, succeeded);
        if (depth == 0) {
            // An event that was delivered in a nested event loop has left its workers in the queue.
            std::lock_guard<std::mutex> guard(mutex);
            if (!queue.empty())
                notify();
        }
    }

    /// Makes the event loop run the workers. The mutex is held.
    void notify()
    {
        if (posted)
            return;
        posted = true;
        QCoreApplication::postEvent(receiver.get(), new QEvent(WorkersEvent), Qt::HighEventPriority);
    }

    Worker* next()
    {
        std::lock_guard<std::mutex> guard(mutex);
        if (queue.empty())
            return nullptr;
        Worker* worker = queue.front();
        queue.pop_front();
        return worker;
    }
};

Overseer* Overseer::getInstance()
{
    Overseer* overseer = instance.load();
    if (!overseer) {
        overseer = new Overseer;
        instance.store(overseer);
        overseer->d->processor = new CommandProcessor;
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
    overseer->processWorkers();
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->ended = true;
    }
    while (Worker* worker = d->next())
        Private::finish(worker, false);
    d->receiver.reset();
}

Overseer::Overseer() : d(new Private)
{
    d->applicationThread =
        QCoreApplication::instance() ? QCoreApplication::instance()->thread() : QThread::currentThread();
    d->receiver = std::make_unique<Receiver>(this);
    d->receiver->moveToThread(d->applicationThread);
}

QThread* Overseer::getApplicationThread() const
{
    return d->applicationThread;
}

bool Overseer::isApplicationThread() const
{
    return QThread::currentThread() == d->applicationThread;
}

void Overseer::transmitWorker(Worker* worker)
{
    if (isApplicationThread() && !d->ended) {
        // Inside a worker, the queue is left alone: its workers came later than the one that is running, and must not
        // run in the middle of it.
        if (d->depth == 0)
            processWorkers();
        d->run(worker);
        return;
    }
    bool dropped = false;
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        if (d->ended) {
            dropped = true;
        } else {
            d->queue.push_back(worker);
            d->notify();
            d->changed.notify_all();
        }
    }
    if (dropped)
        Private::finish(worker, false);
}

bool Overseer::runAndWait(std::function<void()> function)
{
    auto* worker = new WorkerDelegate::InternalWorker(new tov::util::FunctionDelegate(std::move(function)), false);
    worker->setWait(true);
    transmitWorker(worker);
    return worker->wait();
}

void Overseer::post(std::function<void()> function)
{
    transmitWorker(new WorkerDelegate::InternalWorker(new tov::util::FunctionDelegate(std::move(function)), false));
}

void Overseer::processWorkers()
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->posted = false;
    }
    // In a nested event loop of a running worker: the following workers wait until it is done.
    if (d->depth > 0)
        return;
    while (Worker* worker = d->next())
        d->run(worker);
}

bool Overseer::processWorkersUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        if (condition())
            return true;
        if (timeoutMs >= 0 && clock.elapsed() > timeoutMs)
            return false;
        if (Worker* worker = d->next()) {
            d->run(worker);
            continue;
        }
        std::unique_lock<std::mutex> lock(d->mutex);
        d->changed.wait_for(lock, std::chrono::milliseconds(10), [this] { return !d->queue.empty(); });
    }
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
