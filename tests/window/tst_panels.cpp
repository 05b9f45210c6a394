// View panels, scene tree, trajectory bar, layout.

#include "app/viewer/camerahistory.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/panelframe.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/trajectorybar.h"
#include "kernel/main/settings.h"
#include "scene/import/sceneimport.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/window/windowfixture.h"
#include "trajectory/trajectoryhandler.h"

#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QSlider>
#include <QStatusBar>
#include <QToolBar>
#include <QTouchDevice>
#include <QWheelEvent>

using namespace tov::test;
using tov::gui::ScenePanel;
using tov::trajectory::TrajectoryHandler;

namespace {

typedef tov::math::Matrix<double, 4u, 4u> Matrix4;

bool same(const Matrix4& a, const Matrix4& b)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            if (std::abs(a(row, column) - b(row, column)) > 1e-9 * (1 + std::abs(a(row, column))))
                return false;
    return true;
}

class WindowPanels : public WindowTest
{
protected:
    ScenePanel* panel() { return window().getPanelGrid()->getActivePanel(); }
    void wheel(int steps, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        const QPointF middle(panel()->width() / 2.0, panel()->height() / 2.0);
        QWheelEvent event(middle, panel()->mapToGlobal(middle.toPoint()), QPoint(), QPoint(0, 120 * steps),
                          Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(panel(), &event);
    }
    double distance() { return -panel()->getScaledTransformMatrix()(2, 3); }
    int panelsWithMenuShown()
    {
        int count = 0;
        for (auto* menu : window().findChildren<QMenu*>("PanelMenu"))
            count += menu->isVisible();
        return count;
    }
};

} // namespace

TEST_F(WindowPanels, MouseOrbitsPansAndZooms)
{
    openSample();
    const Matrix4 fitted = panel()->getScaledTransformMatrix();
    drag(panel(), Qt::LeftButton, QPoint(100, 100), QPoint(160, 120));
    const Matrix4 orbited = panel()->getScaledTransformMatrix();
    EXPECT_FALSE(same(fitted, orbited));
    EXPECT_NEAR(orbited(2, 3), fitted(2, 3), std::abs(fitted(2, 3)) * 0.6);
    drag(panel(), Qt::RightButton, QPoint(100, 100), QPoint(160, 100));
    const Matrix4 panned = panel()->getScaledTransformMatrix();
    EXPECT_GT(panned(0, 3), orbited(0, 3)) << "the picture follows the pointer to the right";
    EXPECT_NEAR(panned(1, 3), orbited(1, 3), 1e-6);
    EXPECT_EQ(panelsWithMenuShown(), 0) << "a drag with the right button asks for no menu";
    const double before = distance();
    wheel(2);
    EXPECT_LT(distance(), before);
    wheel(-2);
    EXPECT_NEAR(distance(), before, std::abs(before) * 1e-6);
    // With Shift the wheel, or two fingers on a touchpad, moves; with Ctrl it turns.
    const Matrix4 still = panel()->getScaledTransformMatrix();
    wheel(1, Qt::ShiftModifier);
    EXPECT_NE(panel()->getScaledTransformMatrix()(1, 3), still(1, 3));
    EXPECT_DOUBLE_EQ(distance(), before);
    wheel(-1, Qt::ShiftModifier);
    wheel(1, Qt::ControlModifier);
    EXPECT_NE(panel()->getScaledTransformMatrix()(1, 1), still(1, 1));
    wheel(-1, Qt::ControlModifier);
    // Pinching zooms.
    QNativeGestureEvent pinch(Qt::ZoomNativeGesture, QTouchDevice::devices().value(0), QPointF(40, 40), QPointF(40, 40),
                              QPointF(40, 40), 0.25, 0, 0);
    QApplication::sendEvent(panel(), &pinch);
    EXPECT_LT(distance(), before * 0.95);
}

