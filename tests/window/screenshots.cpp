// Takes pictures of the window, every dialog and the busy state, for the manual and for inspection:
//
//     window_screenshots FOLDER PREFIX [light|dark]        (needs a display; scripts/screenshots starts one)

#include "app/common/startup.h"
#include "app/viewer/commandactions.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/dialogs.h"
#include "app/viewer/glyphs.h"
#include "app/viewer/mainwindow.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/runsbar.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/splash.h"
#include "app/viewer/theme.h"
#include "app/viewer/trajectorybar.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <utility>

namespace {

using tov::gui::ScenePanel;
using tov::main::Overseer;
using tov::viewer::MainWindow;

QString folder, prefix;
bool failed = false;

void save(QWidget* widget, const char* name)
{
    QCoreApplication::processEvents();
    const QString file = QStringLiteral("%1/%2-%3.png").arg(folder, prefix, QString::fromLatin1(name));
    if (!widget->grab().save(file)) {
        std::fprintf(stderr, "%s cannot be written\n", file.toLocal8Bit().constData());
        failed = true;
    }
}

bool wait(const std::function<bool()>& condition, int limitMs = 30000)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > limitMs) {
            std::fputs("timed out\n", stderr);
            failed = true;
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        Overseer::getInstance()->processWorkersUntil(condition, 2);
    }
    return true;
}

/// Triggers an action and calls `inDialog` with the dialog that opens; the dialog is closed afterwards.
void dialogOf(QAction* action, const std::function<void(QWidget*)>& inDialog)
{
    if (!action || !action->isEnabled()) {
        std::fputs("an action is missing or disabled\n", stderr);
        failed = true;
        return;
    }
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (QWidget* dialog = QApplication::activeModalWidget()) {
            timer.stop();
            inDialog(dialog);
            dialog->close();
        }
    });
    timer.start(50);
    action->trigger();
}

/// A selected and measured part with its size, the scene cut open, and the editor of a camera path.
void saveTools(MainWindow& window)
{
    const auto trigger = [&](const char* name) { window.findChild<QAction*>(QLatin1String(name))->trigger(); };
    auto* view = window.getPanelGrid()->getActivePanel();
    auto* dock = window.findChild<QDockWidget*>(QStringLiteral("InspectDock"));
    dock->show();
    dock->raise();
    QCoreApplication::processEvents();
    view->fitToView();
    const QPoint middle(view->width() / 2, view->height() / 2);
    QTest::mouseClick(view, Qt::LeftButton, {}, middle);
    trigger("BoundingBoxAction");
    trigger("MeasureAction");
    // The first and the last place of the middle row where the model is.
    int left = view->width(), right = 0;
    for (int x = 0; x < view->width(); x += 2)
        if (view->pickAt(QPointF(x, middle.y()))) {
            left = std::min(left, x);
            right = x;
        }
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(left, middle.y()));
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(right, middle.y()));
    save(&window, "inspect");
    trigger("MeasureAction");
    trigger("BoundingBoxAction");
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(3, 3));
    auto* axis = window.findChild<QComboBox*>(QStringLiteral("ClipAxis"));
    axis->setCurrentIndex(1);
    save(&window, "clip");
    axis->setCurrentIndex(0);
    dock->hide();
    for (int i = 0; i < 3; ++i) {
        trigger("AddPathViewAction");
        view->orbit(40, 5);
    }
    view->setFollowsTrajectory(false);
    view->fitToView();
    view->zoom(0.5);
    save(&window, "path");
    window.findChild<QDockWidget*>(QStringLiteral("PathDock"))->hide();
    view->setFollowsTrajectory(true);
    view->setStandardView(ScenePanel::StandardView::Isometric);
}

