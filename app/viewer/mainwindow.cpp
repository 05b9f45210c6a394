#include "app/viewer/mainwindow.h"

#include "app/common/videoformats.h"
#include "app/common/runoutcome.h"
#include "app/common/spacewatch.h"
#include "app/viewer/camerahistory.h"
#include "app/viewer/commandactions.h"
#include "app/viewer/commandpalette.h"
#include "app/viewer/commandstarter.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/editqueue.h"
#include "app/viewer/exportestimate.h"
#include "app/viewer/exportpicturedialog.h"
#include "app/viewer/exportvideodialog.h"
#include "app/viewer/fileopener.h"
#include "app/viewer/glyphs.h"
#include "app/viewer/inspectpanel.h"
#include "app/viewer/lookpanel.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/quickcapture.h"
#include "app/viewer/quitguard.h"
#include "app/viewer/recentfiles.h"
#include "app/viewer/recordedviews.h"
#include "app/viewer/runnotices.h"
#include "app/viewer/runsbar.h"
#include "app/viewer/saferuns.h"
#include "app/viewer/scenesession.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/trajectorybar.h"
#include "app/viewer/viewpicture.h"
#include "app/viewer/viewtools.h"
#include "app/viewer/windowlayout.h"
#include "app/viewer/windowmenus.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QLineEdit>
#include <QLocale>
#include <QMimeData>
#include <QScrollArea>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::main::Command;
using tov::trajectory::TrajectoryHandler;

namespace {

constexpr int StatusMs = 10000;

/// `content` in an area that scrolls, so that it does not make the window higher than the screen.
QScrollArea* scrolling(QWidget* content)
{
    auto* area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(content);
    return area;
}

} // namespace

MainWindow::MainWindow(const tov::main::ModuleLoader* loader, QWidget* parent)
    : QMainWindow(parent), mp_Loader(loader), mp_Edits(new EditQueue(this)),
      mp_Watcher(new tov::app::RunWatcher(tov::app::FailureLog::Console::Ignore, this)),
      mp_Outputs(new SafeRuns(mp_Watcher, this)), mp_Export(new PictureExport(mp_Watcher, mp_Outputs, this)),
      mp_Session(new SceneSession(mp_Edits, this))
{
    setObjectName(QStringLiteral("MainWindow"));
    setWindowTitle(QStringLiteral("tov"));
    setAcceptDrops(true);
    setDockNestingEnabled(true);
    connect(mp_Edits, &EditQueue::postponed, this, [this] {
        statusBar()->showMessage(tr("The scene is locked until the picture is done; the change is made then."),
                                 StatusMs);
    });
    createCentre();
    mp_Starter = new CommandStarter(this);
    connect(mp_Starter, &CommandStarter::refused, this, &MainWindow::warn);
    mp_Actions = new CommandActions(this, [this](Command* prototype) { mp_Starter->start(prototype); });
    mp_Recorded = new RecordedViews(mp_Outputs, this);
    mp_Layout = new WindowLayout(this, mp_Grid);
    mp_Opener = new FileOpener(mp_Runs, this);
    mp_Quit = new QuitGuard(this, {mp_Opener, mp_Outputs, mp_Export}, [this] { mp_Layout->save(); });
    createDocks();
    connectOpener();
    createCapture();
    createMenus();
    startSession();
    mp_Actions->rebuild();
    mp_Layout->restore();
    if (mp_Grid->getPanelCount() == 0)
        mp_Grid->setPanelCount(1);
    statusBar()->showMessage(tr("Open a model: File > Open, or drop it here."));
}

MainWindow::~MainWindow()
{
    delete mp_Opener;
    delete mp_Session;
    mp_Session = nullptr;
    mp_Grid->closeAll();
}

void MainWindow::createCentre()
{
    auto* centre = new QWidget(this);
    mp_Grid = new PanelGrid(centre);
    mp_Notices = new NoticeBar(centre);
    mp_Runs = new RunsBar(mp_Outputs, centre);
    // Notices and runs are overlays: they appear and disappear without changing the views' shape, which is the shape of
    // pictures.
    auto* layout = new QGridLayout(centre);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mp_Grid, 0, 0);
    layout->addWidget(mp_Notices, 0, 0, Qt::AlignTop);
    layout->addWidget(mp_Runs, 0, 0, Qt::AlignBottom);
    mp_Runs->setAutoFillBackground(true);
    mp_Notices->raise();
    mp_Runs->raise();
    setCentralWidget(centre);
    connect(mp_Grid, &PanelGrid::closeRequested, this, &MainWindow::closeView);
    mp_Cameras = new CameraHistory(this);
    connect(mp_Grid, &PanelGrid::panelCountChanged, this, [this] {
        for (auto* view : mp_Grid->getPanels())
            mp_Cameras->watch(view);
    });
}