TEST_F(WindowPanels, FitAndStandardViewsComeByMenuAndKey)
{
    openSample();
    QTest::keyClick(panel(), Qt::Key_1);
    const Matrix4 front = panel()->getScaledTransformMatrix();
    menuAction("View", "Top")->trigger();
    EXPECT_FALSE(same(front, panel()->getScaledTransformMatrix()));
    menuAction("View", "Front")->trigger();
    EXPECT_TRUE(same(front, panel()->getScaledTransformMatrix()));
    wheel(5);
    EXPECT_FALSE(same(front, panel()->getScaledTransformMatrix()));
    menuAction("View", "Fit to view")->trigger();
    EXPECT_TRUE(same(front, panel()->getScaledTransformMatrix()));
}

TEST_F(WindowPanels, RightClickOpensThePanelsOwnMenu)
{
    openSample();
    menuAction("View", "2 views")->trigger();
    auto* second = window().getPanelGrid()->getPanels()[1];
    const Matrix4 first = window().getPanelGrid()->getPanels()[0]->getScaledTransformMatrix();
    QTest::mousePress(second, Qt::RightButton, {}, QPoint(50, 50));
    QTest::mouseRelease(second, Qt::RightButton, {}, QPoint(50, 50));
    QMenu* menu = nullptr;
    ASSERT_TRUE(processUntil([&] {
        for (auto* found : window().findChildren<QMenu*>("PanelMenu"))
            if (found->isVisible())
                menu = found;
        return menu != nullptr;
    }));
    EXPECT_EQ(window().getPanelGrid()->getActivePanel(), second) << "the panel that was clicked is the active one";
    const auto trigger = [&](const char* text) {
        for (QAction* action : menu->actions())
            if (action->text() == QLatin1String(text)) {
                action->trigger();
                return;
            }
        ADD_FAILURE() << "no " << text;
    };
    const Matrix4 before = second->getScaledTransformMatrix();
    trigger("Top");
    EXPECT_FALSE(same(before, second->getScaledTransformMatrix()));
    EXPECT_TRUE(same(first, window().getPanelGrid()->getPanels()[0]->getScaledTransformMatrix()));
    trigger("Close this view");
    menu->close();
    EXPECT_TRUE(processUntil([this] { return window().getPanelGrid()->getPanelCount() == 1; }));
}

TEST_F(WindowPanels, ActivePanelIsMarkedAndFollowsTheClick)
{
    openSample();
    menuAction("View", "4 views")->trigger();
    auto* grid = window().getPanelGrid();
    for (auto* each : grid->getPanels()) {
        QTest::mouseClick(each, Qt::LeftButton);
        EXPECT_EQ(grid->getActivePanel(), each);
        int marked = 0;
        for (auto* other : grid->getPanels())
            marked += grid->getFrame(other)->isMarked();
        EXPECT_EQ(marked, 1);
        EXPECT_TRUE(grid->getFrame(each)->isMarked());
        QImage frame(grid->getFrame(each)->size(), QImage::Format_ARGB32);
        grid->getFrame(each)->render(&frame, QPoint(), QRegion(), QWidget::DrawWindowBackground);
        EXPECT_EQ(QColor(frame.pixel(0, 0)), window().palette().color(QPalette::Highlight));
    }
}

TEST_F(WindowPanels, GuideShowsWhatAVideoOfThatShapeHolds)
{
    openSample();
    QMenu* menu = window().findChild<QMenu*>("GuideMenu");
    ASSERT_NE(menu, nullptr);
    auto* grid = window().getPanelGrid();
    const auto choose = [&](const char* text) {
        for (QAction* action : menu->actions())
            if (action->text() == QLatin1String(text))
                action->trigger();
    };
    choose("1:1");
    const QRect guide = grid->getFrame(panel())->getGuide();
    EXPECT_EQ(guide.height(), panel()->height());
    EXPECT_EQ(guide.width(), panel()->height());
    EXPECT_NEAR(guide.center().x(), panel()->width() / 2, 1);
    restart();
    EXPECT_NEAR(window().getPanelGrid()->getGuideAspect(), 1.0, 1e-9) << "the guide is kept";
    menu = window().findChild<QMenu*>("GuideMenu");
    choose("Off");
    EXPECT_TRUE(window().getPanelGrid()->getFrame(panel())->getGuide().isNull());
}

