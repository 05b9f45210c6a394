// Gizmo, centre of rotation, selecting in the view, measuring, clip plane, linked cameras, and the camera path editor.

#include "app/viewer/clipcontrols.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/gizmo.h"
#include "app/viewer/inspectpanel.h"
#include "app/viewer/panelframe.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/patheditor.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/viewmarks.h"
#include "app/viewer/viewtools.h"
#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/window/windowfixture.h"
#include "trajectory/camerapath.h"
#include "trajectory/trajectoryhandler.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QFile>
#include <QListWidget>
#include <QMenu>
#include <QSlider>

#include <cmath>

using namespace tov::test;
using tov::gui::ScenePanel;
using tov::math::Matrix4;
using tov::scene::Camera;
using tov::scene::SceneDrawer;
using tov::scene::StandardView;
using tov::trajectory::TrajectoryHandler;
using tov::viewer::Gizmo;
using tov::viewer::PathEditor;

namespace {

bool isNear(const Matrix4& a, const Matrix4& b)
{
    for (unsigned int i = 0; i < 16; ++i)
        if (std::fabs(a.data()[i] - b.data()[i]) > 1e-9)
            return false;
    return true;
}

class WindowViews : public WindowTest
{
protected:
    void TearDown() override
    {
        auto look = SceneDrawer::getLook();
        look.clip.reset();
        SceneDrawer::setLook(look);
        WindowTest::TearDown();
    }
    ScenePanel* view() { return window().getPanelGrid()->getActivePanel(); }
    Gizmo* gizmo() { return window().getPanelGrid()->getFrame(view())->getGizmo(); }
    QAction* action(const char* name) { return window().findChild<QAction*>(QLatin1String(name)); }
    PathEditor* path() { return window().getViewTools()->getPathEditor(); }
    QPoint middle() { return {view()->width() / 2, view()->height() / 2}; }
    /// Clicks the end of an axis of the gizmo.
    void clickEnd(StandardView side)
    {
        ASSERT_TRUE(processUntil([this] { return isGizmoCurrent(); })) << "the gizmo does not follow the view";
        for (const auto& end : gizmo()->getEnds())
            if (end.side == side) {
                QTest::mouseClick(gizmo(), Qt::LeftButton, {}, end.position.toPoint());
                return;
            }
    }
    bool isGizmoCurrent()
    {
        const auto rotation = view()->getShownCamera().rotation;
        for (const auto& end : gizmo()->getEnds())
            if (std::fabs(end.depth - (end.isPositive ? 1 : -1) * rotation(2, unsigned(end.axis))) > 1e-6)
                return false;
        return true;
    }
    /// A position of the view where a part is drawn; (-1, -1) when there is none.
    QPoint findPart()
    {
        for (int y = 20; y < view()->height(); y += 10)
            for (int x = 20; x < view()->width() - 120; x += 10)
                if (view()->pickAt(QPointF(x, y)))
                    return {x, y};
        return {-1, -1};
    }
    int selectedParts()
    {
        int count = 0;
        const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
        tov::scene::forEachVisible(scene->getRootNode(),
                                   [&count](const tov::scene::GeometryElement& element, const Matrix4&) {
                                       count += tov::scene::isInSelection(&element);
                                   });
        return count;
    }
    static int differing(const QImage& a, const QImage& b)
    {
        int count = 0;
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x)
                count += a.pixel(x, y) != b.pixel(x, y);
        return count;
    }
    template <typename Widget>
    Widget* field(QWidget* parent, const char* name)
    {
        auto* found = parent->findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
};

} // namespace

TEST_F(WindowViews, TheEndsOfTheGizmoShowTheSides)
{
    openSample();
    QTest::keyClick(view(), Qt::Key_7);
    for (const StandardView side : {StandardView::Right, StandardView::Left, StandardView::Top, StandardView::Bottom,
                                    StandardView::Front, StandardView::Back}) {
        QTest::keyClick(view(), Qt::Key_7);
        clickEnd(side);
        EXPECT_TRUE(isNear(view()->getCamera().rotation, tov::scene::standardRotation(side))) << int(side);
    }
    // The end that points to the viewer leads to the opposite side.
    clickEnd(StandardView::Back);
    EXPECT_TRUE(isNear(view()->getCamera().rotation, tov::scene::standardRotation(StandardView::Front)));
    // A view that the user has zoomed keeps its middle and its distance.
    view()->zoom(3);
    const Camera before = view()->getCamera();
    clickEnd(StandardView::Top);
    EXPECT_EQ(view()->getCamera().target, before.target);
    EXPECT_EQ(view()->getCamera().distance, before.distance);
}

