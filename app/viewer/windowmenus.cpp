#include "app/viewer/windowmenus.h"

#include "app/viewer/camerahistory.h"
#include "app/viewer/commandactions.h"
#include "app/viewer/dialogs.h"
#include "app/viewer/glyphs.h"
#include "app/viewer/modelreload.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/quickcapture.h"
#include "app/viewer/recentfiles.h"
#include "app/viewer/scenesession.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/standardviews.h"
#include "app/viewer/trajectorybar.h"
#include "app/viewer/viewbookmarks.h"
#include "app/viewer/viewtools.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"

#include <QAction>
#include <QActionGroup>
#include <QDockWidget>
#include <QInputDialog>
#include <QMainWindow>
#include <QMenu>

namespace tov::viewer {

using tov::gui::ScenePanel;

namespace {

/// Positions of the window's own menus among those of the modules.
enum MenuPosition
{
    FileMenu = 1000,
    EditMenu = 1500,
    ViewMenu = 2000,
    ToolsMenu = 3000,
    HelpMenu = 9000,
};

} // namespace

WindowMenus::WindowMenus(WindowParts parts) : QObject(parts.window), m_Parts(std::move(parts))
{
    createFileMenu();
    createEditMenu();
    createViewMenu();
    m_Parts.tools->addToTools(m_Parts.actions->addOwnMenu(tr("&Tools"), ToolsMenu));
    createHelpMenu();
}

std::function<void()> WindowMenus::onActiveView(std::function<void(ScenePanel*)> function) const
{
    return [grid = m_Parts.grid, function = std::move(function)] {
        if (auto* view = grid->getActivePanel())
            function(view);
    };
}

void WindowMenus::createFileMenu()
{
    mp_File = m_Parts.actions->addOwnMenu(tr("&File"), FileMenu);
    auto* open =
        mp_File->addAction(glyphIcon(Glyph::Open), tr("&Open ..."), this, m_Parts.chooseFiles, QKeySequence::Open);
    open->setObjectName(QStringLiteral("OpenAction"));
    mp_File->addMenu(m_Parts.recent);
    auto* trajectory = m_Parts.trajectory;
    mp_File->addAction(tr("Open &trajectory ..."), trajectory, &TrajectoryBar::chooseFile,
                       QKeySequence(QStringLiteral("Ctrl+T")));
    mp_AfterScene = mp_File->addSeparator();
    mp_File->addAction(tr("&Copy view to clipboard"), this, m_Parts.copyView,
                       QKeySequence(QStringLiteral("Ctrl+Shift+C")));
    mp_File->addAction(m_Parts.window->findChild<QAction*>(QStringLiteral("ExportPictureAction")));
    mp_File->addAction(m_Parts.window->findChild<QAction*>(QStringLiteral("ExportVideoAction")));
    mp_File->addAction(m_Parts.capture->getSnapshotAction());
    mp_File->addAction(m_Parts.capture->getRecordAction());
    mp_File->addSeparator();
    auto* preferences = mp_File->addAction(tr("&Preferences ..."), this, [this] {
        PreferencesDialog dialog(m_Parts.actions->getSettings(), m_Parts.window);
        dialog.exec();
    });
    preferences->setObjectName(QStringLiteral("PreferencesAction"));
    mp_File->addSeparator();
    mp_File->addAction(tr("&Quit"), m_Parts.window, &QWidget::close, QKeySequence::Quit);
}

void WindowMenus::addSceneActions(const SceneSession* session)
{
    QList<QAction*> actions = session->getDocument()->getActions();
    actions << session->getReload()->getAction();
    mp_File->insertActions(mp_AfterScene, actions);
}

void WindowMenus::createEditMenu()
{
    m_Parts.tree->addPartActions(m_Parts.actions->addOwnMenu(tr("&Edit"), EditMenu));
    m_Parts.grid->addAction(m_Parts.tree->getRemoveAction());
}

void WindowMenus::createViewMenu()
{
    mp_View = m_Parts.actions->addOwnMenu(tr("&View"), ViewMenu);
    addViewCounts();
    mp_View->addSeparator();
    addStandardViews();
    mp_View->addSeparator();
    addCameraActions();
    mp_View->addSeparator();
    m_Parts.tools->addToView(mp_View);
    addGuides();
    mp_View->addSeparator();
    addDocks();
    mp_View->addSeparator();
    auto* fullScreen = mp_View->addAction(tr("F&ull screen"), this, m_Parts.setFullScreen);
    fullScreen->setObjectName(QStringLiteral("FullScreenAction"));
    fullScreen->setCheckable(true);
    fullScreen->setShortcut(QKeySequence(Qt::Key_F11));
}

void WindowMenus::addViewCounts()
{
    auto* grid = m_Parts.grid;
    auto* group = new QActionGroup(this);
    for (int count : {1, 2, 4}) {
        auto* action = mp_View->addAction(count == 1 ? tr("One view") : tr("%1 views").arg(count), this,
                                          [this, count] { m_Parts.showViews(count); });
        action->setShortcut(QKeySequence(QStringLiteral("Ctrl+%1").arg(count)));
        action->setCheckable(true);
        action->setChecked(grid->getPanelCount() == count);
        action->setData(count);
        group->addAction(action);
        connect(grid, &PanelGrid::panelCountChanged, action,
                [action, count](int now) { action->setChecked(now == count); });
    }
    // If the user keeps the recording, the menu shows the actual number of views.
    connect(group, &QActionGroup::triggered, group, [grid, group] {
        for (QAction* action : group->actions())
            if (action->data().toInt() == grid->getPanelCount())
                action->setChecked(true);
    });
    auto* close = mp_View->addAction(tr("Close view"), this, onActiveView(m_Parts.closeView),
                                     QKeySequence(QStringLiteral("Ctrl+W")));
    close->setObjectName(QStringLiteral("CloseViewAction"));
    close->setEnabled(grid->getPanelCount() > 1);
    connect(grid, &PanelGrid::panelCountChanged, close, [close](int count) { close->setEnabled(count > 1); });
}

void WindowMenus::addStandardViews()
{
    mp_View->addAction(tr("&Fit to view"), this,
                       onActiveView([](ScenePanel* view) { view->fly([view] { view->fitToView(); }); }),
                       QKeySequence(Qt::Key_F));
    int key = Qt::Key_1;
    for (const auto& [name, view] : standardViews())
        mp_View->addAction(name, this, onActiveView([view = view](ScenePanel* panel) {
                               panel->fly([panel, view] { panel->setStandardView(view); });
                           }),
                           QKeySequence(key++));
}

void WindowMenus::addCameraActions()
{
    auto* history = m_Parts.cameras;
    auto* undo = mp_View->addAction(tr("&Undo camera movement"), this,
                                    onActiveView([history](ScenePanel* view) { history->undo(view); }),
                                    QKeySequence(QStringLiteral("Alt+Left")));
    undo->setObjectName(QStringLiteral("UndoCameraAction"));
    auto* redo = mp_View->addAction(tr("&Redo camera movement"), this,
                                    onActiveView([history](ScenePanel* view) { history->redo(view); }),
                                    QKeySequence(QStringLiteral("Alt+Right")));
    redo->setObjectName(QStringLiteral("RedoCameraAction"));
    auto* orthographic =
        mp_View->addAction(tr("&Orthographic"), this,
                           onActiveView([](ScenePanel* view) { view->setOrthographic(!view->isOrthographic()); }),
                           QKeySequence(Qt::Key_O));
    orthographic->setObjectName(QStringLiteral("OrthographicAction"));
    orthographic->setCheckable(true);
    connect(mp_View, &QMenu::aboutToShow, orthographic, [orthographic, grid = m_Parts.grid] {
        const auto* view = grid->getActivePanel();
        orthographic->setChecked(view && view->isOrthographic());
    });
    const auto askForAngle = [this](ScenePanel* view) {
        bool accepted = false;
        const double degrees = QInputDialog::getDouble(
            m_Parts.window, tr("Field of view"), tr("Vertical angle in degrees:"), view->getFieldOfView(),
            tov::scene::Camera::MinFieldOfView, tov::scene::Camera::MaxFieldOfView, 1, &accepted);
        if (accepted)
            view->setFieldOfView(degrees);
    };
    mp_View->addAction(tr("Field of &view ..."), this, onActiveView(askForAngle));
    mp_Bookmarks = new ViewBookmarks(
        tr("&Bookmarks"), [grid = m_Parts.grid] { return grid->getActivePanel(); }, m_Parts.window);
    mp_View->addMenu(mp_Bookmarks);
}

void WindowMenus::addGuides()
{
    auto* grid = m_Parts.grid;
    auto* menu = mp_View->addMenu(tr("&Guide for pictures and videos"));
    menu->setObjectName(QStringLiteral("GuideMenu"));
    auto* group = new QActionGroup(this);
    const QString key = QStringLiteral("window/guide");
    const QString stored = tovSettings().value(key).toString();
    for (const QString& shape : {QString(), QStringLiteral("16:9"), QStringLiteral("4:3"), QStringLiteral("3:2"),
                                 QStringLiteral("1:1"), QStringLiteral("9:16")}) {
        auto* action = menu->addAction(shape.isEmpty() ? tr("Off") : shape);
        action->setCheckable(true);
        group->addAction(action);
        const auto apply = [grid, shape] {
            const QStringList numbers = shape.split(QLatin1Char(':'));
            grid->setGuideAspect(numbers.size() == 2 ? numbers[0].toDouble() / numbers[1].toDouble() : 0);
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

void WindowMenus::addDocks()
{
    for (auto* dock : m_Parts.window->findChildren<QDockWidget*>())
        mp_View->addAction(dock->toggleViewAction());
    mp_View->addAction(m_Parts.trajectory->toggleViewAction());
}

void WindowMenus::createHelpMenu()
{
    mp_Help = m_Parts.actions->addOwnMenu(tr("&Help"), HelpMenu);
    auto* keys = mp_Help->addAction(
        tr("&Keys and mouse ..."), this,
        [this] {
            ShortcutsDialog dialog(m_Parts.window->findChildren<QAction*>(), m_Parts.window);
            dialog.exec();
        },
        QKeySequence::HelpContents);
    keys->setObjectName(QStringLiteral("ShortcutsAction"));
    auto* palette = mp_Help->addAction(tr("&Find a command ..."), this, m_Parts.showPalette,
                                       QKeySequence(QStringLiteral("Ctrl+K")));
    palette->setObjectName(QStringLiteral("PaletteAction"));
    mp_Help->addSeparator();
    auto* modules = mp_Help->addAction(tr("About &modules ..."), this, [this] {
        AboutModulesDialog dialog(m_Parts.loadFailures(), m_Parts.window);
        dialog.exec();
    });
    modules->setObjectName(QStringLiteral("AboutModulesAction"));
    auto* about = mp_Help->addAction(tr("&About tov ..."), this, [this] {
        AboutDialog dialog(m_Parts.window);
        dialog.exec();
    });
    about->setObjectName(QStringLiteral("AboutAction"));
}

} // namespace tov::viewer