QDockWidget* MainWindow::addDock(const QString& title, const char* name, QWidget* content, Qt::DockWidgetArea area)
{
    auto* dock = new QDockWidget(title, this);
    dock->setObjectName(QLatin1String(name));
    dock->setWidget(content);
    addDockWidget(area, dock);
    return dock;
}

void MainWindow::createDocks()
{
    createSceneDock();
    createSidePanels();
    mp_Console = new ConsoleWidget(this);
    auto* console = addDock(tr("Console"), "ConsoleDock", mp_Console, Qt::BottomDockWidgetArea);
    resizeDocks({console}, {170}, Qt::Vertical);

    mp_Trajectory = new TrajectoryBar(this);
    addToolBar(Qt::BottomToolBarArea, mp_Trajectory);
    connect(mp_Trajectory, &TrajectoryBar::failed, this, &MainWindow::warn);
    mp_Recent = new RecentFiles(tr("Open &recent"), this);
    connect(mp_Recent, &RecentFiles::chosen, this, [this](const QString& name) { openFiles({name}); });
    mp_Tools = new ViewTools({this, mp_Grid, mp_Tree, mp_Inspect, mp_Trajectory, mp_Edits});
    connect(mp_Tools, &ViewTools::failed, this, &MainWindow::warn);
}

void MainWindow::createSceneDock()
{
    auto* content = new QWidget(this);
    mp_Tree = new SceneTree(mp_Edits, mp_Session->getPartEdits(), content);
    auto* search = new QLineEdit(content);
    search->setObjectName(QStringLiteral("TreeSearch"));
    search->setPlaceholderText(tr("Search parts"));
    search->setClearButtonEnabled(true);
    connect(search, &QLineEdit::textChanged, mp_Tree, &SceneTree::setFilter);
    connect(mp_Tree, &SceneTree::fitRequested, this, [this] {
        if (auto* view = mp_Grid->getActivePanel())
            view->fly([view] { view->fitToView(); });
    });
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(4, 4, 4, 4);
    column->addWidget(search);
    column->addWidget(mp_Tree, 1);
    auto* dock = addDock(tr("Scene"), "SceneDock", content, Qt::LeftDockWidgetArea);
    resizeDocks({dock}, {220}, Qt::Horizontal);
}

void MainWindow::createSidePanels()
{
    mp_Look = new LookPanel(this);
    connect(mp_Look, &LookPanel::failed, this, &MainWindow::warn);
    auto* look = addDock(tr("Look"), "LookDock", scrolling(mp_Look), Qt::RightDockWidgetArea);
    mp_Inspect = new InspectPanel(this);
    connect(mp_Edits, &EditQueue::edited, mp_Inspect, &InspectPanel::refresh);
    auto* inspect = addDock(tr("Inspect"), "InspectDock", scrolling(mp_Inspect), Qt::RightDockWidgetArea);
    tabifyDockWidget(look, inspect);
    // Hidden until the user opens them, so that the views have all the space.
    look->hide();
    inspect->hide();
}

