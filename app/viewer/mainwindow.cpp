#include "app/viewer/mainwindow.h"

#include "app/viewer/commandactions.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/dialogs.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/parameterdialog.h"
#include "app/viewer/runsbar.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/trajectorybar.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/scene.h"
#include "scene/sceneimport.h"
#include "scene/scenelocker.h"
#include "scene/scenepanel.h"
#include "scene/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QAbstractButton>
#include <QActionGroup>
#include <QPushButton>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDateTime>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QImageReader>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QStatusBar>
#include <QThread>
#include <QVBoxLayout>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::main::Command;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::scene::SceneImport;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

namespace {

constexpr int MaxRecentFiles = 12;
constexpr int LayoutVersion = 1;

/// Positions of the window's own menus; the modules' menus stand between them.
enum MenuPosition
{
    FileMenu = 1000,
    ViewMenu = 2000,
    HelpMenu = 9000,
};

bool isTrajectoryFile(const QString& fileName)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    return suffix == QLatin1String("csv") || suffix == QLatin1String("tum") || suffix == QLatin1String("json");
}

} // namespace

MainWindow::MainWindow(const tov::main::ModuleLoader* loader, QWidget* parent) : QMainWindow(parent), mp_Loader(loader)
{
    setObjectName(QStringLiteral("MainWindow"));
    setWindowTitle(QStringLiteral("tov"));
    setAcceptDrops(true);
    setDockNestingEnabled(true);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    mp_Notices = new NoticeBar(central);
    mp_Grid = new PanelGrid(central);
    mp_Runs = new RunsBar(central);
    layout->addWidget(mp_Notices);
    layout->addWidget(mp_Grid, 1);
    layout->addWidget(mp_Runs);
    setCentralWidget(central);

    mp_Actions = new CommandActions(this, [this](Command* prototype) { runCommand(prototype); });
    createDocks();
    createMenus();
    mp_Actions->rebuild();
    watchRuns();
    restoreLayout();
    if (mp_Grid->getPanelCount() == 0)
        mp_Grid->setPanelCount(1);
    statusBar()->showMessage(tr("Open a model: File > Open, or drop it here."));
}

MainWindow::~MainWindow()
{
    if (mp_OpenThread) {
        *mp_OpenCancelled = true;
        Overseer::getInstance()->processWorkersUntil([this] { return mp_OpenThread->isFinished(); });
        delete mp_OpenThread;
        mp_OpenThread = nullptr;
    }
    mp_Grid->closeAll();
}

void MainWindow::createDocks()
{
    auto* sceneDock = new QDockWidget(tr("Scene"), this);
    sceneDock->setObjectName(QStringLiteral("SceneDock"));
    mp_Tree = new SceneTree(sceneDock);
    sceneDock->setWidget(mp_Tree);
    addDockWidget(Qt::LeftDockWidgetArea, sceneDock);

    auto* consoleDock = new QDockWidget(tr("Console"), this);
    consoleDock->setObjectName(QStringLiteral("ConsoleDock"));
    mp_Console = new ConsoleWidget(consoleDock);
    consoleDock->setWidget(mp_Console);
    addDockWidget(Qt::BottomDockWidgetArea, consoleDock);
    resizeDocks({sceneDock}, {220}, Qt::Horizontal);
    resizeDocks({consoleDock}, {170}, Qt::Vertical);

    mp_Trajectory = new TrajectoryBar(this);
    addToolBar(Qt::BottomToolBarArea, mp_Trajectory);
    connect(mp_Trajectory, &TrajectoryBar::failed, this,
            [this](const QString& message) { mp_Notices->showMessage(NoticeBar::Kind::Warning, message); });
}

