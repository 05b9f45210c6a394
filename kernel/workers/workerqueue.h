#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

class QObject;
class QThread;

namespace tov::main {

class Worker;

/// The workers that wait for the application thread. The Overseer owns the only one and documents these operations for
/// everybody outside the kernel.
class WorkerQueue
{
public:
    /// Belongs to the thread of the QCoreApplication, or to the calling thread if there is none yet. Thread:
    /// application.
    WorkerQueue();
    WorkerQueue(const WorkerQueue&) = delete;
    WorkerQueue& operator=(const WorkerQueue&) = delete;
    ~WorkerQueue();

    /// The application thread. Thread: any.
    QThread* getThread() const { return mp_Thread; }
    /// True on the application thread. Thread: any.
    bool isOwnThread() const;

    /// See `Overseer::transmitWorker`. Thread: any.
    void transmit(Worker* worker);
    /// See `Overseer::runAndWait`. Thread: any.
    bool runAndWait(std::function<void()> function);
    /// See `Overseer::post`. Thread: any.
    void post(std::function<void()> function);
    /// See `Overseer::processWorkers`. Thread: application.
    void process();
    /// See `Overseer::processWorkersUntil`. Thread: application.
    bool processUntil(const std::function<bool()>& condition, int timeoutMs);
    /// Drops the queued workers, and from now on every worker: its waiter returns at once with false. Thread:
    /// application.
    void end();

private:
    class Receiver;

    static void finish(Worker* worker, bool succeeded);
    void run(Worker* worker);
    void notify();
    Worker* next();

    QThread* const mp_Thread;
    std::unique_ptr<QObject> mp_Receiver; ///< null after the end
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<Worker*> m_Workers;    ///< guarded by m_Mutex
    bool m_Posted = false;            ///< guarded by m_Mutex; an event is on its way
    std::atomic<bool> m_Ended{false}; ///< set under m_Mutex, by the application thread
    int m_Depth = 0;                  ///< workers on the application thread's stack
};

} // namespace tov::main
