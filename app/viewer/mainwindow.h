#pragma once

#include "app/common/filesnapshot.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/modules/moduleloader.h"

#include <QElapsedTimer>
#include <QMainWindow>

#include <atomic>
#include <map>
#include <memory>

class QLabel;
class QMenu;
class QThread;

namespace tov::app {
class RunWatcher;
}

namespace tov::viewer {

class CommandActions;
class ConsoleWidget;
class EditQueue;
class NoticeBar;
class PanelGrid;
class ParameterDialog;
class RecentFiles;
class RunsBar;
class SceneTree;
class TrajectoryBar;

/// The application's window. Thread: application.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    /// `loader` is asked for what failed to load; it must outlive the window.
    explicit MainWindow(const tov::main::ModuleLoader* loader, QWidget* parent = nullptr);
    ~MainWindow() override;

    /// Reads models on a thread of their own, with progress and Stop, and fits the view. Trajectory files are opened as
    /// such. Failures are told in a notice.
    void openFiles(const QStringList& fileNames);
    bool isOpening() const { return mp_OpenThread != nullptr; }
    /// Stops the opening that is under way; the scene stays as it was.
    void cancelOpening();

    PanelGrid* getPanelGrid() const { return mp_Grid; }
    ConsoleWidget* getConsole() const { return mp_Console; }
    CommandActions* getActions() const { return mp_Actions; }
    NoticeBar* getNotices() const { return mp_Notices; }
    RecentFiles* getRecentFiles() const { return mp_RecentMenu; }
    RunsBar* getRuns() const { return mp_Runs; }
    SceneTree* getSceneTree() const { return mp_Tree; }
    TrajectoryBar* getTrajectoryBar() const { return mp_Trajectory; }

public slots:
    void copyViewToClipboard();

signals:
    /// The view is on the clipboard.
    void viewCopied();

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    /// What is kept of a run for the notice after it.
    struct Started
    {
        QString fileName;
        tov::app::FileSnapshot before;
        QElapsedTimer clock;
    };

    void createMenus();
    void createDocks();
    void chooseFiles();
    void runCommand(tov::main::Command* prototype);
    /// Asks before a file is replaced; tells why one cannot be written. False = back to the dialog.
    bool mayWrite(const ParameterDialog& dialog);
    void offerToLeave();
    void watchRuns();
    void runEnded(const tov::main::CommandRunPointer& run);
    void warnOfStuckRun(const QString& text);
    void createGuideMenu();
    void saveLayout() const;
    void restoreLayout();
    /// True when the window may go now; otherwise it will close itself once everything has ended.
    bool endRuns();

    const tov::main::ModuleLoader* mp_Loader;
    PanelGrid* mp_Grid = nullptr;
    ConsoleWidget* mp_Console = nullptr;
    CommandActions* mp_Actions = nullptr;
    NoticeBar* mp_Notices = nullptr;
    RunsBar* mp_Runs = nullptr;
    SceneTree* mp_Tree = nullptr;
    TrajectoryBar* mp_Trajectory = nullptr;
    EditQueue* mp_Edits = nullptr;
    RecentFiles* mp_RecentMenu = nullptr;
    QMenu* mp_ViewMenu = nullptr;
    QThread* mp_OpenThread = nullptr; ///< owned while files are read
    std::shared_ptr<std::atomic<bool>> mp_OpenCancelled;
    struct LastError;
    std::shared_ptr<LastError> mp_LastError; ///< shared with the log while the window lives
    std::unique_ptr<tov::app::RunWatcher> mp_Lost;
    std::map<quint64, Started> m_Started;
    bool m_Closing = false;
};

} // namespace tov::viewer
