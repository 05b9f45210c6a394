// Panels: which calls move their camera and which do not.

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/geometryelement.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/view/cameraflight.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/scene/drawfixture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

using namespace tov::scene;
using tov::gui::ScenePanel;
using tov::math::Matrix4;
using tov::test::drawn;
using tov::test::SceneTest;

namespace {

/// A cube around the origin.
GeometryElement* cube(const QString& name, float half, float x = 0)
{
    Geometry geometry;
    for (int i = 0; i < 8; ++i)
        geometry.positions.insert(geometry.positions.end(),
                                  {x + (i & 1 ? half : -half), i & 2 ? half : -half, i & 4 ? half : -half});
    geometry.indices = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                        2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
    return new GeometryElement(name, std::move(geometry));
}

class PanelTest : public SceneTest
{
protected:
    void SetUp() override
    {
        auto* root = new SceneElement(QStringLiteral("root"));
        root->addChild(cube(QStringLiteral("cube"), 1));
        scene->setRootNode(root);
    }
    void TearDown() override
    {
        while (!Viewer::getInstance()->getPanels().empty())
            Viewer::getInstance()->closePanel(Viewer::getInstance()->getPanels().back());
        SceneTest::TearDown();
    }
    static ScenePanel* newPanel(int width = 640, int height = 480)
    {
        auto* panel = new ScenePanel;
        panel->resize(width, height);
        panel->setStandardView(StandardView::Front);
        return panel;
    }
    /// A part that is 100 times as large, far to the side.
    void addLargePart()
    {
        SceneEdit edit(scene.get(), SceneLocker::LockAll);
        scene->getRootNode()->addChild(cube(QStringLiteral("large"), 100, 300));
    }
    /// Where a scene point is in the panel's picture, from -1 to 1.
    static std::array<double, 2> seen(const ScenePanel* panel, const Vector3& point)
    {
        const Matrix4 m = panel->getScaledTransformMatrix();
        double p[4];
        for (unsigned int r = 0; r < 4; ++r)
            p[r] = m(r, 0) * point[0] + m(r, 1) * point[1] + m(r, 2) * point[2] + m(r, 3);
        return {p[0] / -p[2] / PictureHalfHeight * panel->height() / panel->width(), p[1] / -p[2] / PictureHalfHeight};
    }
};

} // namespace

TEST_F(PanelTest, FittingOnePanelDoesNotChangeAnother)
{
    ScenePanel* first = newPanel();
    ScenePanel* second = newPanel();
    const auto before = seen(first, {1, 1, 1});
    addLargePart();
    second->fitToView(); // the global scaling changes
    const auto fitted = seen(first, {1, 1, 1});
    EXPECT_NEAR(fitted[0], before[0], 1e-9);
    EXPECT_NEAR(fitted[1], before[1], 1e-9);
    // The next interaction starts from the same view.
    first->orbit(0, 0);
    const auto touched = seen(first, {1, 1, 1});
    EXPECT_NEAR(touched[0], before[0], 1e-9);
    EXPECT_NEAR(touched[1], before[1], 1e-9);
    first->zoom(1);
    EXPECT_NEAR(seen(first, {1, 1, 1})[0], before[0], 1e-9);
}

TEST_F(PanelTest, AChangeOfTheGlobalScalingIsAnnouncedAndReachesEveryMatrix)
{
    ScenePanel* first = newPanel();
    ScenePanel* second = newPanel();
    int announced = 0;
    bool unlocked = false;
    const void* key = &announced;
    tov::main::EventManager::getInstance()->registerEventFunction(
        tov::events::EventHandler::getInstance()->addEvent("Scene", "SCENE_GLOBALSCALING_CHANGED"),
        [&](const tov::main::Event*) {
            ++announced;
            scene->lock(); // receivers may use the scene
            unlocked = true;
            scene->unlock();
        },
        key);
    const double before = scene->getGlobalScaling();
    second->fitToView();
    EXPECT_EQ(announced, 0) << "nothing has changed";
    addLargePart();
    second->fitToView();
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(key);
    EXPECT_EQ(announced, 1);
    EXPECT_TRUE(unlocked);
    EXPECT_LT(scene->getGlobalScaling(), before / 50);
    EXPECT_NEAR(first->getScaledTransformMatrix()(2, 2), scene->getGlobalScaling(), 1e-9);
}