void MainWindow::createMenus()
{
    auto* file = mp_Actions->addOwnMenu(tr("&File"), FileMenu);
    auto* open = file->addAction(style()->standardIcon(QStyle::SP_DialogOpenButton), tr("&Open ..."), this,
                                 &MainWindow::chooseFiles, QKeySequence::Open);
    open->setObjectName(QStringLiteral("OpenAction"));
    mp_RecentMenu = file->addMenu(tr("Open &recent"));
    connect(mp_RecentMenu, &QMenu::aboutToShow, this, &MainWindow::updateRecentMenu);
    file->addAction(tr("Open &trajectory ..."), mp_Trajectory, &TrajectoryBar::chooseFile,
                    QKeySequence(QStringLiteral("Ctrl+T")));
    file->addSeparator();
    file->addAction(tr("&Copy view to clipboard"), this, &MainWindow::copyViewToClipboard,
                    QKeySequence(QStringLiteral("Ctrl+Shift+C")));
    file->addSeparator();
    file->addAction(tr("&Preferences ..."), this, [this] {
        PreferencesDialog dialog(mp_Actions->getSettings(), this);
        dialog.exec();
    });
    file->addSeparator();
    file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);

    mp_ViewMenu = mp_Actions->addOwnMenu(tr("&View"), ViewMenu);
    auto* panels = new QActionGroup(this);
    for (int count : {1, 2, 4}) {
        auto* action = mp_ViewMenu->addAction(count == 1 ? tr("One panel") : tr("%1 panels").arg(count), this,
                                              [this, count] { mp_Grid->setPanelCount(count); },
                                              QKeySequence(QStringLiteral("Ctrl+%1").arg(count)));
        action->setCheckable(true);
        panels->addAction(action);
        connect(mp_Grid, &PanelGrid::panelCountChanged, action,
                [action, count](int now) { action->setChecked(now == count); });
    }
    mp_ViewMenu->addAction(tr("Close active panel"), this,
                           [this] {
                               if (auto* panel = mp_Grid->getActivePanel())
                                   mp_Grid->closePanel(panel);
                           },
                           QKeySequence(QStringLiteral("Ctrl+W")));
    mp_ViewMenu->addSeparator();
    const auto onActive = [this](auto function) {
        return [this, function] {
            if (auto* panel = mp_Grid->getActivePanel())
                function(panel);
        };
    };
    mp_ViewMenu->addAction(tr("&Fit to view"), this, onActive([](ScenePanel* panel) { panel->fitToView(); }),
                           QKeySequence(Qt::Key_F));
    const std::pair<QString, ScenePanel::StandardView> views[] = {
        {tr("Front"), ScenePanel::StandardView::Front}, {tr("Back"), ScenePanel::StandardView::Back},
        {tr("Left"), ScenePanel::StandardView::Left},   {tr("Right"), ScenePanel::StandardView::Right},
        {tr("Top"), ScenePanel::StandardView::Top},     {tr("Bottom"), ScenePanel::StandardView::Bottom},
        {tr("Isometric"), ScenePanel::StandardView::Isometric},
    };
    int key = Qt::Key_1;
    for (const auto& [name, view] : views)
        mp_ViewMenu->addAction(name, this, onActive([view = view](ScenePanel* panel) { panel->setStandardView(view); }),
                               QKeySequence(key++));
    mp_ViewMenu->addSeparator();
    for (auto* dock : findChildren<QDockWidget*>())
        mp_ViewMenu->addAction(dock->toggleViewAction());
    mp_ViewMenu->addAction(mp_Trajectory->toggleViewAction());

    auto* help = mp_Actions->addOwnMenu(tr("&Help"), HelpMenu);
    help->addAction(tr("About &modules ..."), this, [this] {
        AboutModulesDialog dialog(mp_Loader ? mp_Loader->getFailures() : std::vector<tov::main::LoadFailure>(), this);
        dialog.exec();
    });
    help->addAction(tr("&About tov ..."), this, [this] {
        QMessageBox::about(this, tr("About tov"),
                           tr("<h3>tov %1</h3><p>3D scenes, pictures of any size and videos.</p>")
                               .arg(QCoreApplication::applicationVersion()));
    });
}

void MainWindow::chooseFiles()
{
    QStringList patterns;
    for (const QString& suffix : SceneImport::getSuffixes())
        patterns << QStringLiteral("*.") + suffix;
    const QString key = QStringLiteral("window/lastmodeldirectory");
    const QStringList names = QFileDialog::getOpenFileNames(
        this, tr("Open"), tovSettings().value(key).toString(),
        tr("Models (%1);;Trajectories (*.csv *.tum *.json);;All files (*)").arg(patterns.join(QLatin1Char(' '))));
    if (names.isEmpty())
        return;
    tovSettings().setValue(key, QFileInfo(names.first()).absolutePath());
    openFiles(names);
}

