#pragma once

#include "kernel/modules/moduleloader.h"

#include <QObject>

#include <functional>
#include <vector>

class QAction;
class QMainWindow;
class QMenu;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class CameraHistory;
class CommandActions;
class PanelGrid;
class QuickCapture;
class RecentFiles;
class SceneSession;
class SceneTree;
class TrajectoryBar;
class ViewBookmarks;
class ViewTools;

/// The objects that the menus act on. They must outlive the menus.
struct WindowParts
{
    QMainWindow* window;
    PanelGrid* grid;
    CommandActions* actions;
    RecentFiles* recent;
    TrajectoryBar* trajectory;
    QuickCapture* capture;
    CameraHistory* cameras;
    ViewTools* tools;
    SceneTree* tree;
    std::function<void()> chooseFiles;
    std::function<void()> copyView;
    std::function<void()> showPalette;
    std::function<void(int)> showViews;
    std::function<void(tov::gui::ScenePanel*)> closeView;
    std::function<void(bool)> setFullScreen;
    std::function<std::vector<tov::main::LoadFailure>()> loadFailures;
};

/// The window's own menus (File, Edit, View, Help); the modules' menus are between them. Thread: application.
class WindowMenus : public QObject
{
    Q_OBJECT
public:
    explicit WindowMenus(WindowParts parts);

    QMenu* getFileMenu() const { return mp_File; }
    QMenu* getViewMenu() const { return mp_View; }
    QMenu* getHelpMenu() const { return mp_Help; }
    ViewBookmarks* getBookmarks() const { return mp_Bookmarks; }
    /// Adds saving and reloading to the File menu.
    void addSceneActions(const SceneSession* session);

private:
    void createFileMenu();
    void createEditMenu();
    void createViewMenu();
    void addViewCounts();
    void addStandardViews();
    void addCameraActions();
    void addGuides();
    void addDocks();
    void createHelpMenu();
    /// A slot that calls `function` with the active view, if there is one.
    std::function<void()> onActiveView(std::function<void(tov::gui::ScenePanel*)> function) const;

    WindowParts m_Parts;
    QMenu* mp_File = nullptr;
    QAction* mp_AfterScene = nullptr; ///< the separator below the actions of scene files
    ViewBookmarks* mp_Bookmarks = nullptr;
    QMenu* mp_View = nullptr;
    QMenu* mp_Help = nullptr;
};

} // namespace tov::viewer
