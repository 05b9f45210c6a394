#include "kernel/commands/command.h"

#include "kernel/main/abstractparameter.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/commands/functioncommand.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/commands/processorposts.h"
#include "kernel/commands/settingscommand.h"

#include <QCoreApplication>

#include <atomic>
#include <mutex>

namespace tov::main {

CommandDescriptor::CommandDescriptor(const QString& name, const QString& description)
    : m_Name(name), m_Description(description)
{}

CommandDescriptor::~CommandDescriptor() = default;

CommandGUIDescriptor::CommandGUIDescriptor(int flag, const QString& group, MenuAndToolbarManager::Position position,
                                           const QString& commandName, const QString& label, QIcon* icon)
    : m_Flag(flag), m_Group(group), m_Position(position), m_CommandName(commandName), m_Label(label), mp_Icon(icon)
{}

CommandGUIDescriptor::~CommandGUIDescriptor() = default;

namespace {
std::atomic<quint64> nextId{1};
}

struct Command::Private
{
    quint64 id = nextId++;
    std::unique_ptr<CommandDescriptor> descriptor;
    std::unique_ptr<CommandGUIDescriptor> guiDescriptor;
    std::vector<ParameterSet*> sets; ///< owned
    std::atomic<int> currentSetId{0};
    std::atomic<int> errorState{0};
    std::atomic<bool> disabled{false};
    std::atomic<int> processed{-1};
    mutable std::mutex textMutex;
    QString text; ///< guarded by textMutex
    bool announces = true;
    int instanceMode = RunClone;
    bool undoable = true;
    bool recorded = true;
    bool oneShot = false;
};

Command::Command(CommandDescriptor* descriptor, CommandGUIDescriptor* guiDescriptor) : d(new Private)
{
    d->descriptor.reset(descriptor ? descriptor : new CommandDescriptor(QString(), QString()));
    d->guiDescriptor.reset(guiDescriptor);
}

Command::~Command()
{
    ProcessorPosts::forget(d->id);
    for (ParameterSet*& set : d->sets) {
        delete set;
        set = nullptr;
    }
}

bool Command::setParameters(const CommandArguments& arguments, QString* error)
{
    const auto fail = [this, error](const QString& message) {
        if (error)
            *error = message;
        setErrorState(1);
        return false;
    };
    const QString name = d->descriptor->getName();
    ParameterSet* set = getCurrentParameterSet();
    const std::size_t count = set ? set->size() : 0;
    if (std::size_t(arguments.positional.size()) > count)
        return fail(QCoreApplication::translate("Command", "%1 takes %2 arguments at most, %3 were given")
                        .arg(name)
                        .arg(count)
                        .arg(arguments.positional.size()));
    std::vector<const QString*> given(count, nullptr);
    for (int i = 0; i < arguments.positional.size(); ++i)
        given[std::size_t(i)] = &arguments.positional[i];
    for (const auto& [argument, value] : arguments.named) {
        AbstractParameter* parameter = set ? set->find(argument) : nullptr;
        if (!parameter) {
            QStringList known;
            for (std::size_t i = 0; i < count; ++i)
                known << set->at(i)->getName();
            return fail(QCoreApplication::translate("Command", "%1 has no parameter \"%2\"; it has: %3")
                            .arg(name, argument, known.join(QStringLiteral(", "))));
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (set->at(i) != parameter)
                continue;
            if (given[i])
                return fail(QCoreApplication::translate("Command", "%1: \"%2\" was given twice").arg(name, argument));
            given[i] = &value;
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        AbstractParameter* parameter = set->at(i);
        QString text;
        if (given[i])
            text = *given[i];
        else if (!parameter->getDefaultParameterForDefaultGUI().isNull())
            text = parameter->getDefaultParameterForDefaultGUI();
        else if (!parameter->getDefaultText().isEmpty())
            text = parameter->getDefaultText();
        else {
            parameter->deleteValue();
            continue;
        }
        // The conversion is tried apart first, so that a refusal can say what is wrong with which argument.
        if (auto cast = parameter->getCastClass()) {
            try {
                cast->deleteValue(cast->fromString(text));
            } catch (const std::exception& e) {
                return fail(QCoreApplication::translate("Command", "%1: the value of \"%2\" cannot be used: %3")
                                .arg(name, parameter->getName(), QString::fromUtf8(e.what())));
            } catch (...) {
                return fail(QCoreApplication::translate("Command", "%1: the value of \"%2\" cannot be used")
                                .arg(name, parameter->getName()));
            }
        }
        if (!parameter->castString(text))
            return fail(QCoreApplication::translate("Command", "%1: the value of \"%2\" cannot be used")
                            .arg(name, parameter->getName()));
    }
    setErrorState(0);
    return true;
}

QWidget* Command::getGUIWindow()
{
    return nullptr;
}

QWidget* Command::getCommandWidget()
{
    return nullptr;
}

Command* Command::clone() const
{
    Command* copy = Overseer::getInstance()->getCommandProcessor()->createCommand(d->descriptor->getName());
    if (!copy)
        return nullptr;
    for (std::size_t s = 0; s < std::min(d->sets.size(), copy->d->sets.size()); ++s) {
        const ParameterSet* from = d->sets[s];
        const ParameterSet* to = copy->d->sets[s];
        for (std::size_t i = 0; i < std::min(from->size(), to->size()); ++i) {
            to->at(i)->setDefaultParameterForDefaultGUI(from->at(i)->getDefaultParameterForDefaultGUI());
            if (from->at(i)->hasValue())
                to->at(i)->castString(from->at(i)->toString());
        }
    }
    copy->setCurrentParameterSetId(getCurrentParameterSetId());
    copy->setAnnouncesChanges(announcesChanges());
    return copy;
}

void Command::abort() {}

void Command::disableCommand(bool disable)
{
    d->disabled = disable;
    ProcessorPosts::enabledChanged(d->id, !disable);
}

bool Command::isDisabled() const
{
    return d->disabled;
}

void Command::updateProcessed(int percent)
{
    d->processed = percent;
    ProcessorPosts::changed(d->id, percent, QString(), false);
}

int Command::getProcessed() const
{
    return d->processed;
}

void Command::updateText(const QString& text)
{
    {
        std::lock_guard<std::mutex> guard(d->textMutex);
        // The characters may lie in a library that is unloaded while the text is still shown.
        d->text = QString(text.constData(), text.size());
    }
    ProcessorPosts::changed(d->id, d->processed, QString(text.constData(), text.size()), true);
}

QString Command::getText() const
{
    std::lock_guard<std::mutex> guard(d->textMutex);
    return d->text;
}

const CommandDescriptor* Command::getDescriptor() const
{
    return d->descriptor.get();
}

const CommandGUIDescriptor* Command::getGUIDescriptor() const
{
    return d->guiDescriptor.get();
}

quint64 Command::getId() const
{
    return d->id;
}

const std::vector<ParameterSet*>& Command::getParameterSets() const
{
    return d->sets;
}

void Command::addParameterSet(ParameterSet* set)
{
    if (d->sets.empty())
        d->currentSetId = set->getId();
    d->sets.push_back(set);
}

int Command::getCurrentParameterSetId() const
{
    return d->currentSetId;
}

void Command::setCurrentParameterSetId(int id)
{
    d->currentSetId = id;
}

ParameterSet* Command::getCurrentParameterSet() const
{
    for (ParameterSet* set : d->sets)
        if (set->getId() == d->currentSetId)
            return set;
    return nullptr;
}

int Command::getErrorState() const
{
    return d->errorState;
}

void Command::setErrorState(int state)
{
    d->errorState = state;
}

bool Command::announcesChanges() const
{
    return d->announces;
}

void Command::setAnnouncesChanges(bool announces)
{
    d->announces = announces;
}

int Command::getInstanceMode() const
{
    return d->instanceMode;
}

void Command::setInstanceMode(int mode)
{
    d->instanceMode = mode;
}

bool Command::isUndoable() const
{
    return d->undoable;
}

void Command::setUndoable(bool undoable)
{
    d->undoable = undoable;
}

bool Command::isRecordedInMacros() const
{
    return d->recorded;
}

void Command::setRecordedInMacros(bool recorded)
{
    d->recorded = recorded;
}

bool Command::isOneShot() const
{
    return d->oneShot;
}

void Command::setOneShot(bool oneShot)
{
    d->oneShot = oneShot;
}

SettingsCommand::SettingsCommand(CommandDescriptor* descriptor, CommandGUIDescriptor* guiDescriptor)
    : Command(descriptor, guiDescriptor)
{
    setUndoable(false);
    setRecordedInMacros(false);
    setInstanceMode(RunPrototype);
}

SettingsCommand::~SettingsCommand() = default;

FunctionCommand::FunctionCommand(const boost::function<void()>& function, bool deleteAfterRun,
                                 CommandDescriptor* descriptor)
    : Command(descriptor, nullptr), m_Function(function)
{
    setInstanceMode(RunOnce);
    setOneShot(deleteAfterRun);
    setUndoable(false);
    setRecordedInMacros(false);
}

FunctionCommand::~FunctionCommand() = default;

void FunctionCommand::execute()
{
    m_Function();
}

} // namespace tov::main