TEST_F(PanelTest, AMatrixThatWasSetSurvivesAChangeOfTheScaling)
{
    ScenePanel* first = newPanel();
    const Matrix4 exact = at(2500, 3);
    first->setScaledTransformMatrix(exact);
    addLargePart();
    newPanel()->fitToView();
    EXPECT_EQ(first->getScaledTransformMatrix(), exact);
}

TEST_F(PanelTest, LensesKeepThePlaneOfTheTarget)
{
    ScenePanel* panel = newPanel();
    const auto before = seen(panel, {1, 1, 0});
    for (const double degrees : {20.0, 90.0, 46.0}) {
        panel->setFieldOfView(degrees);
        EXPECT_EQ(panel->getFieldOfView(), degrees);
        EXPECT_NEAR(seen(panel, {1, 1, 0})[1], before[1], 1e-9);
    }
    panel->setOrthographic(true);
    EXPECT_TRUE(panel->isOrthographic());
    EXPECT_NEAR(seen(panel, {1, 1, 0})[0], before[0], 1e-9);
    // Parallel edges stay parallel: near and far corners coincide in a front view.
    EXPECT_NEAR(seen(panel, {1, 1, 1})[0], seen(panel, {1, 1, -1})[0], 1e-9);
    panel->setFieldOfView(1e9);
    EXPECT_EQ(panel->getFieldOfView(), Camera::MaxFieldOfView);
    panel->setFieldOfView(std::nan(""));
    EXPECT_EQ(panel->getFieldOfView(), Camera::MaxFieldOfView);
}

TEST_F(PanelTest, EveryViewFitsThePanelThatIsNeverShown)
{
    for (const QSize size : {QSize(1280, 720), QSize(200, 900), QSize(1, 1)})
        for (const bool orthographic : {false, true})
            for (const double fieldOfView : {15.0, 46.0, 110.0}) {
                ScenePanel* panel = newPanel(size.width(), size.height());
                panel->setOrthographic(orthographic);
                panel->setFieldOfView(fieldOfView);
                panel->setStandardView(StandardView::Isometric, 20, -30, 12);
                double largest = 0;
                for (int corner = 0; corner < 8; ++corner) {
                    const auto at = seen(panel, {corner & 1 ? 1. : -1., corner & 2 ? 1. : -1., corner & 4 ? 1. : -1.});
                    largest = std::max({largest, std::fabs(at[0]), std::fabs(at[1])});
                }
                EXPECT_LE(largest, 1) << size.width() << " " << orthographic << " " << fieldOfView;
                EXPECT_GE(largest, 0.9) << size.width() << " " << orthographic << " " << fieldOfView;
                Viewer::getInstance()->closePanel(panel);
            }
}

TEST_F(PanelTest, ThePanelStillPansZoomsAndPicksWithEveryLens)
{
    for (const bool orthographic : {false, true}) {
        ScenePanel* panel = newPanel(800, 600);
        panel->setOrthographic(orthographic);
        panel->setFieldOfView(70);
        panel->orbit(30, 20);
        const Vector3 target = panel->getCamera().target;
        panel->pan(100, 50);
        auto at = seen(panel, target);
        EXPECT_NEAR(at[0], 100 / 400.0, 1e-9);
        EXPECT_NEAR(at[1], -50 / 300.0, 1e-9);
        const auto ray = panel->rayAt(QPointF(500, 350));
        ASSERT_TRUE(ray);
        double along = 0, square = 0;
        for (std::size_t i = 0; i < 3; ++i)
            along += (target[i] - ray->origin[i]) * ray->direction[i];
        for (std::size_t i = 0; i < 3; ++i)
            square += std::pow(ray->origin[i] + along * ray->direction[i] - target[i], 2);
        EXPECT_LT(std::sqrt(square), 1e-6);
        panel->pan(-100, -50);
        panel->zoom(2);
        const double half = panel->getCamera().halfHeight();
        panel->zoom(0.5);
        EXPECT_NEAR(panel->getCamera().halfHeight(), 2 * half, 1e-9);
        Viewer::getInstance()->closePanel(panel);
    }
}

