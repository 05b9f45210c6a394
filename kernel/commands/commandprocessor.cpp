#include "kernel/commands/commandprocessor.h"

#include "kernel/log/logger.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/commands/functioncommand.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/commands/processorposts.h"

#include <QDateTime>
#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <sys/syscall.h>
#include <unistd.h>

namespace tov::main {

namespace {

void logFailure(const QString& name, const char* what)
{
    tov::log::Logger::log(tov::log::LevelError, "main/commandprocessor", __LINE__, "execute", nullptr,
                          QStringLiteral("The command %1 failed: %2").arg(name, QString::fromLocal8Bit(what)));
}

/// Runs a command; false (logged) when an exception left it.
bool execute(Command* command)
{
    try {
        command->execute();
        return true;
    } catch (const std::exception& e) {
        logFailure(command->getDescriptor()->getName(), e.what());
    } catch (...) {
        logFailure(command->getDescriptor()->getName(), "unknown exception");
    }
    return false;
}

/// False when the system gives no thread; Qt has logged why, and the object has never run.
bool startThread(QThread* thread)
{
    thread->start();
    return thread->isRunning() || thread->isFinished();
}

/// Waits for the thread and deletes it. QThread::wait() returns while the thread still frees what libraries keep for
/// each of their threads. The EGL library frees the same things itself at the end of the process, and an application
/// that ends meanwhile crashes there, so the kernel is asked until it knows the thread no more (or, should the number
/// have been given anew, for two seconds).
void joinAndDelete(QThread* thread, pid_t id)
{
    thread->wait();
    delete thread;
    for (int i = 0; i < 2000 && id > 0 && syscall(SYS_tgkill, getpid(), id, 0) == 0; ++i)
        QThread::usleep(1000);
}

} // namespace

struct CommandRun::Private
{
    quint64 id = 0;
    QString name;
    std::map<QString, QString> arguments; ///< by lower-case parameter name
    qint64 startTime = QDateTime::currentMSecsSinceEpoch();
    const Command* prototype = nullptr; ///< whose run it is; compared, never used
    bool deleteAfter = false;
    QThread* thread = nullptr; ///< application thread, and the runner's own end
    std::atomic<pid_t> threadId{0};

    mutable std::mutex mutex;
    std::condition_variable changed;
    Command* command = nullptr; ///< guarded by mutex; null once the run is over
    QString text;               ///< guarded by mutex; the last one when the run is over
    int processed = -1;         ///< guarded by mutex; likewise
    bool executing = true;      ///< guarded by mutex
    bool stopped = false;       ///< guarded by mutex
    bool finished = false;      ///< guarded by mutex
    bool succeeded = false;     ///< guarded by mutex
};

CommandRun::CommandRun() : d(new Private) {}
CommandRun::~CommandRun() = default;

quint64 CommandRun::getId() const
{
    return d->id;
}

QString CommandRun::getCommandName() const
{
    return d->name;
}

qint64 CommandRun::getStartTime() const
{
    return d->startTime;
}

QString CommandRun::getArgument(const QString& parameterName) const
{
    const auto found = d->arguments.find(parameterName.toLower());
    return found == d->arguments.end() ? QString() : found->second;
}

QString CommandRun::getText() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->command ? d->command->getText() : d->text;
}

int CommandRun::getProcessed() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->command ? d->command->getProcessed() : d->processed;
}

bool CommandRun::isFinished() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->finished;
}

bool CommandRun::isStopped() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->stopped;
}

bool CommandRun::succeeded() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->succeeded;
}

void CommandRun::stop()
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        if (d->stopped || !d->executing)
            return;
        d->stopped = true;
    }
    Overseer::getInstance()->post([state = d] {
        Command* command = nullptr;
        {
            std::lock_guard<std::mutex> guard(state->mutex);
            if (state->executing)
                command = state->command;
        }
        // The object stays: only the application thread, which is this one, ends a run.
        if (command)
            command->abort();
    });
}

bool CommandRun::wait(int timeoutMs)
{
    Overseer* overseer = Overseer::getInstance();
    if (overseer->isApplicationThread())
        return overseer->processWorkersUntil([this] { return isFinished(); }, timeoutMs);
    std::unique_lock<std::mutex> lock(d->mutex);
    const auto finished = [this] { return d->finished; };
    if (timeoutMs < 0) {
        d->changed.wait(lock, finished);
        return true;
    }
    return d->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), finished);
}

