#include "app/viewer/mainwindow.h"

#include "app/common/filesnapshot.h"
#include "app/common/pictureprobe.h"
#include "app/common/runoutcome.h"
#include "app/common/spacewatch.h"
#include "app/common/videoprobe.h"
#include "app/viewer/commandactions.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/dialogs.h"
#include "app/viewer/editqueue.h"
#include "app/viewer/glyphs.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/parameterdialog.h"
#include "app/viewer/recentfiles.h"
#include "app/viewer/runsbar.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/standardviews.h"
#include "app/viewer/trajectorybar.h"
#include "app/viewer/viewpicture.h"
#include "kernel/gui/parameterpanelfactory.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/scene.h"
#include "scene/import/sceneimport.h"
#include "scene/scenelocker.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QAbstractButton>
#include <QActionGroup>
#include <QPointer>
#include <QPushButton>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDateTime>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QImageReader>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QStatusBar>
#include <QThread>
#include <QTimer>

#include <cstdlib>
#include <mutex>

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

constexpr int LayoutVersion = 1;
/// How long quitting waits for what runs before it asks whether to leave without it.
constexpr int QuitPatienceMs = 15000;

/// Parameters that mean something to the window, whatever command has them.
const QString FileNameParameter = QStringLiteral("filename");
const QString SyncParameter = QStringLiteral("sync");

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
    return suffix == QLatin1String("csv") || suffix == QLatin1String("tum") || suffix == QLatin1String("txt") ||
           suffix == QLatin1String("json");
}

} // namespace

/// The newest record of an error, for the notice after a run that wrote nothing.
struct MainWindow::LastError : tov::log::LogSink
{
    void write(const tov::log::LogRecord& record) override
    {
        if (record.level > tov::log::LevelError)
            return;
        std::lock_guard<std::mutex> guard(mutex);
        message = record.message;
        timeMs = record.timeMs;
    }
    /// Empty when there has been none since `sinceMs` (milliseconds since the epoch).
    QString get(qint64 sinceMs) const
    {
        std::lock_guard<std::mutex> guard(mutex);
        return timeMs >= sinceMs ? message : QString();
    }

private:
    mutable std::mutex mutex;
    QString message;   ///< guarded by mutex
    qint64 timeMs = 0; ///< guarded by mutex
};

MainWindow::MainWindow(const tov::main::ModuleLoader* loader, QWidget* parent) : QMainWindow(parent), mp_Loader(loader)
{
    setObjectName(QStringLiteral("MainWindow"));
    setWindowTitle(QStringLiteral("tov"));
    setAcceptDrops(true);
    setDockNestingEnabled(true);

    auto* central = new QWidget(this);
    auto* layout = new QGridLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    mp_Edits = new EditQueue(this);
    connect(mp_Edits, &EditQueue::postponed, this, [this] {
        statusBar()->showMessage(tr("The scene is kept as it is until the picture is done; the change follows then."),
                                 10000);
    });
    mp_LastError = std::make_shared<LastError>();
    tov::log::Logger::addSink(mp_LastError.get());
    mp_Notices = new NoticeBar(central);
    mp_Grid = new PanelGrid(central);
    mp_Runs = new RunsBar(central);
    // Notices and runs lie over the panels: what comes and goes must not change the panels' shape, which is the shape
    // of pictures.
    layout->addWidget(mp_Grid, 0, 0);
    layout->addWidget(mp_Notices, 0, 0, Qt::AlignTop);
    layout->addWidget(mp_Runs, 0, 0, Qt::AlignBottom);
    mp_Runs->setAutoFillBackground(true);
    mp_Notices->raise();
    mp_Runs->raise();
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
    mp_Lost.reset();
    tov::log::Logger::removeSink(mp_LastError.get());
}

