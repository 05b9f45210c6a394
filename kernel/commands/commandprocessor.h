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
