#include "app/viewer/viewtools.h"

#include "app/viewer/clipcontrols.h"
#include "app/viewer/editqueue.h"
#include "app/viewer/flights.h"
#include "app/viewer/inspectpanel.h"
#include "app/viewer/marksoverlay.h"
#include "app/viewer/measurecontrols.h"
#include "app/viewer/panelframe.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/patheditor.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/trajectorybar.h"
#include "app/viewer/viewlinks.h"
#include "app/viewer/viewmarks.h"
#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/main/settings.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QAction>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenu>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::main::EventManager;
using tov::scene::Viewer;

namespace {

const QString GizmoKey = QStringLiteral("window/axes");

} // namespace

ViewTools::ViewTools(const Parts& parts)
    : QObject(parts.window), m_Parts(parts), mp_Marks(new ViewMarks(this)), mp_Links(new ViewLinks(this))
{
    createActions();
    createPathEditor();
    watchScene();
    m_Parts.inspect->addSection(tr("Dimensions"), new MeasureControls(mp_Marks, mp_Measure, mp_Box, m_Parts.inspect));
    mp_Clip = new ClipControls(m_Parts.inspect);
    m_Parts.inspect->addSection(tr("Clip plane"), mp_Clip);
    m_Parts.grid->setGizmosShown(tovSettings().value(GizmoKey, true).toBool());
    connect(m_Parts.grid, &PanelGrid::panelAdded, this, &ViewTools::watch);
}

ViewTools::~ViewTools()
{
    EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<const void*>(this));
}

void ViewTools::createActions()
{
    mp_Measure = new QAction(tr("&Measure"), this);
    mp_Measure->setObjectName(QStringLiteral("MeasureAction"));
    mp_Measure->setCheckable(true);
    mp_Measure->setShortcut(QKeySequence(Qt::Key_M));
    mp_Measure->setToolTip(tr("Measure the distance of two points (M)"));
    connect(mp_Measure, &QAction::toggled, this, &ViewTools::setMeasuring);
    mp_EndMeasuring = new QAction(tr("End measuring"), this);
    mp_EndMeasuring->setShortcut(QKeySequence(Qt::Key_Escape));
    mp_EndMeasuring->setEnabled(false);
    connect(mp_EndMeasuring, &QAction::triggered, mp_Measure, [this] { mp_Measure->setChecked(false); });
    m_Parts.window->addAction(mp_EndMeasuring);
    mp_Box = new QAction(tr("Bounding &box"), this);
    mp_Box->setObjectName(QStringLiteral("BoundingBoxAction"));
    mp_Box->setCheckable(true);
    mp_Box->setShortcut(QKeySequence(Qt::Key_B));
    mp_Box->setToolTip(tr("Show the size of the selection, or of the scene (B)"));
    connect(mp_Box, &QAction::toggled, mp_Marks, &ViewMarks::setBoxShown);
    mp_FitSelection = new QAction(tr("Fit to &selection"), this);
    mp_FitSelection->setObjectName(QStringLiteral("FitSelectionAction"));
    mp_FitSelection->setShortcut(QKeySequence(QStringLiteral("Shift+F")));
    connect(mp_FitSelection, &QAction::triggered, this, [this] {
        if (auto* view = m_Parts.grid->getActivePanel())
            view->fly([view] { view->fitToSelection(); });
    });
}

void ViewTools::createPathEditor()
{
    mp_Path = new PathEditor([grid = m_Parts.grid] { return grid->getActivePanel(); }, m_Parts.window);
    connect(mp_Path, &PathEditor::failed, this, &ViewTools::failed);
    connect(mp_Path, &PathEditor::playRequested, m_Parts.trajectory, &TrajectoryBar::play);
    auto* dock = new QDockWidget(tr("Camera path"), m_Parts.window);
    dock->setObjectName(QStringLiteral("PathDock"));
    dock->setWidget(mp_Path);
    m_Parts.window->addDockWidget(Qt::RightDockWidgetArea, dock);
    if (auto* inspect = m_Parts.window->findChild<QDockWidget*>(QStringLiteral("InspectDock")))
        m_Parts.window->tabifyDockWidget(inspect, dock);
    dock->hide();
    mp_AddPathView = new QAction(tr("Add view to the camera &path"), this);
    mp_AddPathView->setObjectName(QStringLiteral("AddPathViewAction"));
    mp_AddPathView->setShortcut(QKeySequence(Qt::Key_K));
    connect(mp_AddPathView, &QAction::triggered, this, [this, dock] {
        dock->show();
        dock->raise();
        mp_Path->addView();
    });
}