TEST_F(WindowPanels, TreeHidesAndShowsElements)
{
    openSample();
    auto* tree = window().getSceneTree();
    const auto shown = [this] { return showsSomething(panel()->grabFramebuffer()); };
    ASSERT_TRUE(shown());
    tree->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
    EXPECT_FALSE(shown());
    tree->topLevelItem(0)->setCheckState(0, Qt::Checked);
    EXPECT_TRUE(shown());
    tree->setCurrentItem(tree->topLevelItem(0));
    tree->setFocus();
    QTest::keyClick(tree, Qt::Key_Delete);
    EXPECT_TRUE(processUntil([&] { return tree->topLevelItemCount() == 0; }));
    EXPECT_FALSE(shown());
}

TEST_F(WindowPanels, TrajectoryBarStepsPlaysAndLoops)
{
    openSample();
    auto* bar = window().getTrajectoryBar();
    const auto action = [&](const char* text) -> QAction* {
        for (QAction* each : bar->actions())
            if (each->text() == QLatin1String(text))
                return each;
        return nullptr;
    };
    auto* handler = TrajectoryHandler::getInstance();
    EXPECT_FALSE(action("Play")->isEnabled());
    ASSERT_TRUE(bar->openFile(QStringLiteral(TOV_SOURCE_DIR "/samples/crane.json")));
    ASSERT_TRUE(action("Play")->isEnabled());
    const auto count = handler->getCount();
    ASSERT_GT(count, 4u);
    action("Next position")->trigger();
    EXPECT_EQ(handler->getPosition(), 1u);
    action("Previous position")->trigger();
    EXPECT_EQ(handler->getPosition(), 0u);
    auto* slider = bar->findChild<QSlider*>("TrajectorySlider");
    EXPECT_EQ(slider->maximum(), int(count) - 1);
    slider->setValue(int(count) - 2);
    EXPECT_EQ(handler->getPosition(), count - 2);
    QAction* play = action("Play");
    play->trigger();
    EXPECT_TRUE(processUntil([&] { return !play->isChecked(); })) << "playing does not end";
    EXPECT_EQ(handler->getPosition(), count - 1);
    action("Loop")->setChecked(true);
    slider->setValue(int(count) - 2);
    play->trigger();
    EXPECT_TRUE(processUntil([&] { return handler->getPosition() < count - 2; })) << "the loop does not begin again";
    EXPECT_TRUE(play->isChecked());
    play->trigger();
    EXPECT_FALSE(play->isChecked());
}

TEST_F(WindowPanels, AnimationsOfTheSceneAreListedAndPlayed)
{
    auto* bar = window().getTrajectoryBar();
    auto* menu = bar->findChild<QMenu*>("AnimationMenu");
    ASSERT_TRUE(menu);
    emit menu->aboutToShow();
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_FALSE(menu->actions().first()->isEnabled()) << "the scene has no animations";
    QString error;
    ASSERT_TRUE(tov::scene::SceneImport::addFiles({QStringLiteral(TOV_SOURCE_DIR "/samples/arm.gltf")}, &error))
        << error.toStdString();
    emit menu->aboutToShow();
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().first()->text(), TrajectoryHandler::getInstance()->getAnimationNames().first());
    menu->actions().first()->trigger();
    EXPECT_GT(TrajectoryHandler::getInstance()->getCount(), 1u);
    EXPECT_TRUE(processUntil([] { return TrajectoryHandler::getInstance()->getPosition() > 0; })) << "nothing plays";
}