TEST_F(PanelTest, ACameraIsRestoredFromItsMatrix)
{
    ScenePanel* panel = newPanel();
    for (const bool orthographic : {false, true}) {
        panel->setOrthographic(orthographic);
        panel->setFieldOfView(30);
        panel->setStandardView(StandardView::Isometric);
        const Matrix4 matrix = panel->getScaledTransformMatrix();
        ScenePanel* other = newPanel();
        other->setScaledTransformMatrix(matrix);
        EXPECT_EQ(other->getScaledTransformMatrix(), matrix);
        other->orbit(0, 0); // continues from there
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(other->getScaledTransformMatrix().data()[i], matrix.data()[i],
                        1e-6 * (1 + std::fabs(matrix.data()[i])))
                << i;
        EXPECT_EQ(other->isOrthographic(), orthographic);
    }
}

TEST_F(PanelTest, TheGuideFrameHoldsTheFittedScene)
{
    ScenePanel* panel = newPanel(800, 400);
    EXPECT_EQ(panel->getGuideFrame(), QRectF(0, 0, 800, 400));
    panel->setGuideAspect(0.5);
    EXPECT_EQ(panel->getGuideFrame(), QRectF(300, 0, 200, 400));
    panel->fitToView();
    double largest = 0;
    for (int corner = 0; corner < 8; ++corner)
        largest = std::max(
            largest, std::fabs(seen(panel, {corner & 1 ? 1. : -1., corner & 2 ? 1. : -1., corner & 4 ? 1. : -1.})[0]));
    EXPECT_LE(largest, 0.25) << "a quarter of the panel's half width";
    EXPECT_GE(largest, 0.225);
    panel->setGuideAspect(4); // wider than the panel: the picture shows all of it, and more
    EXPECT_EQ(panel->getGuideFrame(), QRectF(0, 0, 800, 400));
    panel->setGuideAspect(-1);
    EXPECT_EQ(panel->getGuideAspect(), 0);
}

TEST_F(PanelTest, TheGuideFrameDimsOnlyWhatIsOutside)
{
    ScenePanel* panel = newPanel(400, 200);
    const QImage plain = panel->grabFramebuffer();
    panel->setGuideAspect(1);
    const QImage guided = panel->grabFramebuffer();
    ASSERT_EQ(plain.size(), guided.size());
    EXPECT_EQ(guided.pixel(200, 100), plain.pixel(200, 100));
    EXPECT_EQ(guided.pixel(120, 10), plain.pixel(120, 10));
    EXPECT_LT(qGray(guided.pixel(20, 100)), qGray(plain.pixel(20, 100)) + 1);
    int changed = 0;
    for (int x = 0; x < 200; ++x)
        changed += guided.pixel(x, 50) != plain.pixel(x, 50);
    EXPECT_NEAR(changed, 100, 1) << "up to the edge of the frame";
    // The next drawing is not affected by the state that the frame was drawn with.
    panel->setGuideAspect(0);
    EXPECT_EQ(panel->grabFramebuffer(), plain);
}

namespace {

/// A wavy surface of 2 * `side` * `side` triangles.
SceneElement* wavySurface(int side)
{
    Geometry geometry;
    for (int y = 0; y <= side; ++y)
        for (int x = 0; x <= side; ++x)
            geometry.positions.insert(geometry.positions.end(),
                                      {float(x) * 2.0f / float(side) - 1, float(y) * 2.0f / float(side) - 1,
                                       0.1f * std::sin(float(x) * 0.1f) * std::cos(float(y) * 0.1f)});
    const auto row = std::uint32_t(side) + 1;
    for (std::uint32_t y = 0; y + 1 < row; ++y)
        for (std::uint32_t x = 0; x + 1 < row; ++x) {
            const std::uint32_t at = y * row + x;
            geometry.indices.insert(geometry.indices.end(), {at, at + 1, at + row, at + 1, at + row + 1, at + row});
        }
    auto* root = new SceneElement(QStringLiteral("root"));
    root->addChild(new GeometryElement(QStringLiteral("surface"), std::move(geometry)));
    return root;
}

} // namespace

