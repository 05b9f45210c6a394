#pragma once

#include "kernel/main/export.h"

#include <functional>

class QSettings;
class QThread;

namespace tov::main {

class CommandProcessor;
class Worker;

/// The host's centre: the application thread, its queue of workers, and the command processor. It exists from the first
/// `getInstance` (which must be on the application thread, after the QCoreApplication) until `destroyInstance`.
class TOV_EXPORT Overseer
{
public:
    /// The one instance. Thread: application at first, then any.
    static Overseer* getInstance();
    /// Ends the command processor (stops and waits for running commands), runs what is queued, drops what comes later,
    /// and destroys the instance. Thread: application.
    static void destroyInstance();

    /// The thread on which widgets, GL contexts and off-screen surfaces are made. Thread: any.
    QThread* getApplicationThread() const;
    /// True on the application thread. Thread: any.
    bool isApplicationThread() const;

    /// Takes the worker over (unless its creator keeps it) and runs it on the application thread, strictly in the order
    /// in which workers came. Called on the application thread it first runs what is queued, then this one, then
    /// returns; from within a running worker it is run at once. An exception of the worker is caught and logged.
    /// Thread: any.
    void transmitWorker(Worker* worker);

    /// Runs `function` on the application thread as a worker and waits for it; false when it threw or was dropped.
    /// Thread: any.
    bool runAndWait(std::function<void()> function);
    /// Runs `function` on the application thread as a worker without waiting. Thread: any.
    void post(std::function<void()> function);

    /// Runs the queued workers now. Thread: application.
    void processWorkers();
    /// Runs workers (and nothing else of the event loop) until `condition` holds; it is tested after every worker and
    /// at least every 10 ms. `timeoutMs` below 0 = no limit; false when the time is over. Thread: application.
    bool processWorkersUntil(const std::function<bool()>& condition, int timeoutMs = -1);

    /// The command processor; never null between construction and destruction. Thread: any.
    CommandProcessor* getCommandProcessor() const;

    /// The calling thread's settings object, the same store as `tovSettings()`. Owned by the host. Thread: any.
    QSettings* getQSettings() const;

private:
    Overseer();
    ~Overseer();
    struct Private;
    Private* d; ///< owned
};

} // namespace tov::main
