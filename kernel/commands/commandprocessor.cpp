#include "kernel/commands/commandprocessor.h"

#include "kernel/commands/commandcreators.h"
#include "kernel/commands/commandparser.h"
#include "kernel/commands/commandrunstate.h"
#include "kernel/commands/commandthread.h"
#include "kernel/commands/functioncommand.h"
#include "kernel/commands/functionqueue.h"
#include "kernel/commands/processorposts.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/workers/workerqueue.h"

#include <QThread>

#include <algorithm>
#include <mutex>

#include <unistd.h>

namespace tov::main {

struct CommandProcessor::Private
{
    Private(CommandProcessor& owner, WorkerQueue& queue) : processor(&owner), workers(queue) {}

    CommandProcessor* const processor;
    WorkerQueue& workers;
    std::vector<Command*> prototypes; ///< application thread

    mutable std::mutex mutex;
    std::vector<CommandRunPointer> runs; ///< guarded by mutex
    quint64 nextRun = 1;                 ///< guarded by mutex

    FunctionQueue functions{[this] {
        QMetaObject::invokeMethod(
            processor, [this] { functions.runHere(); }, Qt::QueuedConnection);
    }};

    CommandRunPointer makeRun(Command* command, const Command* prototype, bool deleteAfter)
    {
        auto run = std::make_shared<CommandRun>(workers);
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
                    // A deep copy: the name may belong to a library that is unloaded before the run is destroyed.
                    const QString key = parameter->getName().toLower();
                    run->d->arguments[QString(key.constData(), key.size())] = parameter->toString();
                }
        return run;
    }

    /// The last step of a run, on the application thread.
    void finish(const CommandRunPointer& run, bool succeeded)
    {
        CommandRunState* state = run->d.get();
        {
            // A short command may end before the thread that started it has left QThread::start().
            std::lock_guard<std::mutex> guard(state->startMutex);
            if (state->thread)
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

    bool startRunThread(const CommandRunPointer& run, Command* command)
    {
        CommandRunState* state = run->d.get();
        std::lock_guard<std::mutex> guard(state->startMutex);
        // Commands need a QThread object: OpenGL contexts that they create belong to it.
        state->thread = QThread::create([this, run, command] {
            run->d->threadId = gettid();
            const bool succeeded = executeCommand(command);
            {
                std::lock_guard<std::mutex> guard(run->d->mutex);
                run->d->executing = false;
            }
            workers.post([this, run, succeeded] { finish(run, succeeded); });
        });
        state->thread->setObjectName(QStringLiteral("Command"));
        return startThread(state->thread);
    }

    CommandRunPointer begin(Command* command, const Command* prototype, bool deleteAfter)
    {
        CommandRunPointer run = makeRun(command, prototype, deleteAfter);
        CommandRunState* state = run->d.get();
        {
            std::lock_guard<std::mutex> guard(mutex);
            runs.push_back(run);
        }
        emit processor->runBegins(run);
        QMetaObject::invokeMethod(
            processor, [this, run] { emit processor->runStarted(run); }, Qt::QueuedConnection);
        if (!startRunThread(run, command)) {
            logCommandFailure(run->getCommandName(), QStringLiteral("the system provides no thread"));
            {
                std::lock_guard<std::mutex> guard(state->mutex);
                state->executing = false;
            }
            workers.post([this, run] { finish(run, false); });
        }
        return run;
    }

    Command* find(const QString& name) const
    {
        for (Command* prototype : prototypes)
            if (prototype->getDescriptor()->getName().compare(name, Qt::CaseInsensitive) == 0)
                return prototype;
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
            for (const Command* prototype : prototypes)
                if (prototype->getId() == commandId) {
                    emit processor->commandEnabledChanged(prototype->getDescriptor()->getName(), report.enabled);
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

CommandProcessor::CommandProcessor(WorkerQueue& workers) : d(new Private(*this, workers))
{
    qRegisterMetaType<tov::main::CommandRunPointer>();
    ProcessorPosts::setReceiver(
        [this](quint64 command, const ProcessorPosts::Report& report) { d->report(command, report); });
}

CommandProcessor::~CommandProcessor()
{
    stopAll();
    waitForAll();
    drain();
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
        d->functions.submit(command, run);
    } else {
        run = d->begin(command, nullptr, deleteAfter);
    }
    if (wait && d->functions.isWithoutThread() && d->workers.isOwnThread())
        d->functions.runHere();
    if (wait)
        run->wait();
    return run;
}

void CommandProcessor::addPrimaryCommand(Command* prototype, Command* (*create)())
{
    d->prototypes.push_back(prototype);
    CommandCreators::add(prototype, prototype->getDescriptor()->getName(), create);
    QMetaObject::invokeMethod(
        this, [this] { emit commandsChanged(); }, Qt::QueuedConnection);
}

void CommandProcessor::removePrimaryCommand(Command* prototype)
{
    for (const auto& run : d->runsOf(prototype))
        run->stop();
    for (const auto& run : d->runsOf(prototype))
        run->wait();
    const auto found = std::find(d->prototypes.begin(), d->prototypes.end(), prototype);
    if (found == d->prototypes.end())
        return;
    d->prototypes.erase(found);
    CommandCreators::remove(prototype);
    QMetaObject::invokeMethod(
        this, [this] { emit commandsChanged(); }, Qt::QueuedConnection);
}

std::vector<Command*> CommandProcessor::getPrimaryCommands() const
{
    return d->prototypes;
}

Command* CommandProcessor::getPrimaryCommand(const QString& name) const
{
    return d->find(name);
}

Command* CommandProcessor::createCommand(const QString& name) const
{
    return CommandCreators::create(name);
}

CommandRunPointer CommandProcessor::start(const QString& name, const CommandArguments& arguments, QString* error)
{
    const auto fail = [error](const QString& message) -> CommandRunPointer {
        if (error)
            *error = message;
        return nullptr;
    };
    Command* prototype = d->find(name);
    if (!prototype) {
        QStringList known;
        for (const Command* other : d->prototypes)
            known << other->getDescriptor()->getName();
        return fail(known.isEmpty()
                        ? tr("There is no command \"%1\": no module is loaded").arg(name)
                        : tr("There is no command \"%1\"; there are: %2").arg(name, known.join(QStringLiteral(", "))));
    }
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
    // Cloned right before the run: a clone may disable its prototype, which must last as long as the run, not the
    // dialog.
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
    return d->workers.processUntil([this] { return getRuns().empty(); }, timeoutMs);
}

void CommandProcessor::drain()
{
    if (d->functions.isUnused())
        return;
    if (d->functions.isWithoutThread()) {
        d->functions.runHere();
        return;
    }
    // Workers that a function transmitted to the application thread belong to its work. So one more function, after all
    // others, transmits the worker that ends the wait.
    const auto passed = std::make_shared<bool>(false);
    const auto handOver = [this, passed] { d->workers.post([passed] { *passed = true; }); };
    processCommand(new FunctionCommand(boost::function<void()>(handOver), true), 1, false);
    d->workers.processUntil([passed] { return *passed; }, -1);
}

void CommandProcessor::destroyCommand(Command* command)
{
    drain();
    delete command;
}

} // namespace tov::main