TEST_F(PanelTest, LargeScenesAreNotSmoothedWhileTheCameraMoves)
{
    const int samples = SceneDrawer::getMultisampling();
    SceneDrawer::setMultisampling(4);
    scene->setRootNode(wavySurface(120));
    ScenePanel* panel = newPanel(200, 150);
    panel->show();
    panel->grabFramebuffer();
    panel->setSketchAfter(0);
    panel->orbit(20, 10);
    const QImage moving = panel->grabFramebuffer();
    QImage complete = moving;
    QElapsedTimer waiting;
    for (waiting.start(); complete == moving && waiting.elapsed() < 20000; complete = panel->grabFramebuffer())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    EXPECT_NE(complete, moving) << "the smooth frame follows";
    int changed = 0, all = 0;
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x, ++all)
            changed += qAbs(qGray(moving.pixel(x, y)) - qGray(complete.pixel(x, y))) > 8;
    EXPECT_LT(changed, all / 20) << "only edges differ";
    panel->setSketchAfter(1000000);
    panel->orbit(1, 0);
    const QImage fast = panel->grabFramebuffer();
    for (waiting.restart(); waiting.elapsed() < 600;)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    EXPECT_EQ(panel->grabFramebuffer(), fast) << "views that are fast are smooth while they move";
    SceneDrawer::setMultisampling(samples);
}

TEST_F(PanelTest, LargeScenesAreSketchedOnlyWhileTheCameraMoves)
{
    scene->setRootNode(wavySurface(400)); // 320,000 triangles
    ScenePanel* panel = newPanel(400, 300);
    panel->setSketchAfter(0);
    panel->show();
    const QImage before = panel->grabFramebuffer();
    panel->orbit(20, 10);
    const QImage sketch = panel->grabFramebuffer();
    const auto covered = [&before](const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += image.pixel(x, y) != before.pixel(0, 0);
        return count;
    };
    QImage complete = sketch;
    QElapsedTimer waiting;
    for (waiting.start(); complete == sketch && waiting.elapsed() < 20000; complete = panel->grabFramebuffer())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    EXPECT_NE(complete, sketch) << "the complete frame follows";
    EXPECT_NE(before, complete);
    EXPECT_NEAR(covered(sketch), covered(complete), 0.05 * covered(complete)) << "no holes, and the same outline";
    EXPECT_EQ(panel->grabFramebuffer(), complete);
}

TEST_F(PanelTest, OrthographicPicturesShowParallelEdges)
{
    // Drawn with the projection of pictures: a cube seen from the front covers a square, without its sides.
    ScenePanel* panel = newPanel(256, 256);
    panel->setOrthographic(true);
    panel->fitToView();
    const double half = PictureHalfHeight;
    const QImage image = drawn(256, 256, -half, half, -half, half, panel->getScaledTransformMatrix());
    const double edge = 128 / ViewFitter::Margin; // pixels from the middle
    EXPECT_NEAR(covered(image), 4 * edge * edge, 4 * 2 * edge);
    // A tile far from the centre holds the same pixels.
    const QImage tile = drawn(128, 128, 0, half, 0, half, panel->getScaledTransformMatrix());
    EXPECT_EQ(tile, image.copy(128, 0, 128, 128));
}

TEST_F(PanelTest, TrajectoriesMoveTheCameraWithTheLensOfThePanel)
{
    ScenePanel* panel = newPanel();
    panel->setFieldOfView(80);
    QSignalSpy moved(panel, &ScenePanel::viewChanged);
    panel->setTrajectoryCamera(at(-20));
    EXPECT_EQ(moved.count(), 0) << "only the user and the program move the view";
    const Camera camera = panel->getCamera();
    EXPECT_EQ(camera.fieldOfView, 80);
    EXPECT_NEAR(camera.position()[2], 20, 1e-9);
    EXPECT_NEAR(seen(panel, {0, 20 * std::tan(40 * M_PI / 180), 0})[1], 1, 1e-9);
    panel->zoom(2);
    EXPECT_EQ(moved.count(), 1);
}

