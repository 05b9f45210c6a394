#include "kernel/workers/workerqueue.h"

#include "kernel/log/logger.h"
#include "kernel/workers/workerdelegate.h"
#include "kernel/workers/workerstate.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QThread>

namespace tov::main {

namespace {

const QEvent::Type WorkersEvent = QEvent::Type(QEvent::registerEventType());

WorkerDelegate::InternalWorker* makeWorker(std::function<void()> function)
{
    return new WorkerDelegate::InternalWorker(new tov::util::FunctionDelegate(std::move(function)), false);
}

void logFailure(const char* function, int line, const QString& text)
{
    tov::log::Logger::log(tov::log::LevelError, "main/overseer", line, function, nullptr, text);
}

} // namespace

/// Lives on the application thread and runs the workers when an event arrives.
class WorkerQueue::Receiver : public QObject
{
public:
    explicit Receiver(WorkerQueue* queue) : mp_Queue(queue) {}

protected:
    bool event(QEvent* event) override
    {
        if (event->type() != WorkersEvent)
            return QObject::event(event);
        mp_Queue->process();
        return true;
    }

private:
    WorkerQueue* mp_Queue;
};

WorkerQueue::WorkerQueue()
    : mp_Thread(QCoreApplication::instance() ? QCoreApplication::instance()->thread() : QThread::currentThread()),
      mp_Receiver(new Receiver(this))
{
    mp_Receiver->moveToThread(mp_Thread);
}

WorkerQueue::~WorkerQueue() = default;

bool WorkerQueue::isOwnThread() const
{
    return QThread::currentThread() == mp_Thread;
}

void WorkerQueue::transmit(Worker* worker)
{
    if (isOwnThread() && !m_Ended) {
        // Inside a worker the queue is not run: its workers were queued after the one that is running, and must not
        // interrupt it.
        if (m_Depth == 0)
            process();
        run(worker);
        return;
    }
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        if (!m_Ended) {
            m_Workers.push_back(worker);
            notify();
            m_Changed.notify_all();
            return;
        }
    }
    finish(worker, false);
}

bool WorkerQueue::runAndWait(std::function<void()> function)
{
    auto* worker = makeWorker(std::move(function));
    worker->setWait(true);
    transmit(worker);
    return worker->wait();
}

void WorkerQueue::post(std::function<void()> function)
{
    transmit(makeWorker(std::move(function)));
}

void WorkerQueue::process()
{
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Posted = false;
    }
    // In a nested event loop of a running worker: the following workers wait until it is done.
    if (m_Depth > 0)
        return;
    while (Worker* worker = next())
        run(worker);
}

bool WorkerQueue::processUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        if (condition())
            return true;
        if (timeoutMs >= 0 && clock.elapsed() > timeoutMs)
            return false;
        if (Worker* worker = next()) {
            run(worker);
            continue;
        }
        std::unique_lock<std::mutex> lock(m_Mutex);
        m_Changed.wait_for(lock, std::chrono::milliseconds(10), [this] { return !m_Workers.empty(); });
    }
}

void WorkerQueue::end()
{
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Ended = true;
    }
    while (Worker* worker = next())
        finish(worker, false);
    mp_Receiver.reset();
}

/// Stores the worker's result, wakes its waiter and gives up the queue's reference.
void WorkerQueue::finish(Worker* worker, bool succeeded)
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

void WorkerQueue::run(Worker* worker)
{
    bool succeeded = false;
    ++m_Depth;
    try {
        worker->run();
        succeeded = true;
    } catch (const std::exception& e) {
        logFailure(__func__, __LINE__,
                   QStringLiteral("Work for the application thread failed: %1").arg(QString::fromLocal8Bit(e.what())));
    } catch (...) {
        logFailure(__func__, __LINE__, QStringLiteral("Work for the application thread failed"));
    }
    --m_Depth;
    finish(worker, succeeded);
    if (m_Depth == 0) {
        // An event that was delivered in a nested event loop has left its workers in the queue.
        std::lock_guard<std::mutex> guard(m_Mutex);
        if (!m_Workers.empty())
            notify();
    }
}

/// Makes the event loop run the workers. The mutex is held.
void WorkerQueue::notify()
{
    if (m_Posted)
        return;
    m_Posted = true;
    QCoreApplication::postEvent(mp_Receiver.get(), new QEvent(WorkersEvent), Qt::HighEventPriority);
}

Worker* WorkerQueue::next()
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    if (m_Workers.empty())
        return nullptr;
    Worker* worker = m_Workers.front();
    m_Workers.pop_front();
    return worker;
}

} // namespace tov::main
