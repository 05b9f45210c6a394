#include "app/viewer/commandactions.h"

#include "app/viewer/commandtexts.h"
#include "kernel/commands/command.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/modules/module.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include <algorithm>

namespace tov::viewer {

using tov::main::Command;
using tov::main::CommandGUIDescriptor;
using tov::main::CommandProcessor;
using tov::main::MenuAndToolbarManager;

namespace {

/// A group of one placement kind with its commands in order.
struct Group
{
    QString name;
    int position;
    std::vector<Command*> commands;
};

std::vector<Group> groupsOf(int kind, int flag)
{
    std::vector<Group> groups;
    const auto commands = tov::main::Overseer::getInstance()->getCommandProcessor()->getPrimaryCommands();
    for (auto* module : tov::main::ModuleManager::getInstance()->getModules()) {
        const auto& table = module->getGUIDescriptions();
        const auto placement = table.find(kind);
        if (placement == table.end())
            continue;
        for (const auto& [name, position] : placement->second) {
            auto found = std::find_if(groups.begin(), groups.end(),
                                      [&name = name](const Group& group) { return group.name == name; });
            if (found == groups.end())
                groups.push_back({name, position.value(), {}});
        }
    }
    for (Command* command : commands) {
        const auto* gui = command->getGUIDescriptor();
        if (!gui || gui->getFlag() != flag)
            continue;
        for (Group& group : groups)
            if (group.name == gui->getGroup())
                group.commands.push_back(command);
    }
    for (Group& group : groups)
        std::stable_sort(group.commands.begin(), group.commands.end(), [](const Command* a, const Command* b) {
            return a->getGUIDescriptor()->getPosition() < b->getGUIDescriptor()->getPosition();
        });
    groups.erase(
        std::remove_if(groups.begin(), groups.end(), [](const Group& group) { return group.commands.empty(); }),
        groups.end());
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Group& a, const Group& b) { return a.position < b.position; });
    return groups;
}

} // namespace

CommandActions::CommandActions(QMainWindow* window, std::function<void(Command*)> run)
    : QObject(window), mp_Window(window), m_Run(std::move(run))
{
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    connect(processor, &CommandProcessor::commandsChanged, this, &CommandActions::rebuild);
    connect(processor, &CommandProcessor::commandEnabledChanged, this, [this](const QString& name, bool enabled) {
        if (auto* action = getAction(name))
            action->setEnabled(enabled);
    });
}

QAction* CommandActions::getAction(const QString& commandName) const
{
    const auto found = m_Actions.find(commandName);
    return found == m_Actions.end() ? nullptr : found->second;
}

void CommandActions::insertMenu(QMenu* menu, int position)
{
    menu->menuAction()->setProperty("position", position);
    for (QAction* other : mp_Window->menuBar()->actions())
        if (other->property("position").toInt() > position) {
            mp_Window->menuBar()->insertMenu(other, menu);
            return;
        }
    mp_Window->menuBar()->addMenu(menu);
}

QMenu* CommandActions::addOwnMenu(const QString& title, int position)
{
    auto* menu = new QMenu(title, mp_Window);
    insertMenu(menu, position);
    return menu;
}

void CommandActions::rebuild()
{
    for (QMenu* menu : m_Menus)
        delete menu;
    m_Menus.clear();
    for (QToolBar* bar : m_ToolBars)
        delete bar;
    m_ToolBars.clear();
    for (auto& [name, action] : m_Actions)
        delete action;
    m_Actions.clear();
    m_Settings.clear();

    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    const auto actionOf = [this, processor](Command* command, bool settings) {
        const auto* gui = command->getGUIDescriptor();
        QAction*& action = m_Actions[gui->getCommandName()];
        if (!action) {
            action = new QAction(gui->getLabel() + QStringLiteral(" ..."), this);
            action->setIconText(gui->getLabel());
            action->setObjectName(gui->getCommandName());
            if (gui->getIcon())
                action->setIcon(*gui->getIcon());
            action->setToolTip(commandText(command->getDescriptor()->getDescription()));
            action->setStatusTip(commandText(command->getDescriptor()->getDescription()));
            action->setEnabled(!command->isDisabled());
            if (settings)
                action->setMenuRole(QAction::NoRole);
            connect(action, &QAction::triggered, this, [this, processor, name = gui->getCommandName()] {
                if (auto* prototype = processor->getPrimaryCommand(name))
                    m_Run(prototype);
            });
        }
        return action;
    };
    int shortcut = 0;
    for (const Group& group : groupsOf(MenuAndToolbarManager::Menu, CommandGUIDescriptor::Ordinary)) {
        auto* menu = new QMenu(group.name, mp_Window);
        for (Command* command : group.commands) {
            auto* action = actionOf(command, false);
            // Ctrl+Shift+1 ... 9 in menu order: no command is known by name here.
            if (++shortcut <= 9)
                action->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+%1").arg(shortcut)));
            menu->addAction(action);
        }
        m_Menus.push_back(menu);
        insertMenu(menu, group.position);
    }
    for (const Group& group : groupsOf(MenuAndToolbarManager::ToolBar, CommandGUIDescriptor::Ordinary)) {
        auto* bar = new QToolBar(group.name, mp_Window);
        bar->setObjectName(QStringLiteral("ToolBar_") + group.name);
        bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        for (Command* command : group.commands)
            bar->addAction(actionOf(command, false));
        m_ToolBars.push_back(bar);
        mp_Window->addToolBar(bar);
    }
    for (const Group& group : groupsOf(MenuAndToolbarManager::Settings, CommandGUIDescriptor::Setting))
        for (Command* command : group.commands) {
            m_Settings.emplace_back(group.name, command);
            actionOf(command, true);
        }
    // Settings are in their group's menu too, below the commands.
    for (const auto& [groupName, command] : m_Settings)
        for (QMenu* menu : m_Menus)
            if (menu->title() == groupName) {
                if (!menu->property("separated").toBool()) {
                    menu->addSeparator();
                    menu->setProperty("separated", true);
                }
                menu->addAction(actionOf(command, true));
            }
    emit rebuilt();
}

} // namespace tov::viewer