TEST_F(PanelTest, CamerasOfFilesAreTakenOver)
{
    auto* eye = new SceneElement(QStringLiteral("eye"));
    eye->setTransform(at(-9));
    {
        SceneEdit edit(scene.get(), SceneLocker::LockAll);
        scene->getRootNode()->addChild(eye);
    }
    FileCamera file;
    file.element = eye;
    file.fieldOfView = 1;
    ScenePanel* panel = newPanel();
    ASSERT_TRUE(panel->setFileCamera(file));
    EXPECT_NEAR(seen(panel, {0, 9 * std::tan(0.5), 0})[1], 1, 1e-9);
    EXPECT_FALSE(panel->setFileCamera(FileCamera()));
    EXPECT_NEAR(seen(panel, {0, 9 * std::tan(0.5), 0})[1], 1, 1e-9) << "nothing has moved";
}

TEST_F(PanelTest, AFlightIsDrawnOnlyAndEndsWithTheNextMove)
{
    addLargePart();
    ScenePanel* panel = newPanel();
    panel->show();
    const Camera from = panel->getCamera();
    const auto toTheRight = [panel] { panel->setStandardView(StandardView::Right); };
    panel->fly(toTheRight);
    EXPECT_FALSE(panel->isFlying()) << "no duration, no flight";
    EXPECT_EQ(panel->getShownCamera().rotation, standardRotation(StandardView::Right));
    panel->setStandardView(StandardView::Front);
    panel->setFlightDuration(3600000);
    const QImage before = panel->grabFramebuffer();
    panel->fly(toTheRight);
    EXPECT_TRUE(panel->isFlying());
    EXPECT_EQ(panel->getCamera().rotation, standardRotation(StandardView::Right)) << "pictures show the destination";
    EXPECT_NEAR(panel->getShownCamera().rotation(0, 0), from.rotation(0, 0), 0.01) << "the view has only just left";
    const auto differing = [&before](const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += image.pixel(x, y) != before.pixel(x, y);
        return count;
    };
    const int few = before.width() * before.height() / 100;
    EXPECT_LT(differing(panel->grabFramebuffer()), few);
    panel->orbit(0, 0);
    EXPECT_FALSE(panel->isFlying());
    EXPECT_GT(differing(panel->grabFramebuffer()), few);
    EXPECT_EQ(panel->getShownCamera().rotation(0, 0), panel->getCamera().rotation(0, 0));
    panel->hide();
    panel->fly(toTheRight);
    EXPECT_FALSE(panel->isFlying()) << "a hidden panel does not fly";
}

TEST_F(PanelTest, ARecordedPanelDoesNotFly)
{
    ScenePanel* panel = newPanel();
    panel->show();
    panel->setFlightDuration(3600000);
    std::thread([panel] { panel->getScaledTransformMatrix(); }).join();
    panel->fly([panel] { panel->setStandardView(StandardView::Top); });
    EXPECT_FALSE(panel->isFlying());
    EXPECT_EQ(panel->getCamera().rotation, standardRotation(StandardView::Top));
}

TEST_F(PanelTest, FlightsTurnTheShortWayAndArrive)
{
    Camera from, to;
    from.rotation = standardRotation(StandardView::Front);
    to.rotation = standardRotation(StandardView::Right);
    to.distance = 4 * from.distance;
    to.target = {2, 0, 0};
    const Camera middle = cameraBetween(from, to, 0.5);
    EXPECT_NEAR(middle.rotation(0, 0), std::sqrt(0.5), 1e-6);
    EXPECT_NEAR(middle.distance, 2 * from.distance, 1e-9);
    EXPECT_NEAR(middle.target[0], 1, 1e-12);
    const auto start = CameraFlight::Clock::now();
    const CameraFlight flight(from, to, start, std::chrono::milliseconds(100));
    ASSERT_TRUE(flight.cameraAt(start));
    EXPECT_NEAR(flight.cameraAt(start)->rotation(0, 0), 1, 1e-6);
    EXPECT_NEAR(flight.cameraAt(start + std::chrono::milliseconds(99))->rotation(0, 0), 0, 0.01);
    EXPECT_FALSE(flight.cameraAt(start + std::chrono::milliseconds(100)));
    // Opposite directions have no short way; any will do, but it must be one.
    to.rotation = standardRotation(StandardView::Back);
    for (const double share : {0.25, 0.5, 0.75}) {
        const auto rotation = cameraBetween(from, to, share).rotation;
        EXPECT_NEAR(tov::math::volumeScaleOf(rotation), 1, 1e-5);
    }
}