struct CommandProcessor::Private
{
    struct Primary
    {
        Command* prototype;
        Command* (*create)();
    };
    struct Function
    {
        Command* command;
        CommandRunPointer run;
    };

    CommandProcessor* processor = nullptr;
    std::vector<Primary> primaries; ///< application thread

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::vector<CommandRunPointer> runs;    ///< guarded by mutex
    quint64 nextRun = 1;                    ///< guarded by mutex
    std::deque<Function> functions;         ///< guarded by mutex
    bool functionRunning = false;           ///< guarded by mutex
    std::atomic<bool> withoutThread{false}; ///< functions run on the application thread instead; never taken back
    bool ending = false;                    ///< guarded by mutex
    QThread* functionThread = nullptr;      ///< guarded by mutex
    std::atomic<pid_t> functionThreadId{0};

    CommandRunPointer makeRun(Command* command, const Command* prototype, bool deleteAfter)
    {
        auto run = std::make_shared<CommandRun>();
        {
            std::lock_guard<std::mutex> guard(mutex);
            run->d->id = nextRun++;
        }
        run->d->name = command->getDescriptor()->getName();
        run->d->prototype = prototype;
        run->d->deleteAfter = deleteAfter;
        run->d->command = command;
        if (const ParameterSet* set = command->getCurrentParameterSet())
            for (AbstractParameter* parameter : set->getParameters())
                if (parameter->hasValue() && (parameter->getCastClass() || *parameter->getType() == typeid(QString))) {
                    // The characters of the name may lie in a library that is unloaded before the run is forgotten.
                    const QString key = parameter->getName().toLower();
                    run->d->arguments[QString(key.constData(), key.size())] = parameter->toString();
                }
        return run;
    }

    /// The last act of a run, on the application thread.
    void finish(const CommandRunPointer& run, bool succeeded)
    {
        CommandRun::Private* state = run->d.get();
        if (state->thread) {
            joinAndDelete(state->thread, state->threadId);
            state->thread = nullptr;
        }
        Command* command = nullptr;
        {
            std::lock_guard<std::mutex> guard(state->mutex);
            state->text = state->command->getText();
            state->processed = state->command->getProcessed();
            command = state->command;
            state->command = nullptr;
        }
        if (state->deleteAfter)
            processor->destroyCommand(command);
        {
            std::lock_guard<std::mutex> guard(mutex);
            runs.erase(std::remove(runs.begin(), runs.end(), run), runs.end());
        }
        {
            std::lock_guard<std::mutex> guard(state->mutex);
            state->succeeded = succeeded;
            state->finished = true;
            state->changed.notify_all();
        }
        QMetaObject::invokeMethod(
            processor, [this, run] { emit processor->runFinished(run); }, Qt::QueuedConnection);
    }

    CommandRunPointer begin(Command* command, const Command* prototype, bool deleteAfter)
    {
        CommandRunPointer run = makeRun(command, prototype, deleteAfter);
        CommandRun::Private* state = run->d.get();
        {
            std::lock_guard<std::mutex> guard(mutex);
            runs.push_back(run);
        }
        state->thread = QThread::create([this, run, command] {
            run->d->threadId = gettid();
            const bool succeeded = execute(command);
            {
                std::lock_guard<std::mutex> guard(run->d->mutex);
                run->d->executing = false;
            }
            Overseer::getInstance()->post([this, run, succeeded] { finish(run, succeeded); });
        });
        state->thread->setObjectName(QStringLiteral("Command"));
        emit processor->runBegins(run);
        QMetaObject::invokeMethod(
            processor, [this, run] { emit processor->runStarted(run); }, Qt::QueuedConnection);
        // The thread takes the object on: a context that it makes moves to this very QThread.
        if (!startThread(state->thread)) {
            logFailure(run->getCommandName(), "there is no thread for it");
            {
                std::lock_guard<std::mutex> guard(state->mutex);
                state->executing = false;
            }
            Overseer::getInstance()->post([this, run] { finish(run, false); });
        }
        return run;
    }