void MainWindow::openFiles(const QStringList& fileNames)
{
    QStringList models;
    for (const QString& name : fileNames) {
        if (isTrajectoryFile(name))
            mp_Trajectory->openFile(name);
        else
            models << name;
    }
    if (models.isEmpty())
        return;
    if (mp_OpenThread) {
        mp_Notices->showMessage(NoticeBar::Kind::Warning, tr("Another file is still being opened; try again then."));
        return;
    }
    const QString text = models.size() == 1 ? tr("Opening %1").arg(QFileInfo(models.first()).fileName())
                                            : tr("Opening %n files", nullptr, models.size());
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    mp_OpenCancelled = cancelled;
    const quint64 task = mp_Runs->addTask(text, [cancelled] { *cancelled = true; });
    auto error = std::make_shared<QString>();
    auto done = std::make_shared<bool>(false);
    auto shown = std::make_shared<std::atomic<int>>(-1);
    mp_OpenThread = QThread::create([this, models, cancelled, error, done, shown, task, text] {
        *done = SceneImport::addFiles(models, error.get(), [=, this](int percent) {
            if (shown->exchange(percent) != percent)
                QMetaObject::invokeMethod(this, [=, this] { mp_Runs->updateTask(task, text, percent); },
                                          Qt::QueuedConnection);
            return !*cancelled;
        });
    });
    connect(mp_OpenThread, &QThread::finished, this, [=, this] {
        mp_Runs->removeTask(task);
        mp_OpenThread->deleteLater();
        mp_OpenThread = nullptr;
        if (!*done) {
            if (*cancelled)
                statusBar()->showMessage(tr("Opening was stopped."), 10000);
            else
                mp_Notices->showMessage(NoticeBar::Kind::Warning, *error);
        } else {
            for (auto* panel : mp_Grid->getPanels())
                panel->fitToView();
            mp_Tree->rebuild();
            for (const QString& model : models)
                addRecentFile(model);
            setWindowTitle(QFileInfo(models.last()).fileName() + QStringLiteral(" - tov"));
            statusBar()->showMessage(tr("%1 opened.").arg(QFileInfo(models.last()).fileName()), 10000);
        }
        if (m_Closing)
            close();
    });
    mp_OpenThread->start();
}

void MainWindow::addRecentFile(const QString& fileName)
{
    const QString key = QStringLiteral("window/recentfiles");
    const QString path = QFileInfo(fileName).absoluteFilePath();
    QStringList files = tovSettings().value(key).toStringList();
    files.removeAll(path);
    files.prepend(path);
    while (files.size() > MaxRecentFiles)
        files.removeLast();
    tovSettings().setValue(key, files);
}

void MainWindow::updateRecentMenu()
{
    mp_RecentMenu->clear();
    const QStringList files = tovSettings().value(QStringLiteral("window/recentfiles")).toStringList();
    for (const QString& file : files) {
        auto* action = mp_RecentMenu->addAction(QFileInfo(file).fileName(), this, [this, file] { openFiles({file}); });
        action->setToolTip(file);
        action->setEnabled(QFileInfo::exists(file));
    }
    if (files.isEmpty())
        mp_RecentMenu->addAction(tr("No files yet"))->setEnabled(false);
    mp_RecentMenu->setToolTipsVisible(true);
}

void MainWindow::runCommand(Command* prototype)
{
    // A command may bring a window of its own.
    if (QWidget* own = prototype->getGUIWindow()) {
        own->show();
        own->raise();
        return;
    }
    ParameterDialog dialog(prototype, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    QString error;
    if (!Overseer::getInstance()->getCommandProcessor()->start(prototype->getDescriptor()->getName(),
                                                               dialog.getArguments(), &error))
        mp_Notices->showMessage(NoticeBar::Kind::Warning, error);
}

void MainWindow::watchRuns()
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    connect(processor, &CommandProcessor::runStarted, this, [this](const CommandRunPointer& run) {
        Started started;
        started.clock.start();
        started.fileName = run->getArgument(QStringLiteral("filename"));
        started.fileTime = QFileInfo(started.fileName).lastModified();
        m_Started[run->getId()] = started;
        // A recording that is stepped along a trajectory ends at once, with nothing, when none is open: by design of
        // the command. The person is told here, in words, at the moment it happens.
        const QString sync = run->getArgument(QStringLiteral("sync"));
        if (!sync.isNull() && sync != QLatin1String("0") && TrajectoryHandler::getInstance()->getCount() == 0)
            mp_Notices->showMessage(
                NoticeBar::Kind::Warning,
                tr("No trajectory is open, so a recording that is synchronised with it holds no frames. Open one with "
                   "File > Open trajectory, or record with \"sync\" off."));
    });
    connect(processor, &CommandProcessor::runFinished, this, &MainWindow::runEnded);
}