void MainWindow::createCapture()
{
    mp_Watcher->setPlaysInRealTime(true);
    auto* space = new tov::app::SpaceWatch(this);
    new RunNotices(mp_Watcher, mp_Outputs, space, mp_Notices, mp_Runs, this);
    mp_Capture = new QuickCapture(
        mp_Outputs, mp_Recorded, space, [this] { return getModelName(); }, this);
    connect(mp_Capture, &QuickCapture::failed, this, &MainWindow::warn);
    auto* captureBar = addToolBar(tr("Capture"));
    captureBar->setObjectName(QStringLiteral("CaptureBar"));
    captureBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    auto* picture = captureBar->addAction(glyphIcon(Glyph::ExportPicture), tr("Export picture ..."), this,
                                          &MainWindow::exportPicture);
    picture->setObjectName(QStringLiteral("ExportPictureAction"));
    picture->setShortcut(QKeySequence(QStringLiteral("Ctrl+E")));
    picture->setToolTip(tr("Export a picture: size, transparency, quality (Ctrl+E)"));
    auto* video =
        captureBar->addAction(glyphIcon(Glyph::ExportVideo), tr("Export video ..."), this, &MainWindow::exportVideo);
    video->setObjectName(QStringLiteral("ExportVideoAction"));
    video->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+E")));
    video->setToolTip(tr("Export a video: turntable, trajectory or free, size, format (Ctrl+Shift+E)"));
    mp_Capture->addTo(captureBar);
    connect(mp_Export, &PictureExport::failed, this, &MainWindow::warn);
    connect(mp_Export, &PictureExport::saved, this, [this](const QString& name, const QSize& size) {
        mp_Notices->showFile(tr("%1: %2, %3 x %4 pixels")
                                 .arg(QFileInfo(name).fileName(), QLocale().formattedDataSize(QFileInfo(name).size()),
                                      QString::number(size.width()), QString::number(size.height())),
                             name);
    });
    learnCosts();
}

void MainWindow::learnCosts()
{
    connect(mp_Export, &PictureExport::saved, this, [](const QString& name, const QSize& size, double seconds) {
        ExportEstimate(QFileInfo(name).suffix().toLower()).learn({seconds, QFileInfo(name).size()}, size, 1);
    });
    connect(mp_Outputs, &SafeRuns::ended, this, [](const auto& run, const tov::app::RunOutcome& outcome) {
        if (outcome.isDone() && outcome.frames > 0 && !tov::app::RunWatcher::isFreeRecording(*run))
            ExportEstimate(tov::app::longestEnding(outcome.files.first(), tov::app::knownVideoEndings()))
                .learn({outcome.elapsed, outcome.bytes}, outcome.size, outcome.frames);
    });
}

void MainWindow::createMenus()
{
    mp_Menus =
        new WindowMenus({this, mp_Grid, mp_Actions, mp_Recent, mp_Trajectory, mp_Capture, mp_Cameras, mp_Tools, mp_Tree,
                         [this] { chooseFiles(); }, [this] { copyViewToClipboard(); }, [this] { showCommandPalette(); },
                         [this](int count) { showViews(count); }, [this](ScenePanel* view) { closeView(view); },
                         [this](bool full) { setFullScreen(full); }, [this] { return getLoadFailures(); }});
}

void MainWindow::startSession()
{
    SceneDocument::Parts parts{};
    parts.window = this;
    parts.grid = mp_Grid;
    parts.opener = mp_Opener;
    parts.tree = mp_Tree;
    parts.look = mp_Look;
    parts.bookmarks = mp_Menus->getBookmarks();
    mp_Session->start(parts, mp_Notices, mp_Recent);
    mp_Menus->addSceneActions(mp_Session);
    connect(mp_Session, &SceneSession::failed, this, &MainWindow::warn);
    connect(mp_Session, &SceneSession::reported, this,
            [this](const QString& message) { statusBar()->showMessage(message, StatusMs); });
    connect(mp_Session, &SceneSession::titleChanged, this, [this] {
        setWindowTitle(mp_Session->getTitle());
        setWindowModified(mp_Session->getDocument()->isModified());
    });
}

void MainWindow::connectOpener()
{
    connect(mp_Opener, &FileOpener::modelsOpened, this, &MainWindow::showOpenedModels);
    connect(mp_Opener, &FileOpener::trajectoryRequested, this, &MainWindow::openTrajectory);
    connect(mp_Opener, &FileOpener::failed, this, &MainWindow::warn);
    connect(mp_Opener, &FileOpener::stopped, this,
            [this] { statusBar()->showMessage(tr("Opening was stopped."), StatusMs); });
}

void MainWindow::warn(const QString& message)
{
    mp_Notices->showMessage(NoticeBar::Kind::Warning, message);
}

QString MainWindow::getModelName() const
{
    return mp_Session->getName();
}

std::vector<tov::main::LoadFailure> MainWindow::getLoadFailures() const
{
    return mp_Loader ? mp_Loader->getFailures() : std::vector<tov::main::LoadFailure>();
}

void MainWindow::chooseFiles()
{
    const QStringList names = FileOpener::chooseFiles(this);
    if (!names.isEmpty())
        openFiles(names);
}

void MainWindow::openFiles(const QStringList& fileNames)
{
    if (!mp_Session->openScene(fileNames))
        mp_Opener->open(fileNames);
}

