#pragma once

#include "kernel/modules/moduleloader.h"

#include <QMainWindow>

#include <vector>

class QDockWidget;

namespace tov::app {
class RunWatcher;
}

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class CameraHistory;
class CommandActions;
class CommandStarter;
class ConsoleWidget;
class EditQueue;
class FileOpener;
class InspectPanel;
class LookPanel;
class NoticeBar;
class PanelGrid;
class PictureExport;
class QuickCapture;
class QuitGuard;
class RecentFiles;
class RecordedViews;
class RunsBar;
class SafeRuns;
class SceneSession;
class SceneTree;
class TrajectoryBar;
class ViewTools;
class WindowLayout;
class WindowMenus;

/// The application's window: puts the parts together and passes on what they report. Thread: application.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    /// `loader` lists what failed to load; it may be null and must outlive the window.
    explicit MainWindow(const tov::main::ModuleLoader* loader, QWidget* parent = nullptr);
    ~MainWindow() override;

    /// Opens models and trajectories, with progress and Stop, and fits the views; or a scene file, which replaces the
    /// scene. Failures are shown in a notice.
    void openFiles(const QStringList& fileNames);
    /// Whether files are being opened or about to be shown.
    bool isOpening() const;
    /// Stops the opening under way; the scene stays as it was.
    void cancelOpening();
    /// Ends everything that runs and closes the window, without a question.
    void quitWithoutAsking();
    /// Shows 1, 2 or 4 views. Asks when this closes a view that is being recorded.
    void showViews(int count);
    /// Closes a view. Asks when it is being recorded.
    void closeView(tov::gui::ScenePanel* view);
    void setFullScreen(bool full);

    PanelGrid* getPanelGrid() const { return mp_Grid; }
    ConsoleWidget* getConsole() const { return mp_Console; }
    CommandActions* getActions() const { return mp_Actions; }
    NoticeBar* getNotices() const { return mp_Notices; }
    RecentFiles* getRecentFiles() const { return mp_Recent; }
    RunsBar* getRuns() const { return mp_Runs; }
    SceneTree* getSceneTree() const { return mp_Tree; }
    SceneSession* getSession() const { return mp_Session; }
    LookPanel* getLookPanel() const { return mp_Look; }
    InspectPanel* getInspectPanel() const { return mp_Inspect; }
    TrajectoryBar* getTrajectoryBar() const { return mp_Trajectory; }
    WindowMenus* getMenus() const { return mp_Menus; }
    QuickCapture* getCapture() const { return mp_Capture; }
    const SafeRuns* getOutputs() const { return mp_Outputs; }
    CameraHistory* getCameraHistory() const { return mp_Cameras; }
    ViewTools* getViewTools() const { return mp_Tools; }
    /// The base name of the scene file or of the model opened last, for file names; empty without either.
    QString getModelName() const;
    /// The modules that could not be loaded.
    std::vector<tov::main::LoadFailure> getLoadFailures() const;

public slots:
    /// Finds any action by its name.
    void showCommandPalette();
    void chooseFiles();
    void copyViewToClipboard();
    /// Show the export dialog for a picture or video of the active view, then make it.
    void exportPicture();
    void exportVideo();

signals:
    /// The view is on the clipboard.
    void viewCopied();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void createCentre();
    void createDocks();
    void createSceneDock();
    void createSidePanels();
    QDockWidget* addDock(const QString& title, const char* name, QWidget* content, Qt::DockWidgetArea area);
    void createCapture();
    /// Stores what exports take, for the estimates of the next ones.
    void learnCosts();
    void createMenus();
    void connectOpener();
    void startSession();
    void showOpenedModels(const QStringList& fileNames);
    void openTrajectory(const QString& fileName);
    void warn(const QString& message);

    const tov::main::ModuleLoader* mp_Loader; ///< not owned, may be null
    EditQueue* mp_Edits;
    tov::app::RunWatcher* mp_Watcher;
    SafeRuns* mp_Outputs;
    PictureExport* mp_Export;
    SceneSession* mp_Session; ///< child, deleted before the views
    NoticeBar* mp_Notices = nullptr;
    PanelGrid* mp_Grid = nullptr;
    RunsBar* mp_Runs = nullptr;
    FileOpener* mp_Opener = nullptr;
    RecentFiles* mp_Recent = nullptr;
    ConsoleWidget* mp_Console = nullptr;
    SceneTree* mp_Tree = nullptr;
    LookPanel* mp_Look = nullptr;
    InspectPanel* mp_Inspect = nullptr;
    TrajectoryBar* mp_Trajectory = nullptr;
    CommandStarter* mp_Starter = nullptr;
    CommandActions* mp_Actions = nullptr;
    RecordedViews* mp_Recorded = nullptr;
    WindowLayout* mp_Layout = nullptr;
    WindowMenus* mp_Menus = nullptr;
    QuitGuard* mp_Quit = nullptr;
    QuickCapture* mp_Capture = nullptr;
    CameraHistory* mp_Cameras = nullptr;
    ViewTools* mp_Tools = nullptr;
};

} // namespace tov::viewer
