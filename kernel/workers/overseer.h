#pragma once

#include "kernel/main/export.h"

#include <functional>

class QSettings;
class QThread;

namespace tov::main {

class CommandProcessor;
class Worker;

/// The centre of the host: the application thread, its queue of workers, and the command processor. It works from the
/// first `getInstance` (which must be on the application thread, after the QCoreApplication was created) until
/// `destroyInstance`. The object itself is never destroyed; afterwards it drops all workers.
class TOV_EXPORT Overseer
{
public:
    /// The one instance. Thread: application at first, then any.
    static Overseer* getInstance();
    /// Stops all commands and waits for them, destroys the command processor, runs the queued workers, and from then on
    /// drops every worker: its waiter returns at once with false. Thread: application.
    static void destroyInstance();

    /// The thread on which widgets, GL contexts and off-screen surfaces are made. Thread: any.
    QThread* getApplicationThread() const;
    /// True on the application thread. Thread: any.
    bool isApplicationThread() const;

    /// Takes over the worker (unless its creator keeps it) and runs it on the application thread, strictly in the order
    /// of the calls. When called on the application thread, runs the queued workers, then this one, then
    /// returns; inside a running worker, runs this one at once. An exception of the worker is caught and logged. After
    /// the end the worker is dropped. Thread: any.
    void transmitWorker(Worker* worker);

    /// Runs `function` on the application thread as a worker and waits for it; false when it threw or was dropped.
    /// Thread: any.
    bool runAndWait(std::function<void()> function);
    /// Runs `function` on the application thread as a worker without waiting. Thread: any.
    void post(std::function<void()> function);

    /// Runs the queued workers now. Thread: application.
    void processWorkers();
    /// Runs workers, but no other events, until `condition` holds. The condition is checked after every worker and at
    /// least every 10 ms. `timeoutMs` below 0 = no limit; false when the limit is reached. Thread: application.
    bool processWorkersUntil(const std::function<bool()>& condition, int timeoutMs = -1);

    /// The command processor; null after `destroyInstance`. Thread: any.
    CommandProcessor* getCommandProcessor() const;

    /// The calling thread's settings object, the same store as `tovSettings()`. Owned by the host. Thread: any.
    QSettings* getQSettings() const;

private:
    Overseer();
    ~Overseer() = delete;
    struct Private;
    Private* d; ///< owned
};

} // namespace tov::main
