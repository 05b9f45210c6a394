#pragma once

#include "kernel/commands/commandrun.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include <sys/types.h>

class QThread;

namespace tov::main {

class Command;

/// Runs function commands one after the other, in the order of submission, on one command thread, which is started for
/// the first command. If the system provides no thread, they run on the application thread.
class FunctionQueue
{
public:
    /// `runLater` makes the application thread call `runHere` from its event loop. It is called on any thread.
    explicit FunctionQueue(std::function<void()> runLater);
    FunctionQueue(const FunctionQueue&) = delete;
    FunctionQueue& operator=(const FunctionQueue&) = delete;
    /// Runs what is queued, then ends the thread. Thread: application.
    ~FunctionQueue();

    /// Queues a command for a run that is already set up. Thread: any.
    void submit(Command* command, const CommandRunPointer& run);
    /// True when there is no thread and the application thread must call `runHere`. Thread: any.
    bool isWithoutThread() const { return m_WithoutThread; }
    /// True when no command was ever submitted. Thread: any.
    bool isUnused() const;
    /// Runs all queued commands on the calling thread. Thread: application, when `isWithoutThread`.
    void runHere();

private:
    struct Function
    {
        Command* command;
        CommandRunPointer run;
    };

    void startThreadOnce();
    void runOnThread();
    void runNext(std::unique_lock<std::mutex>& lock);
    static void finish(const Function& function, bool succeeded);

    const std::function<void()> m_RunLater;
    mutable std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<Function> m_Functions;         ///< guarded by m_Mutex
    bool m_Running = false;                   ///< guarded by m_Mutex
    bool m_Ending = false;                    ///< guarded by m_Mutex
    QThread* mp_Thread = nullptr;             ///< guarded by m_Mutex, owned
    std::atomic<pid_t> m_ThreadId{0};         ///< 0 before the thread runs
    std::atomic<bool> m_WithoutThread{false}; ///< never set back to false
};

} // namespace tov::main