void MainWindow::createDocks()
{
    auto* sceneDock = new QDockWidget(tr("Scene"), this);
    sceneDock->setObjectName(QStringLiteral("SceneDock"));
    mp_Tree = new SceneTree(mp_Edits, sceneDock);
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
    auto* open =
        file->addAction(glyphIcon(Glyph::Open), tr("&Open ..."), this, &MainWindow::chooseFiles, QKeySequence::Open);
    open->setObjectName(QStringLiteral("OpenAction"));
    mp_RecentMenu = new RecentFiles(tr("Open &recent"), this);
    file->addMenu(mp_RecentMenu);
    connect(mp_RecentMenu, &RecentFiles::chosen, this, [this](const QString& name) { openFiles({name}); });
    file->addAction(tr("Open &trajectory ..."), mp_Trajectory, &TrajectoryBar::chooseFile,
                    QKeySequence(QStringLiteral("Ctrl+T")));
    file->addSeparator();
    file->addAction(tr("&Copy view to clipboard"), this, &MainWindow::copyViewToClipboard,
                    QKeySequence(QStringLiteral("Ctrl+Shift+C")));
    file->addSeparator();
    file->addAction(tr("&Preferences ..."), this,
                    [this] {
                        PreferencesDialog dialog(mp_Actions->getSettings(), this);
                        dialog.exec();
                    })
        ->setObjectName(QStringLiteral("PreferencesAction"));
    file->addSeparator();
    file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);

    mp_ViewMenu = mp_Actions->addOwnMenu(tr("&View"), ViewMenu);
    auto* panels = new QActionGroup(this);
    for (int count : {1, 2, 4}) {
        auto* action = mp_ViewMenu->addAction(
            count == 1 ? tr("One panel") : tr("%1 panels").arg(count), this,
            [this, count] { mp_Grid->setPanelCount(count); }, QKeySequence(QStringLiteral("Ctrl+%1").arg(count)));
        action->setCheckable(true);
        panels->addAction(action);
        connect(mp_Grid, &PanelGrid::panelCountChanged, action,
                [action, count](int now) { action->setChecked(now == count); });
    }
    mp_ViewMenu->addAction(
        tr("Close active panel"), this,
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
    int key = Qt::Key_1;
    for (const auto& [name, view] : standardViews())
        mp_ViewMenu->addAction(name, this, onActive([view = view](ScenePanel* panel) { panel->setStandardView(view); }),
                               QKeySequence(key++));
    mp_ViewMenu->addSeparator();
    createGuideMenu();
    mp_ViewMenu->addSeparator();
    for (auto* dock : findChildren<QDockWidget*>())
        mp_ViewMenu->addAction(dock->toggleViewAction());
    mp_ViewMenu->addAction(mp_Trajectory->toggleViewAction());
    mp_ViewMenu->addSeparator();
    auto* fullScreen =
        mp_ViewMenu->addAction(tr("F&ull screen"), this, [this](bool full) { full ? showFullScreen() : showNormal(); });
    fullScreen->setCheckable(true);
    fullScreen->setShortcut(QKeySequence(Qt::Key_F11));

    auto* help = mp_Actions->addOwnMenu(tr("&Help"), HelpMenu);
    help->addAction(
            tr("&Keys and mouse ..."), this,
            [this] {
                ShortcutsDialog dialog(findChildren<QAction*>(), this);
                dialog.exec();
            },
            QKeySequence::HelpContents)
        ->setObjectName(QStringLiteral("ShortcutsAction"));
    help->addSeparator();
    help->addAction(tr("About &modules ..."), this,
                    [this] {
                        AboutModulesDialog dialog(
                            mp_Loader ? mp_Loader->getFailures() : std::vector<tov::main::LoadFailure>(), this);
                        dialog.exec();
                    })
        ->setObjectName(QStringLiteral("AboutModulesAction"));
    help->addAction(tr("&About tov ..."), this,
                    [this] {
                        AboutDialog dialog(this);
                        dialog.exec();
                    })
        ->setObjectName(QStringLiteral("AboutAction"));
}

void MainWindow::createGuideMenu()
{
    auto* menu = mp_ViewMenu->addMenu(tr("&Guide for pictures and videos"));
    menu->setObjectName(QStringLiteral("GuideMenu"));
    auto* group = new QActionGroup(this);
    const QString key = QStringLiteral("window/guide");
    const QString stored = tovSettings().value(key).toString();
    for (const QString& shape : {QString(), QStringLiteral("16:9"), QStringLiteral("4:3"), QStringLiteral("3:2"),
                                 QStringLiteral("1:1"), QStringLiteral("9:16")}) {
        auto* action = menu->addAction(shape.isEmpty() ? tr("Off") : shape);
        action->setCheckable(true);
        group->addAction(action);
        const auto apply = [this, shape] {
            const QStringList numbers = shape.split(QLatin1Char(':'));
            mp_Grid->setGuideAspect(numbers.size() == 2 ? numbers[0].toDouble() / numbers[1].toDouble() : 0);
        };
        connect(action, &QAction::triggered, this, [apply, key, shape] {
            apply();
            tovSettings().setValue(key, shape);
        });
        if (shape == stored) {
            action->setChecked(true);
            apply();
        }
    }
}