TEST_F(PanelTest, TheSurfacePointUnderThePointerBecomesTheCentre)
{
    for (const bool orthographic : {false, true}) {
        ScenePanel* panel = newPanel(800, 600);
        panel->setOrthographic(orthographic);
        panel->fitToView();
        const QPointF position(500, 200);
        const auto picked = panel->pickAt(position);
        ASSERT_TRUE(picked);
        EXPECT_NEAR(picked->point[2], 1, 1e-6) << "on the front face of the cube";
        const auto edge = panel->lineAt(picked->point, {picked->point[0] + 0.1, picked->point[1], picked->point[2]});
        ASSERT_TRUE(edge);
        EXPECT_NEAR(edge->p1().x(), position.x(), 1e-6);
        EXPECT_NEAR(edge->p1().y(), position.y(), 1e-6);
        ASSERT_TRUE(panel->centerAt(position));
        EXPECT_EQ(panel->getCamera().target, picked->point);
        const auto moved = panel->lineAt(picked->point, {picked->point[0] + 0.1, picked->point[1], picked->point[2]});
        EXPECT_NEAR(moved->p1().x(), 400, 1e-6);
        EXPECT_NEAR(moved->p1().y(), 300, 1e-6);
        EXPECT_NEAR(moved->length(), edge->length(), 1e-6) << "the point keeps its size";
        EXPECT_FALSE(panel->centerAt(QPointF(1, 1))) << "the background";
        Viewer::getInstance()->closePanel(panel);
    }
}

TEST_F(PanelTest, LinesBehindTheEyeAreCutOff)
{
    ScenePanel* panel = newPanel();
    panel->lookAt({0, 0, 5}, {0, 0, 0}, {0, 1, 0});
    EXPECT_FALSE(panel->lineAt({1, 0, 6}, {1, 0, 7}));
    const auto line = panel->lineAt({1, 0, 0}, {1, 0, 20});
    ASSERT_TRUE(line);
    EXPECT_GT(line->p2().x(), line->p1().x()) << "towards the right edge";
    EXPECT_NEAR(line->p2().y(), 240, 1e-6);
}

TEST_F(PanelTest, TheSelectionIsFittedAndTinted)
{
    addLargePart();
    ScenePanel* panel = newPanel(300, 300);
    const Camera before = panel->getCamera();
    panel->fitToSelection();
    EXPECT_EQ(panel->getCamera().target, before.target) << "nothing is selected";
    const QImage plain = panel->grabFramebuffer();
    scene->getRootNode()->getChildren()[0]->setSelected(true);
    const QImage tinted = panel->grabFramebuffer();
    EXPECT_NE(plain, tinted);
    panel->fitToSelection();
    double largest = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const auto at = seen(panel, {corner & 1 ? 1. : -1., corner & 2 ? 1. : -1., corner & 4 ? 1. : -1.});
        largest = std::max({largest, std::fabs(at[0]), std::fabs(at[1])});
    }
    EXPECT_LE(largest, 1);
    EXPECT_GE(largest, 0.9);
    const QRgb middle = panel->grabFramebuffer().pixel(150, 150);
    EXPECT_GT(qRed(middle), qBlue(middle) + 40) << "the tint is orange";
    // A selected group tints what is in it.
    scene->getRootNode()->getChildren()[0]->setSelected(false);
    EXPECT_NE(panel->grabFramebuffer().pixel(150, 150), middle);
    scene->getRootNode()->setSelected(true);
    EXPECT_EQ(panel->grabFramebuffer().pixel(150, 150), middle);
}