TEST_F(WindowPanels, LayoutIsKept)
{
    menuAction("View", "2 views")->trigger();
    auto* console = window().findChild<QDockWidget*>("ConsoleDock");
    console->hide();
    window().resize(1000, 700);
    window().close();
    restart();
    EXPECT_EQ(window().getPanelGrid()->getPanelCount(), 2);
    EXPECT_TRUE(window().findChild<QDockWidget*>("ConsoleDock")->isHidden());
    EXPECT_FALSE(window().findChild<QDockWidget*>("SceneDock")->isHidden());
    EXPECT_EQ(window().size(), QSize(1000, 700));
    // Unreadable data is not a layout.
    tovSettings().setValue("window/state", QByteArray("nonsense"));
    tovSettings().setValue("window/geometry", QByteArray("nonsense"));
    tovSettings().setValue("window/panels", QByteArray("nonsense"));
    restart();
    EXPECT_EQ(window().getPanelGrid()->getPanelCount(), 1);
}

TEST_F(WindowPanels, AFittedViewStaysFittedWhenItsSizeChanges)
{
    openSample();
    menuAction("View", "Front")->trigger();
    window().resize(700, 700);
    ASSERT_TRUE(processUntil([this] { return window().width() == 700 && panel()->width() < 600; }));
    QCoreApplication::processEvents();
    const Matrix4 narrow = panel()->getScaledTransformMatrix();
    menuAction("View", "Fit to view")->trigger();
    EXPECT_TRUE(same(narrow, panel()->getScaledTransformMatrix()));
    // A view that the user has moved is not changed.
    panel()->orbit(20, 5);
    const Matrix4 moved = panel()->getScaledTransformMatrix();
    window().resize(1000, 700);
    ASSERT_TRUE(processUntil([this] { return window().width() == 1000; }));
    QCoreApplication::processEvents();
    EXPECT_TRUE(same(moved, panel()->getScaledTransformMatrix()));
}

TEST_F(WindowPanels, NewViewsShowOtherSidesAndAreRestored)
{
    openSample();
    menuAction("View", "4 views")->trigger();
    auto* grid = window().getPanelGrid();
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < i; ++j)
            EXPECT_FALSE(same(grid->getPanels()[i]->getScaledTransformMatrix(),
                              grid->getPanels()[j]->getScaledTransformMatrix()))
                << i << " and " << j;
    grid->getPanels()[2]->orbit(17, 4);
    const Matrix4 kept = grid->getPanels()[2]->getScaledTransformMatrix();
    window().close();
    restart();
    ASSERT_EQ(window().getPanelGrid()->getPanelCount(), 4);
    EXPECT_TRUE(same(kept, window().getPanelGrid()->getPanels()[2]->getScaledTransformMatrix()));
}

TEST_F(WindowPanels, TheLastViewCannotBeClosed)
{
    openSample();
    EXPECT_FALSE(menuAction("View", "Close view")->isEnabled());
    window().closeView(panel());
    EXPECT_EQ(window().getPanelGrid()->getPanelCount(), 1);
    menuAction("View", "2 views")->trigger();
    EXPECT_TRUE(menuAction("View", "Close view")->isEnabled());
}

TEST_F(WindowPanels, ArrowKeysTurnTheViewAtOnce)
{
    openSample();
    ASSERT_TRUE(processUntil([this] { return QApplication::focusWidget() == panel(); }));
    const Matrix4 before = panel()->getScaledTransformMatrix();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    EXPECT_FALSE(same(before, panel()->getScaledTransformMatrix()));
}

TEST_F(WindowPanels, TheViewsMenuHasNoStrayShortcuts)
{
    openSample();
    QTest::mouseClick(panel(), Qt::RightButton, {}, QPoint(50, 50));
    QMenu* menu = nullptr;
    ASSERT_TRUE(processUntil([&] { return (menu = window().findChild<QMenu*>("PanelMenu")) && menu->isVisible(); }));
    // The keys of the actions for parts are those of the Edit menu.
    for (QAction* action : menu->actions())
        EXPECT_TRUE(action->shortcut().isEmpty() || action->parent() == window().getSceneTree())
            << action->text().toStdString();
    menu->close();
}