QAction* ViewTools::addSwitch(QMenu* menu, const QString& text, const char* name, bool isOn,
                              const std::function<void(bool)>& change)
{
    auto* action = menu->addAction(text);
    action->setObjectName(QLatin1String(name));
    action->setCheckable(true);
    action->setChecked(isOn);
    connect(action, &QAction::toggled, this, change);
    return action;
}

void ViewTools::addToView(QMenu* menu)
{
    auto* link = addSwitch(menu, tr("&Link cameras"), "LinkCamerasAction", false,
                           [this](bool linked) { mp_Links->setLinked(linked); });
    link->setShortcut(QKeySequence(QStringLiteral("Ctrl+L")));
    addSwitch(menu, tr("Show a&xes"), "ShowAxesAction", m_Parts.grid->areGizmosShown(), [this](bool shown) {
        tovSettings().setValue(GizmoKey, shown);
        m_Parts.grid->setGizmosShown(shown);
    });
}

void ViewTools::addToTools(QMenu* menu)
{
    for (QAction* action : {mp_Measure, mp_Box, mp_FitSelection, mp_AddPathView})
        menu->addAction(action);
    menu->addSeparator();
    addSwitch(menu, tr("A&nimate camera movements"), "FlightsAction", areFlightsEnabled(), [this](bool enabled) {
        setFlightsEnabled(enabled);
        for (auto* view : m_Parts.grid->getPanels())
            view->setFlightDuration(flightDuration());
    });
}

void ViewTools::watchScene()
{
    connect(m_Parts.edits, &EditQueue::edited, mp_Marks, &ViewMarks::refreshBox);
    connect(tov::trajectory::TrajectoryHandler::getInstance(), &tov::trajectory::TrajectoryHandler::positionChanged,
            mp_Marks, &ViewMarks::refreshBox);
    auto* events = tov::events::EventHandler::getInstance();
    for (const char* name : {"SCENE_ELEMENT_ADDED", "SCENE_ELEMENT_REMOVED"})
        EventManager::getInstance()->registerEventFunction(
            events->addEvent("Scene", name),
            [this](const tov::main::Event*) {
                // Events come on the thread that changed the scene.
                QMetaObject::invokeMethod(
                    this,
                    [this] {
                        mp_Marks->refreshBox();
                        mp_Clip->refresh();
                    },
                    Qt::QueuedConnection);
            },
            static_cast<const void*>(this));
}

void ViewTools::watch(ScenePanel* view)
{
    new MarksOverlay(view, mp_Marks);
    mp_Links->watch(view);
    view->setCursor(mp_Measure->isChecked() ? Qt::CrossCursor : Qt::ArrowCursor);
    connect(view, &ScenePanel::clicked, this, [this, view](const QPointF& position, Qt::KeyboardModifiers modifiers) {
        click(view, position, modifiers);
    });
    connect(view, &ScenePanel::doubleClicked, this, [this, view](const QPointF& position) {
        if (mp_Measure->isChecked())
            click(view, position, Qt::NoModifier);
        else
            view->centerAt(position);
    });
    m_Parts.grid->getFrame(view)->setPartMenu(
        [this, view](QMenu* menu, const QPointF& position) { fillPartMenu(view, menu, position); });
}

void ViewTools::click(ScenePanel* view, const QPointF& position, Qt::KeyboardModifiers modifiers)
{
    const auto picked = view->pickAt(position);
    if (!mp_Measure->isChecked()) {
        const bool adds = modifiers & Qt::ControlModifier;
        m_Parts.tree->selectElement(picked ? picked->element : nullptr, adds);
    } else if (picked) {
        mp_Marks->addPoint(picked->point);
    }
}

void ViewTools::fillPartMenu(ScenePanel* view, QMenu* menu, const QPointF& position)
{
    const auto picked = view->pickAt(position);
    if (picked && !tov::scene::isInSelection(picked->element))
        m_Parts.tree->selectElement(picked->element, false);
    m_Parts.tree->addPartActions(menu);
    menu->addSeparator();
    auto* fit = menu->addAction(tr("Fit to selection"), mp_FitSelection, &QAction::trigger);
    fit->setEnabled(!m_Parts.tree->selectedItems().isEmpty());
    auto* center =
        menu->addAction(tr("Make this the centre of rotation"), view, [view, position] { view->centerAt(position); });
    center->setEnabled(picked.has_value());
}

void ViewTools::setMeasuring(bool measuring)
{
    mp_EndMeasuring->setEnabled(measuring);
    for (auto* view : m_Parts.grid->getPanels())
        view->setCursor(measuring ? Qt::CrossCursor : Qt::ArrowCursor);
    if (!measuring)
        mp_Marks->clearPoints();
}

} // namespace tov::viewer
