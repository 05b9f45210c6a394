#pragma once

#include "kernel/main/export.h"
#include "kernel/modules/menuandtoolbarmanager.h"

#include <QIcon>
#include <QString>

#include <memory>

namespace tov::main {

/// Name and description of a command. Immutable. Thread: any.
class TOV_EXPORT CommandDescriptor
{
public:
    CommandDescriptor(const QString& name, const QString& description);
    ~CommandDescriptor();
    /// The word that calls the command in the command language; lower case.
    QString getName() const { return m_Name; }
    /// What the command does, in one line for the user.
    QString getDescription() const { return m_Description; }

private:
    QString m_Name;
    QString m_Description;
};

/// The place of a command in menus, tool bars and settings. Immutable. Thread: application.
class TOV_EXPORT CommandGUIDescriptor
{
public:
    enum Flag
    {
        Ordinary = 1, ///< in the menu and tool bar of its group
        Setting = 8,  ///< in the settings dialog
    };

    /// `icon` may be null; the descriptor owns it.
    CommandGUIDescriptor(int flag, const QString& group, MenuAndToolbarManager::Position position,
                         const QString& commandName, const QString& label, QIcon* icon);
    CommandGUIDescriptor(const CommandGUIDescriptor&) = delete;
    CommandGUIDescriptor& operator=(const CommandGUIDescriptor&) = delete;
    ~CommandGUIDescriptor();

    /// A value of `Flag`.
    int getFlag() const { return m_Flag; }
    /// The menu or the tab of the settings dialog.
    QString getGroup() const { return m_Group; }
    /// The place within the group.
    MenuAndToolbarManager::Position getPosition() const { return m_Position; }
    /// The word that calls the command in the command language.
    QString getCommandName() const { return m_CommandName; }
    /// The text of the menu entry or button.
    QString getLabel() const { return m_Label; }
    /// Null if the command has none.
    const QIcon* getIcon() const { return mp_Icon.get(); }

private:
    int m_Flag;
    QString m_Group;
    MenuAndToolbarManager::Position m_Position;
    QString m_CommandName;
    QString m_Label;
    std::unique_ptr<QIcon> mp_Icon;
};

} // namespace tov::main