TEST_F(WindowViews, ADragOnTheGizmoTurnsTheView)
{
    openSample();
    const Camera before = view()->getCamera();
    drag(gizmo(), Qt::LeftButton, gizmo()->rect().center(), gizmo()->rect().center() + QPoint(30, 0));
    EXPECT_FALSE(isNear(view()->getCamera().rotation, before.rotation));
    EXPECT_EQ(view()->getCamera().distance, before.distance);
}

TEST_F(WindowViews, TheGizmoIsInNoPictureOfTheViewAndCanBeHidden)
{
    openSample();
    ASSERT_TRUE(gizmo()->isVisible());
    const QRect place = gizmo()->geometry();
    const QImage shown = view()->grabFramebuffer();
    const QRgb background = shown.pixel(2, 2);
    for (int y = place.top(); y < place.top() + 10; ++y)
        for (int x = place.left(); x <= place.right(); ++x)
            ASSERT_EQ(shown.pixel(x, y), background);
    action("ShowAxesAction")->trigger();
    EXPECT_FALSE(gizmo()->isVisible());
    menuAction("View", "2 views")->trigger();
    EXPECT_FALSE(window().getPanelGrid()->getFrame(window().getPanelGrid()->getPanels()[1])->getGizmo()->isVisible());
    restart();
    EXPECT_FALSE(gizmo()->isVisible()) << "the choice is kept";
    EXPECT_FALSE(action("ShowAxesAction")->isChecked());
}

