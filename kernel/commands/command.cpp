#include "kernel/commands/command.h"

#include "kernel/commands/commandcreators.h"
#include "kernel/commands/processorposts.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace tov::main {

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
    std::mutex disableMutex; ///< held while the state is set and posted, so that both happen in the same order
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
    const bool assigned = assignArguments(arguments, d->descriptor->getName(), getCurrentParameterSet(), error);
    setErrorState(assigned ? 0 : 1);
    return assigned;
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
    Command* copy = CommandCreators::create(d->descriptor->getName());
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
    std::lock_guard<std::mutex> guard(d->disableMutex);
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
        // A copy of the characters: a literal belongs to a library that may be unloaded while the text is still shown.
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

} // namespace tov::main