/// The action at a place of a menu, separators not counted.
QAction* actionAt(MainWindow& window, int menu, const char* objectName)
{
    for (QAction* action : window.menuBar()->actions()[menu]->menu()->actions())
        if (action->objectName() == QLatin1String(objectName))
            return action;
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fputs("usage: window_screenshots FOLDER PREFIX [light|dark]\n", stderr);
        return 2;
    }
    folder = QString::fromLocal8Bit(argv[1]);
    prefix = QString::fromLocal8Bit(argv[2]);
    tov::app::prepareProcess();
    QTemporaryDir home;
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    tov::app::StartOptions options;
    options.window = true;
    options.logLevel = 2000;
    options.settingsFile = home.filePath(QStringLiteral("settings.ini"));
    QStringList messages;
    options.progress = [&messages](const QString& message) { messages << message; };
    int count = 1;
    tov::app::Startup startup(count, argv, options);
    QApplication::setWindowIcon(tov::viewer::applicationIcon());
    tov::viewer::applyTheme(argc > 3 ? QString::fromLatin1(argv[3]) : QStringLiteral("light"));
    tovSettings().setValue(QStringLiteral("settings/grabvideotempfilesize"), QStringLiteral("1"));
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    {
        tov::viewer::Splash splash;
        splash.show();
        for (const QString& message : messages)
            splash.showStartMessage(message);
        save(&splash, "splash");
    }
    MainWindow window(&startup.getLoader());
    window.resize(1180, 780);
    window.show();
    tov::scene::Viewer::getInstance()->announceActivePanel();
    wait([&] { return QTest::qWaitForWindowExposed(&window, 10); });
    save(&window, "empty");
    const QString samples = QStringLiteral(TOV_SOURCE_DIR "/samples/");
    window.openFiles({samples + QStringLiteral("crane.obj"), samples + QStringLiteral("crane.json")});
    wait([&] { return !window.isOpening() && processor->getRuns().empty(); });
    auto* grid = window.getPanelGrid();
    grid->getActivePanel()->setStandardView(ScenePanel::StandardView::Isometric);
    save(&window, "window");
    auto* look = window.findChild<QDockWidget*>(QStringLiteral("LookDock"));
    look->show();
    look->raise();
    save(&window, "look");
    look->hide();
    saveTools(window);

    grid->setPanelCount(4);
    const ScenePanel::StandardView views[] = {ScenePanel::StandardView::Isometric, ScenePanel::StandardView::Front,
                                              ScenePanel::StandardView::Top, ScenePanel::StandardView::Left};
    for (int i = 0; i < 4; ++i)
        grid->getPanels()[i]->setStandardView(views[i]);
    grid->setActivePanel(grid->getPanels()[1]);
    save(&window, "panels");
    grid->setActivePanel(grid->getPanels()[0]);
    grid->setPanelCount(1);
    wait([&] { return 2 * grid->getPanels()[0]->height() > grid->height(); });
    grid->setGuideAspect(1);
    save(&window, "guide");
    grid->setGuideAspect(0);

    for (const auto& [action, name] :
         {std::pair("ExportPictureAction", "export-picture"), std::pair("ExportVideoAction", "export-video")})
        dialogOf(window.findChild<QAction*>(QString::fromLatin1(action)), [name = name](QWidget* dialog) {
            auto* file = dialog->findChild<QLineEdit*>(QStringLiteral("FileName"));
            if (file)
                file->setText(QFileInfo(file->text()).fileName());
            // The preview is drawn by a timer.
            QElapsedTimer clock;
            clock.start();
            wait([&] { return clock.elapsed() > 1200; });
            save(dialog, name);
        });

    auto* actions = window.getActions();
    const QString picture = home.filePath(QStringLiteral("crane.png"));
    dialogOf(actions->getAction(QStringLiteral("grabimage")), [&](QWidget* dialog) {
        save(dialog, "image-empty");
        dialog->findChild<QLineEdit*>(QStringLiteral("FileName"))->setText(QStringLiteral("crane.nothing"));
        save(dialog, "image-wrong");
        dialog->findChild<QLineEdit*>(QStringLiteral("FileName"))->setText(QStringLiteral("pictures/crane.png"));
        save(dialog, "image");
    });
    dialogOf(actions->getAction(QStringLiteral("grabvideo")), [&](QWidget* dialog) { save(dialog, "video"); });
    tov::trajectory::TrajectoryHandler::getInstance()->selectMode(tov::trajectory::TrajectoryHandler::ModeNone);
    dialogOf(actions->getAction(QStringLiteral("grabvideo")), [&](QWidget* dialog) { save(dialog, "video-advice"); });
    window.getTrajectoryBar()->openFile(samples + QStringLiteral("crane.json"));
    dialogOf(actions->getAction(QStringLiteral("setvideosettings")),
             [&](QWidget* dialog) { save(dialog, "settings"); });
    for (const char* name : {"PreferencesAction", "AboutModulesAction", "AboutAction", "ShortcutsAction"})
        for (int menu = 0; menu < window.menuBar()->actions().size(); ++menu)
            if (QAction* action = actionAt(window, menu, name))
                dialogOf(action, [&](QWidget* dialog) { save(dialog, name); });
    for (int menu = 0; menu < window.menuBar()->actions().size(); ++menu) {
        QMenu* each = window.menuBar()->actions()[menu]->menu();
        emit each->aboutToShow();
        each->ensurePolished();
        each->resize(each->sizeHint());
        save(each, ("menu" + QByteArray::number(menu)).constData());
    }

    // Busy: a recording and a picture at once, then their notices.
    auto* console = window.getConsole();
    const QString video = home.filePath(QStringLiteral("crane.mp4"));
    console->submit(QStringLiteral("grabvideo filename=\"%1\" width=640 height=480 sync=0").arg(video));
    console->submit(QStringLiteral("grabimage filename=\"%1\" width=9000").arg(picture));
    wait([&] {
        const auto bars = window.getRuns()->findChildren<QWidget*>(QStringLiteral("StopButton"));
        return bars.size() == 2 && bars[0]->isVisible() && bars[1]->isVisible() && QFile::exists(video);
    });
    QElapsedTimer clock;
    clock.start();
    wait([&] { return clock.elapsed() > 1200; });
    save(&window, "busy");
    processor->stopAll();
    wait([&] { return processor->getRuns().empty(); }, 120000);
    console->submit(
        QStringLiteral("grabimage filename=\"%1\" width=1").arg(home.filePath(QStringLiteral("small.png"))));
    wait([&] { return processor->getRuns().empty() && window.getNotices()->getTexts().size() == 3; });
    save(&window, "notices");
    window.hide();
    return failed ? 1 : 0;
}