void MainWindow::chooseFiles()
{
    QStringList patterns;
    for (const QString& suffix : SceneImport::getSuffixes())
        patterns << QStringLiteral("*.") + suffix;
    const QString key = QStringLiteral("window/lastmodeldirectory");
    const QStringList names = QFileDialog::getOpenFileNames(
        this, tr("Open"), tovSettings().value(key).toString(),
        tr("Models (%1);;Trajectories (*.csv *.tum *.txt *.json);;All files (*)").arg(patterns.join(QLatin1Char(' '))));
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
                QMetaObject::invokeMethod(
                    this, [=, this] { mp_Runs->updateTask(task, text, percent); }, Qt::QueuedConnection);
            return !*cancelled;
        });
    });
    const auto ended = [=, this] {
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
                mp_RecentMenu->add(model, models.size() == 1 ? mp_Grid->getActivePanel() : nullptr);
            setWindowTitle(QFileInfo(models.last()).fileName() + QStringLiteral(" - tov"));
            statusBar()->showMessage(tr("%1 opened.").arg(QFileInfo(models.last()).fileName()), 10000);
        }
        if (m_Closing)
            close();
    };
    connect(mp_OpenThread, &QThread::finished, this, ended);
    mp_OpenThread->start();
    if (!mp_OpenThread->isRunning() && !mp_OpenThread->isFinished()) {
        *error = tr("%1: there is no thread to read it with").arg(models.first());
        ended();
    }
}

void MainWindow::cancelOpening()
{
    if (mp_OpenCancelled)
        *mp_OpenCancelled = true;
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
    dialog.setAdvice([](const ParameterDialog& asked) {
        const auto* sync = asked.getPanel(SyncParameter);
        return sync && asked.getText(SyncParameter) != QLatin1String("0") &&
                       TrajectoryHandler::getInstance()->getCount() == 0
                   ? tr("No trajectory is open, so a synchronised recording would hold no frames. Open one first "
                        "(File > Open trajectory), or switch \"sync\" off.")
                   : QString();
    });
    for (;;) {
        if (dialog.exec() != QDialog::Accepted)
            return;
        if (mayWrite(dialog))
            break;
    }
    QString error;
    if (!Overseer::getInstance()->getCommandProcessor()->start(prototype->getDescriptor()->getName(),
                                                               dialog.getArguments(), &error))
        mp_Notices->showMessage(NoticeBar::Kind::Warning, error);
}

bool MainWindow::mayWrite(const ParameterDialog& dialog)
{
    const QString name = dialog.getText(FileNameParameter);
    if (name.isEmpty())
        return true;
    QString problem;
    if (!tov::app::checkOutputFolder(name, &problem) ||
        (dialog.getPanel(SyncParameter) && !tov::app::SpaceWatch::hasRoom(name, &problem))) {
        QMessageBox::warning(this, dialog.windowTitle(), problem);
        return false;
    }
    if (!QFileInfo::exists(name) || dialog.getPanel(FileNameParameter)->isReplaceAgreed())
        return true;
    QMessageBox question(QMessageBox::Warning, dialog.windowTitle(),
                         tr("%1 exists already. Replace it?").arg(QFileInfo(name).fileName()), QMessageBox::Cancel,
                         this);
    question.setObjectName(QStringLiteral("ReplaceQuestion"));
    auto* replace = question.addButton(tr("Replace"), QMessageBox::DestructiveRole);
    question.setDefaultButton(QMessageBox::Cancel);
    question.exec();
    return question.clickedButton() == static_cast<QAbstractButton*>(replace);
}

