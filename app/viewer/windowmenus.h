#pragma once

#include <QObject>

#include <functional>

class QAction;
class QMenu;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class MainWindow;

/// The window's own menus (File, View, Help); the modules' menus stand between them. Thread: application.
class WindowMenus : public QObject
{
    Q_OBJECT
public:
    explicit WindowMenus(MainWindow* window);

    QMenu* getFileMenu() const { return mp_File; }
    QMenu* getViewMenu() const { return mp_View; }
    QMenu* getHelpMenu() const { return mp_Help; }

private:
    void createFileMenu();
    void createViewMenu();
    void addViewCounts();
    void addStandardViews();
    void addCameraActions();
    void addGuides();
    void addDocks();
    void createHelpMenu();
    /// A slot that calls `function` with the active view, if there is one.
    std::function<void()> onActiveView(std::function<void(tov::gui::ScenePanel*)> function) const;

    MainWindow* mp_Window; ///< not owned
    QMenu* mp_File = nullptr;
    QMenu* mp_View = nullptr;
    QMenu* mp_Help = nullptr;
};

} // namespace tov::viewer