bool MainWindow::isOpening() const
{
    return mp_Opener->isOpening() || mp_Session->getDocument()->isShowing();
}

void MainWindow::cancelOpening()
{
    mp_Opener->cancel();
}

void MainWindow::showOpenedModels(const QStringList& fileNames)
{
    for (auto* view : mp_Grid->getPanels())
        view->fitToView();
    // A trajectory that is open already moves the new elements, too.
    auto* trajectory = TrajectoryHandler::getInstance();
    if (trajectory->getCount() > 0)
        trajectory->setPosition(trajectory->getPosition());
    mp_Tree->rebuild();
    const auto* root = tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode();
    const auto models = root ? root->getChildren() : std::vector<tov::scene::SceneElement*>();
    // Each file is a child of the root; the new ones are the last.
    const int first = int(models.size()) - fileNames.size();
    for (int i = 0; i < fileNames.size(); ++i)
        mp_Recent->add(fileNames[i], first + i >= 0 ? models[first + i] : nullptr);
    mp_Session->addModels(fileNames);
    statusBar()->showMessage(tr("%1 opened.").arg(QFileInfo(fileNames.last()).fileName()), StatusMs);
    if (auto* view = mp_Grid->getActivePanel())
        view->setFocus();
}

void MainWindow::openTrajectory(const QString& fileName)
{
    mp_Trajectory->openFile(fileName);
}

void MainWindow::showViews(int count)
{
    mp_Recorded->closeAfterRecording(mp_Grid->getPanelsToClose(count),
                                     [this, count] { mp_Grid->setPanelCount(count); });
}

void MainWindow::closeView(ScenePanel* view)
{
    if (mp_Grid->getPanelCount() > 1)
        mp_Recorded->closeAfterRecording({view}, [this, view] { mp_Grid->closePanel(view); });
}

void MainWindow::setFullScreen(bool full)
{
    mp_Layout->setFullScreen(full);
}

void MainWindow::copyViewToClipboard()
{
    auto* view = mp_Grid->getActivePanel();
    if (!view) {
        warn(tr("There is no view to copy."));
        return;
    }
    // The size on the screen, in device pixels.
    const QSize size = QSize(view->width(), view->height()) * view->devicePixelRatioF();
    const auto taken = ViewPicture::take(view, size, this, [this](const QImage& image) {
        if (image.isNull()) {
            warn(tr("The view cannot be copied. See the console for details."));
            return;
        }
        QApplication::clipboard()->setImage(image);
        statusBar()->showMessage(tr("View copied, %1 x %2 pixels.").arg(image.width()).arg(image.height()), StatusMs);
        emit viewCopied();
    });
    if (!taken)
        warn(tr("Pictures are not available here. See Help > About modules for the reason."));
}

void MainWindow::showCommandPalette()
{
    CommandPalette palette(findChildren<QAction*>(), this);
    if (palette.exec() == QDialog::Accepted && palette.getChosen())
        palette.getChosen()->trigger();
}

void MainWindow::exportPicture()
{
    auto* view = mp_Grid->getActivePanel();
    if (!view)
        return;
    ExportPictureDialog dialog(view, getModelName(), this);
    QString error;
    if (dialog.exec() == QDialog::Accepted && !mp_Export->start(view, dialog.getRequest(), &error))
        warn(error);
}

void MainWindow::exportVideo()
{
    auto* view = mp_Grid->getActivePanel();
    if (!view)
        return;
    ExportVideoDialog dialog(view, getModelName(), this);
    QString error;
    if (dialog.exec() == QDialog::Accepted && !startVideo(*mp_Outputs, view, dialog.getRequest(), &error))
        warn(error);
}

void MainWindow::quitWithoutAsking()
{
    mp_Quit->quitWithoutAsking();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!mp_Quit->mayClose()) {
        event->ignore();
        return;
    }
    if (!mp_Session->mayClose(mp_Quit->mayAsk())) {
        mp_Quit->stayOpen();
        event->ignore();
        return;
    }
    mp_Layout->save();
    event->accept();
}

void MainWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    // Keys work in the view at once.
    if (auto* view = mp_Grid->getActivePanel())
        view->setFocus();
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
        warn(tr("Only local files can be opened."));
        return;
    }
    event->acceptProposedAction();
    openFiles(files);
}

} // namespace tov::viewer