    /// The thread of the function commands: one after the other, in the order in which they came.
    void runFunctions()
    {
        functionThreadId = gettid();
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return ending || !functions.empty(); });
            if (functions.empty())
                return;
            runNextFunction(lock);
        }
    }

    /// The same on the application thread, where there is no other: all that wait.
    void runFunctionsHere()
    {
        std::unique_lock<std::mutex> lock(mutex);
        while (!functions.empty() && !functionRunning)
            runNextFunction(lock);
    }

    void runNextFunction(std::unique_lock<std::mutex>& lock)
    {
        Function function = functions.front();
        functions.pop_front();
        functionRunning = true;
        lock.unlock();
        const bool succeeded = execute(function.command);
        CommandRun::Private* state = function.run->d.get();
        {
            std::lock_guard<std::mutex> guard(state->mutex);
            state->executing = false;
            state->text = function.command->getText();
            state->processed = function.command->getProcessed();
            state->command = nullptr;
        }
        if (state->deleteAfter)
            delete function.command;
        {
            std::lock_guard<std::mutex> guard(state->mutex);
            state->succeeded = succeeded;
            state->finished = true;
            state->changed.notify_all();
        }
        lock.lock();
        functionRunning = false;
        changed.notify_all();
    }

    const Primary* find(const QString& name) const
    {
        for (const Primary& primary : primaries)
            if (primary.prototype->getDescriptor()->getName().compare(name, Qt::CaseInsensitive) == 0)
                return &primary;
        return nullptr;
    }

    std::vector<CommandRunPointer> runsOf(const Command* prototype) const
    {
        std::lock_guard<std::mutex> guard(mutex);
        std::vector<CommandRunPointer> found;
        for (const auto& run : runs)
            if (run->d->prototype == prototype)
                found.push_back(run);
        return found;
    }

    void report(quint64 commandId, const ProcessorPosts::Report& report)
    {
        if (report.hasEnabled)
            for (const Primary& primary : primaries)
                if (primary.prototype->getId() == commandId) {
                    emit processor->commandEnabledChanged(primary.prototype->getDescriptor()->getName(),
                                                          report.enabled);
                    break;
                }
        if (!report.hasProgress && !report.hasText)
            return;
        for (const auto& run : processor->getRuns()) {
            bool mine;
            {
                std::lock_guard<std::mutex> guard(run->d->mutex);
                mine = run->d->command && run->d->command->getId() == commandId;
            }
            if (mine)
                emit processor->runChanged(run);
        }
    }
};

CommandProcessor::CommandProcessor() : d(new Private)
{
    qRegisterMetaType<tov::main::CommandRunPointer>();
    d->processor = this;
    ProcessorPosts::setReceiver(
        [this](quint64 command, const ProcessorPosts::Report& report) { d->report(command, report); });
}

CommandProcessor::~CommandProcessor()
{
    stopAll();
    waitForAll();
    drain();
    QThread* thread = nullptr;
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->ending = true;
        thread = d->functionThread;
        d->functionThread = nullptr;
        d->changed.notify_all();
    }
    if (thread) {
        joinAndDelete(thread, d->functionThreadId);
    }
    ProcessorPosts::setReceiver({});
}

CommandRunPointer CommandProcessor::processCommand(Command* command, int executionValue, bool wait)
{
    if (executionValue == 0)
        return nullptr;
    const bool deleteAfter = command->getInstanceMode() == Command::RunOnce && command->isOneShot();
    CommandRunPointer run;
    if (dynamic_cast<FunctionCommand*>(command)) {
        run = d->makeRun(command, nullptr, deleteAfter);
        std::lock_guard<std::mutex> guard(d->mutex);
        d->functions.push_back({command, run});
        if (!d->functionThread && !d->withoutThread) {
            d->functionThread = QThread::create([this] { d->runFunctions(); });
            d->functionThread->setObjectName(QStringLiteral("Functions"));
            if (!startThread(d->functionThread)) {
                delete d->functionThread;
                d->functionThread = nullptr;
                d->withoutThread = true;
            }
        }
        if (d->withoutThread)
            QMetaObject::invokeMethod(
                this, [this] { d->runFunctionsHere(); }, Qt::QueuedConnection);
        d->changed.notify_all();
    } else {
        run = d->begin(command, nullptr, deleteAfter);
    }
    if (wait && d->withoutThread && Overseer::getInstance()->isApplicationThread())
        d->runFunctionsHere();
    if (wait)
        run->wait();
    return run;
}

void CommandProcessor::addPrimaryCommand(Command* prototype, Command* (*create)())
{
    d->primaries.push_back({prototype, create});
    QMetaObject::invokeMethod(
        this, [this] { emit commandsChanged(); }, Qt::QueuedConnection);
}