TEST_F(WindowPanels, AClickOnTheSliderJumpsAndAKeyStepsByOne)
{
    openSample();
    auto* bar = window().getTrajectoryBar();
    ASSERT_TRUE(bar->openFile(QStringLiteral(TOV_SOURCE_DIR "/samples/crane.json")));
    auto* slider = bar->findChild<QSlider*>("TrajectorySlider");
    auto* handler = TrajectoryHandler::getInstance();
    QTest::keyClick(slider, Qt::Key_PageUp);
    EXPECT_EQ(handler->getPosition(), 1u);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(slider->width() / 2, slider->height() / 2));
    EXPECT_NEAR(double(handler->getPosition()), (handler->getCount() - 1) / 2.0, handler->getCount() / 20.0 + 1);
}

TEST_F(WindowPanels, FullScreenShowsOnlyTheView)
{
    openSample();
    QAction* full = menuAction("View", "Full screen");
    full->trigger();
    ASSERT_TRUE(processUntil([this] { return panel()->width() >= window().width() - 8; }));
    EXPECT_TRUE(window().statusBar()->isHidden());
    EXPECT_EQ(window().menuBar()->height(), 0);
    QTest::keyClick(panel(), Qt::Key_F11);
    ASSERT_TRUE(processUntil([this] { return panel()->width() < window().width() - 100; }));
    EXPECT_FALSE(window().statusBar()->isHidden());
    EXPECT_GT(window().menuBar()->height(), 0);
}

TEST_F(WindowPanels, TheFirstWindowFitsOnTheScreen)
{
    const QRect screen = window().screen()->availableGeometry();
    EXPECT_TRUE(screen.contains(window().geometry()));
    EXPECT_LE(window().width(), 1280);
    EXPECT_LE(window().height(), 860);
}

TEST_F(WindowPanels, CameraMovementsAreUndoneAndRedone)
{
    auto* history = window().getCameraHistory();
    history->setPause(5);
    openSample();
    const auto isStill = [&] { return !history->isMoving(panel()); };
    ASSERT_TRUE(processUntil(isStill));
    const Matrix4 first = panel()->getScaledTransformMatrix();
    panel()->orbit(30, 0);
    EXPECT_TRUE(history->isMoving(panel()));
    ASSERT_TRUE(processUntil(isStill));
    const Matrix4 second = panel()->getScaledTransformMatrix();
    menuAction("View", "Undo camera movement")->trigger();
    EXPECT_TRUE(same(first, panel()->getScaledTransformMatrix()));
    menuAction("View", "Redo camera movement")->trigger();
    EXPECT_TRUE(same(second, panel()->getScaledTransformMatrix()));
    menuAction("View", "Redo camera movement")->trigger();
    EXPECT_TRUE(same(second, panel()->getScaledTransformMatrix())) << "nothing is left to redo";
    // A new movement replaces the movements that could be redone.
    menuAction("View", "Undo camera movement")->trigger();
    panel()->orbit(0, 10);
    menuAction("View", "Undo camera movement")->trigger();
    EXPECT_TRUE(same(first, panel()->getScaledTransformMatrix()));
    EXPECT_TRUE(history->canRedo(panel()));
}

TEST_F(WindowPanels, BookmarksRestoreAView)
{
    openSample();
    QTest::keyClick(panel(), Qt::Key_B, Qt::ControlModifier);
    const Matrix4 kept = panel()->getScaledTransformMatrix();
    panel()->orbit(40, 20);
    auto* menu = window().findChild<QMenu*>("BookmarkMenu");
    ASSERT_NE(menu, nullptr);
    QAction* bookmark = nullptr;
    for (QAction* action : menu->actions())
        if (action->text() == "View 1")
            bookmark = action;
    ASSERT_NE(bookmark, nullptr);
    EXPECT_FALSE(bookmark->icon().isNull());
    bookmark->trigger();
    EXPECT_TRUE(same(kept, panel()->getScaledTransformMatrix()));
    menu->actions().last()->trigger();
    EXPECT_TRUE(processUntil([&] { return menu->actions().size() == 1; }));
}

