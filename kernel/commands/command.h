#pragma once

#include "kernel/commands/commandarguments.h"
#include "kernel/commands/commanddescriptor.h"
#include "kernel/main/export.h"
#include "kernel/main/typesolver.h"

#include <QString>

#include <memory>
#include <vector>

class QWidget;

namespace tov::main {

class ParameterSet;

/// Base of all commands. A prototype of each primary command lives as long as its module; the processor runs it or a
/// clone of it, see `InstanceMode`.
class TOV_EXPORT Command
{
public:
    /// What the processor runs.
    enum InstanceMode
    {
        RunOnce = 0,      ///< this object, once; then it is deleted if its one-shot flag is set
        RunClone = 1,     ///< a clone, deleted after its run (the default)
        RunPrototype = 3, ///< this object itself, one run at a time
    };

    /// Takes over both descriptors; `guiDescriptor` may be null (not shown in the window). Thread: any.
    Command(CommandDescriptor* descriptor, CommandGUIDescriptor* guiDescriptor);
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    /// Deletes the parameter sets. Call it only after everything that the command submitted has run;
    /// `CommandProcessor::destroyCommand` waits for that. Thread: any.
    virtual ~Command();

    /// Fills the current parameter set (the first one when none is selected) from texts. An omitted argument gets the
    /// parameter's default for the GUI, else its default text; without both it is an error if the parameter is
    /// mandatory. On failure returns false, sets `error` (if not null) to one line, and `getErrorState` is not 0.
    /// Thread: application or command.
    virtual bool setParameters(const CommandArguments& arguments, QString* error);
    /// The command's own window, shown instead of the generic dialog; null by default. Thread: application.
    virtual QWidget* getGUIWindow();
    /// The command's own widget for tool bars; null by default. Thread: application.
    virtual QWidget* getCommandWidget();
    /// A fresh command of the same kind, made by the registered creation function, with the parameter texts, the
    /// parameter-set identifier and the announce flag of this one. The caller owns it. Null when the command's name is
    /// not registered with the processor. Thread: application.
    virtual Command* clone() const;
    /// Asks a running command to stop. Called at most once per run. Does nothing by default. Thread: application.
    virtual void abort();
    /// The command's work. Thread: command.
    virtual void execute() = 0;

    /// Disables or enables the command in all menus; the last call wins. Only posts. Thread: any, under any lock.
    void disableCommand(bool disable);
    /// True after `disableCommand(true)`. Thread: any.
    bool isDisabled() const;
    /// Reports progress in percent, -1 = busy. Only posts. Thread: any, under any lock.
    void updateProcessed(int percent);
    /// The last reported progress in percent, -1 = busy. Thread: any.
    int getProcessed() const;
    /// Reports the current activity. Only posts. Thread: any, under any lock.
    void updateText(const QString& text);
    /// The last reported activity. Thread: any.
    QString getText() const;

    /// Name and description; owned by the command, never null. Thread: any.
    const CommandDescriptor* getDescriptor() const;
    /// Null when the command is not shown in the window.
    const CommandGUIDescriptor* getGUIDescriptor() const;
    /// The number of this object, unique in the process.
    quint64 getId() const;

    /// The parameter sets, owned by the command, in the order of `addParameterSet`.
    const std::vector<ParameterSet*>& getParameterSets() const;
    /// Takes over a set. The first one added becomes the current one.
    void addParameterSet(ParameterSet* set);
    /// The identifier of the current set (0 when there is no set).
    int getCurrentParameterSetId() const;
    /// Selects a set by its identifier, which need not exist.
    void setCurrentParameterSetId(int id);
    /// The first set whose identifier is the current one, or null.
    ParameterSet* getCurrentParameterSet() const;

    /// 0, or the error of `setParameters`.
    int getErrorState() const;
    /// Replaces the error of `setParameters`; 0 = none.
    void setErrorState(int state);
    /// True when a change of settings is to be announced by an event (the default).
    bool announcesChanges() const;
    /// Sets whether a change of settings is announced.
    void setAnnouncesChanges(bool announces);
    /// How the processor runs the command, a value of `InstanceMode`.
    int getInstanceMode() const;
    /// Sets how the processor runs the command; call it before the command is registered.
    void setInstanceMode(int mode);
    /// True when the command can be undone (the default).
    bool isUndoable() const;
    /// Sets whether the command can be undone.
    void setUndoable(bool undoable);
    /// True when macros record the command (the default).
    bool isRecordedInMacros() const;
    /// Sets whether macros record the command.
    void setRecordedInMacros(bool recorded);
    /// True when the processor deletes the object after its only run (mode 0).
    bool isOneShot() const;
    /// Sets whether the processor deletes the object after its only run.
    void setOneShot(bool oneShot);

protected:
    /// Converts between parameters; see `TypeSolver`.
    TypeSolver m_TypeSolver;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::main