void CommandProcessor::removePrimaryCommand(Command* prototype)
{
    for (const auto& run : d->runsOf(prototype))
        run->stop();
    for (const auto& run : d->runsOf(prototype))
        run->wait();
    const auto found = std::find_if(d->primaries.begin(), d->primaries.end(),
                                    [prototype](const auto& primary) { return primary.prototype == prototype; });
    if (found == d->primaries.end())
        return;
    d->primaries.erase(found);
    QMetaObject::invokeMethod(
        this, [this] { emit commandsChanged(); }, Qt::QueuedConnection);
}

std::vector<Command*> CommandProcessor::getPrimaryCommands() const
{
    std::vector<Command*> commands;
    for (const auto& primary : d->primaries)
        commands.push_back(primary.prototype);
    return commands;
}

Command* CommandProcessor::getPrimaryCommand(const QString& name) const
{
    const auto* primary = d->find(name);
    return primary ? primary->prototype : nullptr;
}

Command* CommandProcessor::createCommand(const QString& name) const
{
    const auto* primary = d->find(name);
    return primary ? primary->create() : nullptr;
}

CommandRunPointer CommandProcessor::start(const QString& name, const CommandArguments& arguments, QString* error)
{
    const auto fail = [error](const QString& message) -> CommandRunPointer {
        if (error)
            *error = message;
        return nullptr;
    };
    const auto* primary = d->find(name);
    if (!primary) {
        QStringList known;
        for (const auto& other : d->primaries)
            known << other.prototype->getDescriptor()->getName();
        return fail(known.isEmpty()
                        ? tr("There is no command \"%1\": no module is loaded").arg(name)
                        : tr("There is no command \"%1\"; there are: %2").arg(name, known.join(QStringLiteral(", "))));
    }
    Command* prototype = primary->prototype;
    if (prototype->isDisabled())
        return fail(tr("%1 cannot run now: it is disabled").arg(prototype->getDescriptor()->getName()));
    const bool inPlace = prototype->getInstanceMode() != Command::RunClone;
    if (inPlace && !d->runsOf(prototype).empty())
        return fail(tr("%1 is still running").arg(prototype->getDescriptor()->getName()));
    if (!prototype->setParameters(arguments, error))
        return nullptr;
    return startPrototype(prototype, error);
}

CommandRunPointer CommandProcessor::start(const QString& text, QString* error)
{
    std::vector<CommandText> commands;
    if (!CommandParser::parse(text, commands, error))
        return nullptr;
    if (commands.size() != 1) {
        if (error)
            *error = commands.empty() ? tr("There is no command in the text") : tr("There is more than one command");
        return nullptr;
    }
    return start(commands.front().name, commands.front().arguments, error);
}

CommandRunPointer CommandProcessor::startPrototype(Command* prototype, QString* error)
{
    const QString name = prototype->getDescriptor()->getName();
    if (prototype->isDisabled()) {
        if (error)
            *error = tr("%1 cannot run now: it is disabled").arg(name);
        return nullptr;
    }
    if (prototype->getInstanceMode() != Command::RunClone) {
        if (!d->runsOf(prototype).empty()) {
            if (error)
                *error = tr("%1 is still running").arg(name);
            return nullptr;
        }
        return d->begin(prototype, prototype, false);
    }
    // Cloned right before the run: what a clone does to its prototype holds for the run, not for a dialog.
    Command* copy = prototype->clone();
    if (!copy) {
        if (error)
            *error = tr("%1 is not registered").arg(name);
        return nullptr;
    }
    return d->begin(copy, prototype, true);
}

std::vector<CommandRunPointer> CommandProcessor::getRuns() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->runs;
}

void CommandProcessor::stopAll()
{
    for (const auto& run : getRuns())
        run->stop();
}

bool CommandProcessor::waitForAll(int timeoutMs)
{
    return Overseer::getInstance()->processWorkersUntil([this] { return getRuns().empty(); }, timeoutMs);
}

void CommandProcessor::drain()
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        if (!d->functionThread && !d->withoutThread)
            return;
    }
    if (d->withoutThread) {
        d->runFunctionsHere();
        return;
    }
    // What a function handed to the application thread counts as its work too: one more function, after all others,
    // hands over the worker that ends the wait.
    const auto passed = std::make_shared<bool>(false);
    const auto handOver = [passed] { Overseer::getInstance()->post([passed] { *passed = true; }); };
    processCommand(new FunctionCommand(boost::function<void()>(handOver), true), 1, false);
    Overseer::getInstance()->processWorkersUntil([passed] { return *passed; });
}

void CommandProcessor::destroyCommand(Command* command)
{
    drain();
    delete command;
}

} // namespace tov::main