TEST_F(WindowPanels, OnePartIsIsolatedAndAllAreShownAgain)
{
    openSample();
    auto* tree = window().getSceneTree();
    QTreeWidgetItem* part = tree->topLevelItem(0);
    while (part->childCount() > 0)
        part = part->child(part->childCount() - 1);
    const QString name = part->text(0);
    tree->setCurrentItem(part);
    tree->isolateSelected();
    ASSERT_TRUE(processUntil([&] {
        int checked = 0, total = 0;
        for (QTreeWidgetItemIterator it(tree); *it; ++it)
            if ((*it)->childCount() == 0) {
                ++total;
                checked += (*it)->checkState(0) == Qt::Checked;
            }
        return total > 1 && checked == 1;
    }));
    EXPECT_TRUE(showsSomething(panel()->grabFramebuffer()));
    tree->showAll();
    EXPECT_TRUE(processUntil([&] {
        for (QTreeWidgetItemIterator it(tree); *it; ++it)
            if ((*it)->checkState(0) != Qt::Checked)
                return false;
        return tree->topLevelItemCount() > 0;
    }));
    // The search shows the part and its ancestors.
    auto* search = window().findChild<QLineEdit*>("TreeSearch");
    search->setText(name);
    int shown = 0, all = 0;
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        ++all;
        shown += !(*it)->isHidden();
    }
    EXPECT_LT(shown, all);
    EXPECT_GT(shown, 0);
}

TEST_F(WindowPanels, UndoRestoresARemovedPart)
{
    openSample();
    auto* tree = window().getSceneTree();
    const QImage before = panel()->grabFramebuffer();
    tree->setCurrentItem(tree->topLevelItem(0));
    tree->removeSelected();
    ASSERT_TRUE(processUntil([&] { return tree->topLevelItemCount() == 0; }));
    window().findChild<QAction*>("UndoAction")->trigger();
    ASSERT_TRUE(processUntil([&] { return tree->topLevelItemCount() == 1; }));
    EXPECT_TRUE(showsSomething(panel()->grabFramebuffer()));
}

TEST_F(WindowPanels, ThePaletteFindsAnyAction)
{
    openSample();
    const Matrix4 before = panel()->getScaledTransformMatrix();
    triggerWithDialog(menuAction("Help", "Find a command"), "CommandPalette", [](QWidget* dialog) {
        auto* search = dialog->findChild<QLineEdit*>("PaletteSearch");
        auto* list = dialog->findChild<QListWidget*>("PaletteList");
        EXPECT_GT(list->count(), 30);
        search->setText("video sett");
        EXPECT_EQ(list->count(), 1) << "the modules' commands are there, too";
        search->setText("view top");
        ASSERT_EQ(list->count(), 1);
        QTest::keyClick(search, Qt::Key_Return);
    });
    EXPECT_FALSE(same(before, panel()->getScaledTransformMatrix()));
}

TEST_F(WindowPanels, TheLensIsChangedByMenu)
{
    openSample();
    QTest::keyClick(panel(), Qt::Key_O);
    EXPECT_TRUE(panel()->isOrthographic());
    QTest::keyClick(panel(), Qt::Key_O);
    EXPECT_FALSE(panel()->isOrthographic());
    triggerWithDialog(menuAction("View", "Field of view"), "QInputDialog", [](QWidget* dialog) {
        auto* box = dialog->findChild<QDoubleSpinBox*>();
        ASSERT_NE(box, nullptr);
        box->setValue(20);
        QTest::keyClick(box, Qt::Key_Return);
    });
    EXPECT_NEAR(panel()->getFieldOfView(), 20, 1e-6);
}
