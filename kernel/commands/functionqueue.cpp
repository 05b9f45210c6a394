#include "kernel/commands/functionqueue.h"

#include "kernel/commands/command.h"
#include "kernel/commands/commandrunstate.h"
#include "kernel/commands/commandthread.h"

#include <QThread>

#include <unistd.h>

namespace tov::main {

FunctionQueue::FunctionQueue(std::function<void()> runLater) : m_RunLater(std::move(runLater)) {}

FunctionQueue::~FunctionQueue()
{
    QThread* thread = nullptr;
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Ending = true;
        thread = mp_Thread;
        mp_Thread = nullptr;
        m_Changed.notify_all();
    }
    if (thread)
        joinAndDelete(thread, m_ThreadId);
}

void FunctionQueue::submit(Command* command, const CommandRunPointer& run)
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Functions.push_back({command, run});
    startThreadOnce();
    if (m_WithoutThread)
        m_RunLater();
    m_Changed.notify_all();
}

bool FunctionQueue::isUnused() const
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    return !mp_Thread && !m_WithoutThread;
}

void FunctionQueue::startThreadOnce()
{
    if (mp_Thread || m_WithoutThread)
        return;
    mp_Thread = QThread::create([this] { runOnThread(); });
    mp_Thread->setObjectName(QStringLiteral("Functions"));
    if (startThread(mp_Thread))
        return;
    delete mp_Thread;
    mp_Thread = nullptr;
    m_WithoutThread = true;
}

void FunctionQueue::runOnThread()
{
    m_ThreadId = gettid();
    std::unique_lock<std::mutex> lock(m_Mutex);
    for (;;) {
        m_Changed.wait(lock, [this] { return m_Ending || !m_Functions.empty(); });
        if (m_Functions.empty())
            return;
        runNext(lock);
    }
}

void FunctionQueue::runHere()
{
    std::unique_lock<std::mutex> lock(m_Mutex);
    while (!m_Functions.empty() && !m_Running)
        runNext(lock);
}

void FunctionQueue::runNext(std::unique_lock<std::mutex>& lock)
{
    const Function function = m_Functions.front();
    m_Functions.pop_front();
    m_Running = true;
    lock.unlock();
    finish(function, executeCommand(function.command));
    lock.lock();
    m_Running = false;
    m_Changed.notify_all();
}

void FunctionQueue::finish(const Function& function, bool succeeded)
{
    CommandRunState* state = function.run->d.get();
    {
        std::lock_guard<std::mutex> guard(state->mutex);
        state->executing = false;
        state->text = function.command->getText();
        state->processed = function.command->getProcessed();
        state->command = nullptr;
    }
    if (state->deleteAfter)
        delete function.command;
    std::lock_guard<std::mutex> guard(state->mutex);
    state->succeeded = succeeded;
    state->finished = true;
    state->changed.notify_all();
}

} // namespace tov::main
