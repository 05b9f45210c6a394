#pragma once

#include <QObject>

#include <functional>
#include <map>
#include <vector>

class QAction;
class QMainWindow;
class QMenu;
class QMenuBar;
class QToolBar;

namespace tov::main {
class Command;
}

namespace tov::viewer {

/// Places every primary command in menus, tool bars and settings from the modules' tables and the commands' own
/// descriptors, and keeps the actions enabled exactly as the commands are. Contains no command names.
/// Thread: application.
class CommandActions : public QObject
{
    Q_OBJECT
public:
    /// `run` is called with the prototype that the user chose.
    CommandActions(QMainWindow* window, std::function<void(tov::main::Command*)> run);

    /// Builds menus and tool bars again. The window's own menus keep their places: a menu whose action carries the
    /// dynamic property "position" is sorted by it.
    void rebuild();
    /// The settings commands by group, in order.
    const std::vector<std::pair<QString, tov::main::Command*>>& getSettings() const { return m_Settings; }
    /// The action of a command, or null.
    QAction* getAction(const QString& commandName) const;

    /// Adds one of the window's own menus at a position.
    QMenu* addOwnMenu(const QString& title, int position);

signals:
    void rebuilt();

private:
    void insertMenu(QMenu* menu, int position);

    QMainWindow* mp_Window;
    std::function<void(tov::main::Command*)> m_Run;
    std::map<QString, QAction*> m_Actions; ///< children
    std::vector<QMenu*> m_Menus;           ///< those of the modules
    std::vector<QToolBar*> m_ToolBars;     ///< those of the modules
    std::vector<std::pair<QString, tov::main::Command*>> m_Settings;
};

} // namespace tov::viewer
