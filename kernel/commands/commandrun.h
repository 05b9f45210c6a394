#pragma once

#include "kernel/main/export.h"

#include <QMetaType>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace tov::main {

struct CommandRunState;
class WorkerQueue;

/// One run of a command, shared by the processor and the observers of the run. Thread: any.
class TOV_EXPORT CommandRun
{
public:
    /// `workers` must outlive the run.
    explicit CommandRun(WorkerQueue& workers);
    CommandRun(const CommandRun&) = delete;
    CommandRun& operator=(const CommandRun&) = delete;
    ~CommandRun();

    /// The number of the run, unique in the process.
    quint64 getId() const;
    /// The word that calls the command in the command language.
    QString getCommandName() const;
    /// The time before the run did anything, in milliseconds since the epoch.
    qint64 getStartTime() const;
    /// The text of a parameter when the run started, by name in any case; null when there is no such parameter or
    /// value.
    QString getArgument(const QString& parameterName) const;
    /// The last reported text.
    QString getText() const;
    /// The last reported progress in percent, -1 = busy.
    int getProcessed() const;
    /// True once `execute` has returned.
    bool isFinished() const;
    /// True when `stop` was called before the run ended.
    bool isStopped() const;
    /// When `stop` was called before the run ended; nothing otherwise.
    std::optional<std::chrono::steady_clock::time_point> getStopMoment() const;
    /// False when an exception left `execute`.
    bool succeeded() const;
    /// Calls the command's `abort` on the application thread, at most once per run. Does nothing after the run.
    void stop();
    /// Waits for the end of the run; on the application thread, workers run meanwhile. `timeoutMs` below 0 = no limit.
    /// False when the limit is reached.
    bool wait(int timeoutMs = -1);

private:
    friend class CommandProcessor;
    friend class FunctionQueue;
    std::shared_ptr<CommandRunState> d;
};
typedef std::shared_ptr<CommandRun> CommandRunPointer;

} // namespace tov::main

Q_DECLARE_METATYPE(tov::main::CommandRunPointer)