void MainWindow::watchRuns()
{
    auto* space = new tov::app::SpaceWatch(this);
    connect(space, &tov::app::SpaceWatch::lowSpace, this,
            [this](const QString& text) { mp_Notices->showMessage(NoticeBar::Kind::Warning, text); });
    connect(space, &tov::app::SpaceWatch::measured, this, [this, space] {
        for (const auto& run : Overseer::getInstance()->getCommandProcessor()->getRuns()) {
            const QString hint = space->describe(run->getId());
            if (!hint.isEmpty())
                mp_Runs->setHint(run->getId(), hint);
        }
    });
    connect(mp_Runs, &RunsBar::stopIgnored, this, &MainWindow::warnOfStuckRun);
    mp_Lost = std::make_unique<tov::app::RunWatcher>(tov::app::FailureLog::Console::Ignore);
    connect(mp_Lost.get(), &tov::app::RunWatcher::recordingLost, this,
            [this](const CommandRunPointer&, const QString& why) {
                mp_Notices->showMessage(NoticeBar::Kind::Warning,
                                        tr("A recording takes no more frames: %1. What it has is kept; stop it if it "
                                           "does not end by itself.")
                                            .arg(why));
            });
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    // The command may have made its file by the time that the event loop tells of it.
    connect(
        processor, &CommandProcessor::runBegins, this,
        [this](const CommandRunPointer& run) {
            if (QThread::currentThread() == thread())
                m_Started[run->getId()].before = tov::app::FileSnapshot(run->getArgument(FileNameParameter));
        },
        Qt::DirectConnection);
    connect(processor, &CommandProcessor::runStarted, this, [this](const CommandRunPointer& run) {
        const bool marked = m_Started.count(run->getId()) != 0;
        Started& started = m_Started[run->getId()];
        started.clock.start();
        started.fileName = run->getArgument(FileNameParameter);
        if (!marked)
            started.before = tov::app::FileSnapshot(started.fileName);
        // A recording that is stepped along a trajectory ends at once, with nothing, when none is open: by design of
        // the command. The person is told here, in words, at the moment it happens.
        const QString sync = run->getArgument(SyncParameter);
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
        const bool touched = started.before.hasChanged();
        const bool picture = run->getCommandName() == QLatin1String("grabimage");
        const bool written = touched && info.size() > 0 && (!picture || tov::app::isWholePicture(started.fileName));
        if (written) {
            QString text = tr("%1: %2").arg(info.fileName(), QLocale().formattedDataSize(info.size()));
            const QSize size = QImageReader(started.fileName).size();
            if (size.isValid())
                text += tr(", %1 x %2 pixels").arg(size.width()).arg(size.height());
            text += tr(", done in %1").arg(durationText((started.clock.elapsed() + 500) / 1000));
            const QPointer<QLabel> label = mp_Notices->showFile(text, started.fileName);
            // A picture has told its size already; a video is asked.
            if (!size.isValid()) {
                auto* reading = new tov::app::VideoReading(started.fileName, this);
                connect(reading, &tov::app::VideoReading::done, this,
                        [reading, label, text](const tov::app::VideoProbe& probe) {
                            reading->deleteLater();
                            if (!label || !probe.asked)
                                return;
                            label->setText(probe.readable ? text + tr(", %1 frames, %2 s long")
                                                                       .arg(probe.frames)
                                                                       .arg(QLocale().toString(probe.seconds, 'f', 1))
                                                          : text + tr(", but it cannot be read back"));
                        });
            }
        } else {
            // An empty file of this run's making, or half a picture, only looks like a result.
            if (touched)
                QFile::remove(started.fileName);
            const QString why = mp_LastError->get(run->getStartTime());
            mp_Notices->showMessage(NoticeBar::Kind::Warning,
                                    why.isEmpty()
                                        ? tr("Nothing was written to %1. The console tells more.").arg(info.fileName())
                                        : tr("Nothing was written to %1: %2").arg(info.fileName(), why));
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
    // As many pixels as the screen shows.
    const QSize size = QSize(panel->width(), panel->height()) * panel->devicePixelRatioF();
    const bool taken = ViewPicture::take(panel, size, this, [this](const QImage& image) {
        QApplication::clipboard()->setImage(image);
        statusBar()->showMessage(tr("View copied, %1 x %2 pixels.").arg(image.width()).arg(image.height()), 10000);
        emit viewCopied();
    });
    if (!taken)
        mp_Notices->showMessage(NoticeBar::Kind::Warning,
                                tr("Pictures are not available here; Help > About modules tells why."));
}

void MainWindow::warnOfStuckRun(const QString& text)
{
    mp_Notices->showMessage(
        NoticeBar::Kind::Warning,
        tr("\"%1\" was asked to stop and has not ended yet. A picture is finished first; an encoder "
           "that hangs never ends. You can go on working.")
            .arg(text));
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
    cancelOpening();
    statusBar()->showMessage(tr("Finishing what is running ..."));
    QTimer::singleShot(QuitPatienceMs, this, &MainWindow::offerToLeave);
    if (processor->getRuns().empty() && !mp_OpenThread)
        return true;
    return false;
}

void MainWindow::offerToLeave()
{
    if (!m_Closing || isHidden())
        return;
    auto* question =
        new QMessageBox(QMessageBox::Warning, tr("Quit"),
                        tr("Something does not end. Wait for it, or quit without it? What it has not written "
                           "yet is lost."),
                        QMessageBox::NoButton, this);
    question->setObjectName(QStringLiteral("LeaveQuestion"));
    question->setAttribute(Qt::WA_DeleteOnClose);
    auto* wait = question->addButton(tr("Wait"), QMessageBox::RejectRole);
    auto* leave = question->addButton(tr("Quit without it"), QMessageBox::DestructiveRole);
    question->setDefaultButton(wait);
    connect(question, &QMessageBox::finished, this, [this, question, leave] {
        if (question->clickedButton() != static_cast<QAbstractButton*>(leave)) {
            QTimer::singleShot(QuitPatienceMs, this, &MainWindow::offerToLeave);
            return;
        }
        saveLayout();
        tovSettings().sync();
        // A thread that never returns cannot be waited for, and what it uses cannot be taken down under it.
        std::_Exit(1);
    });
    question->open();
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