TEST_F(WindowViews, ADoubleClickMakesThePointTheCentreOfRotation)
{
    openSample();
    const QPoint position = findPart();
    ASSERT_GT(position.x(), 0);
    const auto picked = view()->pickAt(position);
    QTest::mouseDClick(view(), Qt::LeftButton, {}, position);
    EXPECT_EQ(view()->getCamera().target, picked->point);
    view()->orbit(70, 20);
    const auto line = view()->lineAt(picked->point, picked->point);
    EXPECT_NEAR(line->p1().x(), view()->width() / 2.0, 1e-6) << "it stays in the middle";
    const Camera before = view()->getCamera();
    QTest::mouseDClick(view(), Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_EQ(view()->getCamera().target, before.target) << "nothing happens on the background";
}

TEST_F(WindowViews, StandardViewsFlyUnlessAnimationIsOff)
{
    openSample();
    QTest::keyClick(view(), Qt::Key_1);
    EXPECT_FALSE(view()->isFlying()) << "off in these tests";
    action("FlightsAction")->trigger();
    ASSERT_TRUE(tovSettings().value("window/flights").toBool());
    view()->setFlightDuration(3600000);
    menuAction("View", "Right")->trigger();
    EXPECT_TRUE(view()->isFlying());
    EXPECT_TRUE(isNear(view()->getCamera().rotation, tov::scene::standardRotation(StandardView::Right)));
    QTest::mousePress(view(), Qt::LeftButton, {}, middle());
    EXPECT_FALSE(view()->isFlying()) << "input ends the flight at its destination";
    QTest::mouseRelease(view(), Qt::LeftButton, {}, middle());
    menuAction("View", "Fit to view")->trigger();
    EXPECT_TRUE(view()->isFlying());
    QTest::keyClick(view(), Qt::Key_Left);
    EXPECT_FALSE(view()->isFlying());
    view()->setFlightDuration(30);
    menuAction("View", "Top")->trigger();
    EXPECT_TRUE(processUntil([this] { return !view()->isFlying(); }));
    action("FlightsAction")->trigger();
    menuAction("View", "Front")->trigger();
    EXPECT_FALSE(view()->isFlying());
}

TEST_F(WindowViews, AClickSelectsThePartAndTheTreeFollows)
{
    openSample();
    auto* tree = window().getSceneTree();
    const QPoint position = findPart();
    ASSERT_GT(position.x(), 0);
    const auto picked = view()->pickAt(position);
    const QImage before = view()->grabFramebuffer();
    QTest::mouseClick(view(), Qt::LeftButton, {}, position);
    ASSERT_EQ(tree->selectedItems().size(), 1);
    EXPECT_EQ(tree->selectedItems().first()->text(0), picked->element->getName());
    EXPECT_TRUE(picked->element->isSelected());
    EXPECT_NE(view()->grabFramebuffer(), before) << "the part is tinted";
    // With Ctrl another part is added, and taken away again.
    QPoint other = {-1, -1};
    for (int y = 20; y < view()->height() && other.x() < 0; y += 5)
        for (int x = 20; x < view()->width() - 120 && other.x() < 0; x += 5) {
            const auto found = view()->pickAt(QPointF(x, y));
            if (found && found->element != picked->element)
                other = {x, y};
        }
    ASSERT_GT(other.x(), 0) << "the sample has one part only";
    QTest::mouseClick(view(), Qt::LeftButton, Qt::ControlModifier, other);
    EXPECT_EQ(selectedParts(), 2);
    QTest::mouseClick(view(), Qt::LeftButton, Qt::ControlModifier, other);
    EXPECT_EQ(selectedParts(), 1);
    drag(view(), Qt::LeftButton, QPoint(4, 200), QPoint(60, 200));
    EXPECT_EQ(selectedParts(), 1) << "a drag turns the view only";
    QTest::keyClick(view(), Qt::Key_F);
    QTest::mouseClick(view(), Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_EQ(selectedParts(), 0);
    EXPECT_TRUE(tree->selectedItems().isEmpty());
}

TEST_F(WindowViews, TheSpaceBarSelectsWhatIsInTheMiddle)
{
    openSample();
    const QPoint position = findPart();
    ASSERT_GT(position.x(), 0);
    view()->centerAt(position);
    const auto picked = view()->pickAt(QPointF(view()->width() / 2.0, view()->height() / 2.0));
    ASSERT_TRUE(picked);
    QTest::keyClick(view(), Qt::Key_Space);
    EXPECT_TRUE(picked->element->isSelected());
}

TEST_F(WindowViews, TheMenuOfTheViewIsolatesThePartUnderThePointer)
{
    openSample();
    const QPoint position = findPart();
    ASSERT_GT(position.x(), 0);
    const auto* part = view()->pickAt(position)->element;
    QTest::mouseClick(view(), Qt::RightButton, {}, position);
    QMenu* menu = nullptr;
    ASSERT_TRUE(processUntil([&] { return (menu = window().findChild<QMenu*>("PanelMenu")) && menu->isVisible(); }));
    EXPECT_TRUE(part->isSelected()) << "the menu is about the part under the pointer";
    const auto find = [&](const char* text) -> QAction* {
        for (QAction* each : menu->actions())
            if (each->text().remove(QLatin1Char('&')) == QLatin1String(text))
                return each;
        return nullptr;
    };
    for (const char* text : {"Isolate", "Hide", "Show all", "Fit to selection", "Make this the centre of rotation"}) {
        ASSERT_NE(find(text), nullptr) << text;
        EXPECT_TRUE(find(text)->isEnabled()) << text;
    }
    find("Isolate")->trigger();
    menu->close();
    int visible = 0;
    tov::scene::forEachVisible(tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode(),
                               [&visible](const tov::scene::GeometryElement&, const Matrix4&) { ++visible; });
    EXPECT_EQ(visible, 1);
    const double before = view()->getCamera().distance;
    QTest::keyClick(view(), Qt::Key_F, Qt::ShiftModifier);
    EXPECT_LT(view()->getCamera().distance, before) << "fitted to the part";
}

TEST_F(WindowViews, TwoClicksMeasureADistance)
{
    openSample();
    auto* inspect = window().findChild<QDockWidget*>("InspectDock");
    inspect->show();
    QTest::keyClick(view(), Qt::Key_1);
    ASSERT_TRUE(action("MeasureAction"));
    QTest::keyClick(view(), Qt::Key_M);
    ASSERT_TRUE(action("MeasureAction")->isChecked());
    const QPoint first = findPart();
    QPoint second = first;
    for (int x = first.x(); x < view()->width() - 120; ++x)
        if (view()->pickAt(QPointF(x, first.y())))
            second = {x, first.y()};
    ASSERT_GT(second.x(), first.x());
    const auto from = view()->pickAt(first)->point, to = view()->pickAt(second)->point;
    QTest::mouseClick(view(), Qt::LeftButton, {}, first);
    auto* panel = window().getInspectPanel();
    const auto value = [&](const char* name) { return QLocale().toDouble(field<QLabel>(panel, name)->text()); };
    EXPECT_TRUE(field<QLabel>(panel, "MeasuredDistance")->text().isEmpty()) << "one point is no distance";
    QTest::mouseClick(view(), Qt::LeftButton, {}, second);
    const double distance = std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
    EXPECT_NEAR(value("MeasuredDistance"), distance, 1e-5 * distance);
    EXPECT_NEAR(value("MeasuredX"), to[0] - from[0], 1e-5 * distance);
    EXPECT_NEAR(value("MeasuredY"), to[1] - from[1], 1e-5 * distance);
    EXPECT_NEAR(value("MeasuredZ"), to[2] - from[2], 1e-5 * distance);
    button(panel, "Copy")->click();
    EXPECT_EQ(QApplication::clipboard()->text().split('\t').size(), 4);
    EXPECT_EQ(selectedParts(), 0) << "measuring selects nothing";
    QTest::keyClick(view(), Qt::Key_Escape);
    EXPECT_FALSE(action("MeasureAction")->isChecked());
    EXPECT_FALSE(window().getViewTools()->getMarks()->getFrom());
    QTest::mouseClick(view(), Qt::LeftButton, {}, first);
    EXPECT_EQ(selectedParts(), 1) << "clicks select again";
}

TEST_F(WindowViews, TheBoundingBoxIsThatOfTheSelectionOrTheScene)
{
    openSample();
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    auto* marks = window().getViewTools()->getMarks();
    EXPECT_TRUE(marks->getBox().isEmpty());
    QTest::keyClick(view(), Qt::Key_B);
    EXPECT_EQ(marks->getBox().high, tov::scene::visibleBox(scene->getRootNode()).high);
    QTest::mouseClick(view(), Qt::LeftButton, {}, findPart());
    EXPECT_EQ(marks->getBox().high, tov::scene::selectionBox(scene->getRootNode()).high);
    EXPECT_EQ(marks->getBox().low, tov::scene::selectionBox(scene->getRootNode()).low);
    scene->lock();
    const auto whole = tov::scene::visibleBox(scene->getRootNode());
    scene->unlock();
    EXPECT_NE(marks->getBox().high, whole.high);
    QTest::keyClick(view(), Qt::Key_B);
    EXPECT_TRUE(marks->isEmpty());
}

TEST_F(WindowViews, TheClipPlaneIsSetWithSliderAndField)
{
    openSample();
    window().findChild<QDockWidget*>("InspectDock")->show();
    auto* controls = window().getInspectPanel()->findChild<QWidget*>("ClipControls");
    auto* axis = field<QComboBox>(controls, "ClipAxis");
    auto* slider = field<QSlider>(controls, "ClipSlider");
    auto* position = field<QDoubleSpinBox>(controls, "ClipPosition");
    EXPECT_FALSE(slider->isEnabled());
    const QImage whole = view()->grabFramebuffer();
    axis->setCurrentIndex(axis->findText("Y"));
    const auto box = tov::scene::visibleBox(tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode());
    auto clip = SceneDrawer::getLook().clip;
    ASSERT_TRUE(clip);
    EXPECT_EQ(clip->axis, 1u);
    EXPECT_NEAR(clip->position, (box.low[1] + box.high[1]) / 2, 1e-9) << "begins in the middle";
    EXPECT_NE(view()->grabFramebuffer(), whole);
    slider->setValue(slider->maximum());
    EXPECT_NEAR(SceneDrawer::getLook().clip->position, box.high[1], 1e-6);
    position->setValue(box.high[1] + 0.1 * (box.high[1] - box.low[1]));
    EXPECT_LT(differing(view()->grabFramebuffer(), whole), whole.width() * whole.height() / 1000)
        << "nothing is beyond the top";
    field<QCheckBox>(controls, "ClipFlip")->click();
    EXPECT_TRUE(SceneDrawer::getLook().clip->isFlipped);
    EXPECT_FALSE(showsSomething(view()->grabFramebuffer())) << "everything is below the top";
    position->setValue(box.low[1] + 0.25 * (box.high[1] - box.low[1]));
    EXPECT_NEAR(slider->value(), slider->maximum() / 4, 2);
    EXPECT_TRUE(showsSomething(view()->grabFramebuffer()));
    axis->setCurrentIndex(0);
    EXPECT_FALSE(SceneDrawer::getLook().clip);
    EXPECT_EQ(view()->grabFramebuffer(), whole);
}

TEST_F(WindowViews, LinkedCamerasTurnTogetherAndKeepTheirSides)
{
    openSample();
    menuAction("View", "4 views")->trigger();
    const auto views = window().getPanelGrid()->getPanels();
    const auto rotations = [&] {
        std::vector<Matrix4> result;
        for (const auto* each : views)
            result.push_back(each->getCamera().rotation);
        return result;
    };
    const auto before = rotations();
    views[0]->orbit(30, 0);
    EXPECT_EQ(rotations()[1], before[1]) << "not linked yet";
    views[0]->orbit(-30, 0);
    action("LinkCamerasAction")->trigger();
    const double zoomed = views[2]->getCamera().distance;
    views[0]->orbit(30, 0);
    views[0]->zoom(2);
    const auto after = rotations();
    for (std::size_t i = 0; i < views.size(); ++i) {
        Camera expected;
        expected.rotation = before[i];
        expected.orbit(-30, 0);
        EXPECT_TRUE(isNear(after[i], expected.rotation)) << i;
        for (std::size_t other = 0; other < i; ++other)
            EXPECT_FALSE(isNear(after[i], after[other])) << i << ' ' << other;
    }
    EXPECT_NEAR(views[2]->getCamera().distance, zoomed / 2, 1e-9 * zoomed);
    views[3]->pan(20, 0);
    EXPECT_EQ(rotations(), after);
    action("LinkCamerasAction")->trigger();
    views[1]->orbit(0, 10);
    EXPECT_EQ(views[0]->getCamera().rotation, after[0]);
}

TEST_F(WindowViews, APathThroughThreeViewsIsMadeWithFiveClicks)
{
    openSample();
    auto* handler = TrajectoryHandler::getInstance();
    // Two clicks in the View menu open the dock.
    menuAction("View", "Camera path")->trigger();
    ASSERT_TRUE(path()->isVisible());
    auto* add = button(path(), "Add view");
    std::vector<Camera> cameras;
    for (int i = 0; i < 3; ++i) {
        view()->orbit(40, 10 * i);
        view()->zoom(1.2);
        cameras.push_back(view()->getCamera());
        QTest::mouseClick(add, Qt::LeftButton);
        EXPECT_TRUE(isNear(view()->getCamera().pose(), cameras.back().pose())) << "the view stays where it is";
    }
    ASSERT_EQ(path()->getKeys().size(), 3u);
    EXPECT_EQ(path()->getKeys()[2].time, 4);
    EXPECT_EQ(handler->getCount(), 100u) << "4 s at 25 frames per second are the selected trajectory";
    handler->setPosition(0);
    EXPECT_TRUE(isNear(view()->getCamera().pose(), cameras[0].pose()));
    handler->setPosition(99);
    const auto last = view()->getCamera().position(), wanted = cameras[2].position();
    EXPECT_LT(std::hypot(last[0] - wanted[0], last[1] - wanted[1], last[2] - wanted[2]), cameras[2].distance / 20);
    QTest::mouseClick(button(path(), "Preview"), Qt::LeftButton);
    EXPECT_TRUE(processUntil([&] { return handler->getPosition() > 0 && handler->getPosition() < 99; }));
}

TEST_F(WindowViews, ThePathIsEditedByMouseAndKeyboard)
{
    openSample();
    auto* handler = TrajectoryHandler::getInstance();
    std::vector<Camera> cameras;
    for (int i = 0; i < 3; ++i) {
        view()->orbit(30, 5);
        cameras.push_back(view()->getCamera());
        QTest::keyClick(view(), Qt::Key_K);
    }
    ASSERT_EQ(path()->getKeys().size(), 3u);
    auto* list = field<QListWidget>(path(), "PathViews");
    auto* time = field<QDoubleSpinBox>(path(), "PathTime");
    EXPECT_FALSE(list->item(0)->icon().isNull());
    // A later time of the second view moves the third one, too.
    list->setCurrentRow(1);
    time->setValue(3);
    EXPECT_EQ(path()->getKeys()[1].time, 3);
    EXPECT_EQ(path()->getKeys()[2].time, 5);
    // Order: the cameras change places, the times stay.
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(path()->getKeys()[1].time, 3);
    EXPECT_TRUE(isNear(path()->getKeys()[1].camera.pose(), cameras[2].pose()));
    EXPECT_TRUE(isNear(path()->getKeys()[2].camera.pose(), cameras[1].pose()));
    EXPECT_EQ(list->currentRow(), 2);
    ASSERT_TRUE(list->model()->moveRow(QModelIndex(), 2, QModelIndex(), 0)) << "as a drag does";
    ASSERT_TRUE(processUntil([&] { return isNear(path()->getKeys()[0].camera.pose(), cameras[1].pose()); }));
    EXPECT_EQ(path()->getKeys()[0].time, 0);
    EXPECT_TRUE(isNear(path()->getKeys()[1].camera.pose(), cameras[0].pose()));
    // Options.
    field<QCheckBox>(path(), "PathLoop")->click();
    EXPECT_GT(handler->getCount(), 125u) << "the way back is added";
    field<QCheckBox>(path(), "PathLoop")->click();
    EXPECT_EQ(handler->getCount(), 125u);
    auto* ease = field<QComboBox>(path(), "PathEase");
    ease->setCurrentIndex(3);
    // Update and remove.
    list->setCurrentRow(0);
    view()->orbit(80, 0);
    QTest::mouseClick(button(path(), "Update"), Qt::LeftButton);
    EXPECT_TRUE(isNear(path()->getKeys()[0].camera.pose(), view()->getCamera().pose()));
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Delete);
    EXPECT_EQ(path()->getKeys().size(), 2u);
    QTest::mouseClick(button(path(), "Remove"), Qt::LeftButton);
    EXPECT_EQ(path()->getKeys().size(), 1u);
    EXPECT_EQ(handler->getCount(), 0u) << "one view is no path";
}

TEST_F(WindowViews, ThePathIsSavedAsTheFileOfTheCommandLineAndOpened)
{
    openSample();
    for (int i = 0; i < 3; ++i) {
        view()->orbit(30, 5);
        view()->setFieldOfView(30 + 10 * i);
        QTest::keyClick(view(), Qt::Key_K);
    }
    field<QCheckBox>(path(), "PathLoop")->click();
    const auto saved = path()->getKeys();
    ASSERT_TRUE(path()->saveFile(file("tour.json")));
    QFile stored(file("tour.json"));
    ASSERT_TRUE(stored.open(QIODevice::ReadOnly));
    tov::trajectory::CameraPath read;
    QString error;
    ASSERT_TRUE(tov::trajectory::CameraPath::fromJson(stored.readAll(), read, &error)) << error.toStdString();
    EXPECT_TRUE(read.getOptions().loop);
    restart();
    openSample();
    const Camera before = view()->getCamera();
    ASSERT_TRUE(path()->openFile(file("tour.json")));
    ASSERT_EQ(path()->getKeys().size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(isNear(path()->getKeys()[i].camera.pose(), saved[i].camera.pose())) << i;
        EXPECT_NEAR(path()->getKeys()[i].camera.fieldOfView, saved[i].camera.fieldOfView, 1e-9);
        EXPECT_EQ(path()->getKeys()[i].time, saved[i].time);
    }
    EXPECT_TRUE(field<QCheckBox>(path(), "PathLoop")->isChecked());
    EXPECT_FALSE(isNear(view()->getCamera().pose(), before.pose())) << "the view shows the first key";
    // A damaged file changes nothing, and the reason is shown.
    QFile damaged(file("damaged.json"));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write("{\"version\": 1, \"keys\": [{\"time\": 0}]}");
    damaged.close();
    EXPECT_FALSE(path()->openFile(file("damaged.json")));
    EXPECT_TRUE(noticeContains("damaged.json"));
    EXPECT_EQ(path()->getKeys().size(), 3u);
    EXPECT_FALSE(path()->saveFile(file("no/such/folder/a.json")));
    EXPECT_TRUE(noticeContains("a.json"));
}

TEST_F(WindowViews, PicturesShowTheClipPlaneButNoSelectionAndNoMarks)
{
    openSample();
    const auto picture = [this](const QString& name) {
        window().getConsole()->submit(QStringLiteral("grabimage filename=\"%1\" width=700").arg(file(name)));
        EXPECT_TRUE(waitForNoRuns());
        return QImage(file(name));
    };
    const QImage plain = picture("plain.png");
    ASSERT_FALSE(plain.isNull());
    QTest::mouseClick(view(), Qt::LeftButton, {}, findPart());
    ASSERT_EQ(selectedParts(), 1);
    action("BoundingBoxAction")->trigger();
    action("MeasureAction")->trigger();
    QTest::mouseClick(view(), Qt::LeftButton, {}, findPart());
    ASSERT_TRUE(window().getViewTools()->getMarks()->getFrom());
    EXPECT_EQ(picture("marked.png"), plain);
    auto look = SceneDrawer::getLook();
    const auto box = tov::scene::visibleBox(tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode());
    look.clip = tov::scene::ClipPlane{0, (box.low[0] + box.high[0]) / 2, false};
    SceneDrawer::setLook(look);
    const QImage cut = picture("cut.png");
    EXPECT_GT(differing(cut, plain), plain.width() * plain.height() / 50);
}
