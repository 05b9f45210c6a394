#pragma once

#include "kernel/commands/command.h"
#include "kernel/commands/commandparser.h"
#include "kernel/main/export.h"

#include <QObject>
#include <QString>

#include <memory>
#include <vector>

namespace tov::main {

/// One run of a command, shared by the processor and whoever watches it. Thread: any, if nothing else is said.
class TOV_EXPORT CommandRun
{
public:
    CommandRun();
    CommandRun(const CommandRun&) = delete;
    CommandRun& operator=(const CommandRun&) = delete;
    ~CommandRun();
    quint64 getId() const;
    QString getCommandName() const;
    /// When the run was begun, milliseconds since the epoch: before anything that it does.
    qint64 getStartTime() const;
    /// The text of a parameter when the run began, by name in any case; null when there is no such parameter or value.
    QString getArgument(const QString& parameterName) const;
    /// The last reported text and progress (percent, -1 = busy).
    QString getText() const;
    int getProcessed() const;
    bool isFinished() const;
    /// True when `stop` was called.
    bool isStopped() const;
    /// False when an exception left `execute`.
    bool succeeded() const;
    /// Calls the command's `abort` on the application thread, at most once a run; nothing once the run has ended.
    void stop();
    /// Waits for the end of the run; on the application thread workers are run meanwhile. `timeoutMs` below 0 = no
    /// limit; false when the time is over.
    bool wait(int timeoutMs = -1);

private:
    friend class CommandProcessor;
    struct Private;
    std::shared_ptr<Private> d;
};
typedef std::shared_ptr<CommandRun> CommandRunPointer;

/// Knows the primary commands and runs commands, each on a command thread of its own. Signals are emitted on the
/// application thread, always from its event loop, never inside a call.
class TOV_EXPORT CommandProcessor : public QObject
{
    Q_OBJECT
public:
    /// Made and deleted by the Overseer. Thread: application.
    CommandProcessor();
    ~CommandProcessor() override;

    /// Runs a command that the caller made, later and off the call path: on a command thread, in the order of the
    /// calls. `executionValue` 1 = run it; 0 = hold it ready only (nothing is run). With `wait` the call returns after
    /// the run. A command whose mode is `RunOnce` with the one-shot flag is taken over and deleted afterwards; any
    /// other stays the caller's. Thread: any.
    CommandRunPointer processCommand(Command* command, int executionValue, bool wait);

    /// Makes a prototype known by its name, with its creation function. Thread: application.
    void addPrimaryCommand(Command* prototype, Command* (*create)());
    /// Forgets a prototype; its runs are stopped and waited for. Thread: application.
    void removePrimaryCommand(Command* prototype);
    /// The prototypes, in order of registration. Thread: application.
    std::vector<Command*> getPrimaryCommands() const;
    /// The prototype of that name, or null. Thread: application.
    Command* getPrimaryCommand(const QString& name) const;
    /// A fresh command by name; null when unknown. The caller owns it. Thread: application.
    Command* createCommand(const QString& name) const;

    /// Runs a primary command as its mode says: a clone, made now, or the prototype itself. Parameters are filled from
    /// `arguments`. Null, with one line in `error`, when the name is unknown, the command is disabled, an argument is
    /// wrong, or the prototype itself is still running. Thread: application.
    CommandRunPointer start(const QString& name, const CommandArguments& arguments, QString* error);
    /// The same from a command text of one line. Thread: application.
    CommandRunPointer start(const QString& text, QString* error);
    /// The same for a prototype whose parameters a dialog has just filled. Thread: application.
    CommandRunPointer startPrototype(Command* prototype, QString* error);

    /// The runs that have not ended, oldest first, those of function commands left out. Thread: any.
    std::vector<CommandRunPointer> getRuns() const;
    /// Calls `CommandRun::stop` on every run. Thread: any.
    void stopAll();
    /// Waits until no run is left; on the application thread workers are run meanwhile. Thread: application.
    bool waitForAll(int timeoutMs = -1);
    /// Waits until every function command that was submitted so far has run, with what it handed to the application
    /// thread. Thread: application.
    void drain();
    /// Deletes a command after `drain`. Thread: application.
    void destroyCommand(Command* command);

signals:
    /// Before the command executes, and so before it touches anything. Unlike the others it comes at once, on the
    /// thread that starts the run.
    void runBegins(const tov::main::CommandRunPointer& run);
    void runStarted(const tov::main::CommandRunPointer& run);
    /// Text or progress changed.
    void runChanged(const tov::main::CommandRunPointer& run);
    void runFinished(const tov::main::CommandRunPointer& run);
    /// A primary command was enabled or disabled.
    void commandEnabledChanged(const QString& name, bool enabled);
    /// A primary command came or went.
    void commandsChanged();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::main

Q_DECLARE_METATYPE(tov::main::CommandRunPointer)