void MainWindow::runEnded(const CommandRunPointer& run)
{
    const auto found = m_Started.find(run->getId());
    if (found == m_Started.end())
        return;
    const Started started = found->second;
    m_Started.erase(found);
    if (!started.fileName.isEmpty()) {
        // The log says "saved" even where a full disk swallowed the bytes, so the file itself is asked.
        const QFileInfo info(started.fileName);
        const bool written = info.exists() && info.size() > 0 && info.lastModified() != started.fileTime;
        if (written) {
            QString text = tr("%1: %2").arg(info.fileName(), QLocale().formattedDataSize(info.size()));
            const QSize size = QImageReader(started.fileName).size();
            if (size.isValid())
                text += tr(", %1 x %2 pixels").arg(size.width()).arg(size.height());
            text += tr(", done in %1").arg(durationText((started.clock.elapsed() + 500) / 1000));
            mp_Notices->showFile(text, started.fileName);
        } else {
            mp_Notices->showMessage(NoticeBar::Kind::Warning,
                                    tr("Nothing was written to %1. The console says why.").arg(info.fileName()));
        }
    }
    if (m_Closing && Overseer::getInstance()->getCommandProcessor()->getRuns().empty())
        QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

void MainWindow::copyViewToClipboard()
{
    auto* panel = mp_Grid->getActivePanel();
    if (!panel) {
        mp_Notices->showMessage(NoticeBar::Kind::Warning, tr("There is no view to copy: open a panel first."));
        return;
    }
    const QImage image = panel->grabFramebuffer();
    QApplication::clipboard()->setImage(image);
    statusBar()->showMessage(tr("View copied, %1 x %2 pixels.").arg(image.width()).arg(image.height()), 10000);
}

bool MainWindow::endRuns()
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    const auto runs = processor->getRuns();
    if (runs.empty() && !mp_OpenThread)
        return true;
    if (m_Closing)
        return false;
    QStringList texts;
    for (const auto& run : runs)
        texts << (run->getText().isEmpty() ? run->getCommandName() : run->getText());
    if (mp_OpenThread)
        texts << tr("Opening files");
    QMessageBox question(QMessageBox::Question, tr("Quit"),
                         tr("Still running:\n%1\n\nRecordings are stopped and what they captured is written; pictures "
                            "are finished. Then the window closes.")
                             .arg(texts.join(QLatin1Char('\n'))),
                         QMessageBox::Cancel, this);
    auto* quit = question.addButton(tr("Finish and quit"), QMessageBox::AcceptRole);
    question.setObjectName(QStringLiteral("QuitQuestion"));
    question.exec();
    if (question.clickedButton() != static_cast<QAbstractButton*>(quit))
        return false;
    m_Closing = true;
    processor->stopAll();
    if (mp_OpenCancelled)
        *mp_OpenCancelled = true;
    statusBar()->showMessage(tr("Finishing what is running ..."));
    if (processor->getRuns().empty() && !mp_OpenThread)
        return true;
    return false;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!endRuns()) {
        event->ignore();
        return;
    }
    saveLayout();
    event->accept();
}

void MainWindow::saveLayout() const
{
    auto& settings = tovSettings();
    settings.setValue(QStringLiteral("window/geometry"), saveGeometry());
    settings.setValue(QStringLiteral("window/state"), saveState(LayoutVersion));
    settings.setValue(QStringLiteral("window/panels"), mp_Grid->saveState());
}

void MainWindow::restoreLayout()
{
    auto& settings = tovSettings();
    if (!restoreGeometry(settings.value(QStringLiteral("window/geometry")).toByteArray()))
        resize(1280, 860);
    restoreState(settings.value(QStringLiteral("window/state")).toByteArray(), LayoutVersion);
    mp_Grid->restoreState(settings.value(QStringLiteral("window/panels")).toByteArray());
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event)
{
    QStringList files;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile())
            files << url.toLocalFile();
    if (files.isEmpty()) {
        mp_Notices->showMessage(NoticeBar::Kind::Warning, tr("Only files of this computer can be opened."));
        return;
    }
    event->acceptProposedAction();
    openFiles(files);
}

} // namespace tov::viewer
