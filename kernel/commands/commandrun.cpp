#include "kernel/commands/commandrun.h"

#include "kernel/commands/commandrunstate.h"
#include "kernel/workers/workerqueue.h"

namespace tov::main {

CommandRun::CommandRun(WorkerQueue& workers) : d(new CommandRunState)
{
    d->workers = &workers;
}

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
    return d->stopMoment.has_value();
}

std::optional<std::chrono::steady_clock::time_point> CommandRun::getStopMoment() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->stopMoment;
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
        if (d->stopMoment || !d->executing)
            return;
        d->stopMoment = std::chrono::steady_clock::now();
    }
    d->workers->post([state = d] {
        Command* command = nullptr;
        {
            std::lock_guard<std::mutex> guard(state->mutex);
            if (state->executing)
                command = state->command;
        }
        // The command cannot be deleted meanwhile: only the application thread, which is this one, ends a run.
        if (command)
            command->abort();
    });
}

bool CommandRun::wait(int timeoutMs)
{
    if (d->workers->isOwnThread())
        return d->workers->processUntil([this] { return isFinished(); }, timeoutMs);
    std::unique_lock<std::mutex> lock(d->mutex);
    const auto finished = [this] { return d->finished; };
    if (timeoutMs < 0) {
        d->changed.wait(lock, finished);
        return true;
    }
    return d->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), finished);
}

} // namespace tov::main
