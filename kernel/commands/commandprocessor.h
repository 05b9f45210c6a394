#pragma once

#include "kernel/commands/command.h"
#include "kernel/commands/commandparser.h"
#include "kernel/commands/commandrun.h"
#include "kernel/main/export.h"

#include <QObject>
#include <QString>

#include <memory>
#include <vector>

namespace tov::main {

class WorkerQueue;

/// Holds the primary commands and runs commands, each on a command thread of its own. Signals are emitted on the
/// application thread, always from its event loop, never inside a call.
class TOV_EXPORT CommandProcessor : public QObject
{
    Q_OBJECT
public:
    /// Made and deleted by the Overseer, which owns `workers`. Thread: application.
    explicit CommandProcessor(WorkerQueue& workers);
    ~CommandProcessor() override;

    /// Runs a command that the caller made, asynchronously on a command thread, in the order of the calls.
    /// `executionValue` 1 = run it; 0 = do nothing. With `wait` the call returns after
    /// the run. A command whose mode is `RunOnce` with the one-shot flag is taken over and deleted afterwards; any
    /// other stays with the caller. Thread: any.
    CommandRunPointer processCommand(Command* command, int executionValue, bool wait);

    /// Registers a prototype under its name, with its creation function. Thread: application.
    void addPrimaryCommand(Command* prototype, Command* (*create)());
    /// Unregisters a prototype after stopping its runs and waiting for them. Thread: application.
    void removePrimaryCommand(Command* prototype);
    /// The prototypes, in order of registration. Thread: application.
    std::vector<Command*> getPrimaryCommands() const;
    /// The prototype of that name, or null. Thread: application.
    Command* getPrimaryCommand(const QString& name) const;
    /// A fresh command by name; null when unknown. The caller owns it. Thread: application.
    Command* createCommand(const QString& name) const;

    /// Runs a primary command according to its mode: a clone, made now, or the prototype itself. Parameters are filled
    /// from `arguments`. Null, with one line in `error`, when the name is unknown, the command is disabled, an argument
    /// is wrong, or the prototype itself is still running. Thread: application.
    CommandRunPointer start(const QString& name, const CommandArguments& arguments, QString* error);
    /// The same from a command text of one line. Thread: application.
    CommandRunPointer start(const QString& text, QString* error);
    /// The same for a prototype whose parameters a dialog has just filled. Thread: application.
    CommandRunPointer startPrototype(Command* prototype, QString* error);

    /// The runs that have not ended, oldest first, without those of function commands. Thread: any.
    std::vector<CommandRunPointer> getRuns() const;
    /// Calls `CommandRun::stop` on every run. Thread: any.
    void stopAll();
    /// Waits until no run is left; workers are run meanwhile. Thread: application.
    bool waitForAll(int timeoutMs = -1);
    /// Waits until every function command that was submitted so far has run, with what it handed to the application
    /// thread. Thread: application.
    void drain();
    /// Deletes a command after `drain`. Thread: application.
    void destroyCommand(Command* command);

signals:
    /// Emitted before the command executes. Unlike the other signals it is emitted directly, on the thread that starts
    /// the run.
    void runBegins(const tov::main::CommandRunPointer& run);
    /// A run has started; emitted on the application thread.
    void runStarted(const tov::main::CommandRunPointer& run);
    /// Text or progress changed.
    void runChanged(const tov::main::CommandRunPointer& run);
    /// A run has ended; emitted on the application thread, after the last `runChanged` of the run.
    void runFinished(const tov::main::CommandRunPointer& run);
    /// A primary command was enabled or disabled.
    void commandEnabledChanged(const QString& name, bool enabled);
    /// A primary command was registered or unregistered.
    void commandsChanged();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::main
