// Turntables, camera paths and animations, checked by their values.

#include "kernel/util/framebacklog.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/support/logcapture.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/animationmotion.h"
#include "trajectory/camerapath.h"
#include "trajectory/pathlines.h"
#include "trajectory/recordingpace.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"
#include "trajectory/trajectoryreader.h"
#include "trajectory/turntable.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <thread>

using namespace tov::trajectory;
using tov::math::Matrix4;
using tov::scene::Animation;
using tov::scene::AnimationChannel;
using tov::scene::Camera;
using tov::scene::Geometry;
using tov::scene::GeometryElement;
using tov::scene::ModelData;
using tov::scene::SceneElement;
using tov::scene::SceneLocker;
using tov::scene::Vector3;
using tov::scene::Viewer;
using tov::test::processUntil;
using Path = AnimationChannel::Path;
using Interpolation = AnimationChannel::Interpolation;

namespace {

GeometryElement* box(const QString& name, float x, float y, float z)
{
    Geometry geometry;
    for (int i = 0; i < 8; ++i)
        geometry.positions.insert(geometry.positions.end(), {i & 1 ? x : -x, i & 2 ? y : -y, i & 4 ? z : -z});
    geometry.indices = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6};
    return new GeometryElement(name, std::move(geometry));
}

double difference(const Matrix4& a, const Matrix4& b)
{
    double largest = 0;
    for (int i = 0; i < 16; ++i)
        largest = std::max(largest, std::fabs(a.data()[i] - b.data()[i]));
    return largest;
}

class MotionTest : public testing::Test
{
protected:
    void SetUp() override
    {
        auto* root = new SceneElement(QStringLiteral("root"));
        root->addChild(box(QStringLiteral("long"), 10, 1, 2));
        carrier = new SceneElement(QStringLiteral("carrier"));
        root->addChild(carrier);
        Viewer::getInstance()->getGlobalScene()->setRootNode(root);
    }
    void TearDown() override
    {
        while (!Viewer::getInstance()->getPanels().empty())
            Viewer::getInstance()->closePanel(Viewer::getInstance()->getPanels().back());
        handler()->selectMode(TrajectoryHandler::ModeNone);
        Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
    }
    static TrajectoryHandler* handler() { return TrajectoryHandler::getInstance(); }
    static tov::gui::ScenePanel* newPanel(int width = 400, int height = 300)
    {
        auto* panel = new tov::gui::ScenePanel;
        panel->resize(width, height);
        panel->setStandardView(tov::gui::ScenePanel::StandardView::Right); // the short side
        Viewer::getInstance()->setActivePanel(panel);
        return panel;
    }
    /// Extent of the scene in the panel's picture: 1 is the edge.
    static double reach(const tov::gui::ScenePanel* panel)
    {
        double largest = 0;
        const Matrix4 m = panel->getScaledTransformMatrix();
        tov::scene::forEachPoint(Viewer::getInstance()->getGlobalScene()->getRootNode(), [&](const Vector3& p) {
            double e[4];
            for (unsigned int r = 0; r < 4; ++r)
                e[r] = m(r, 0) * p[0] + m(r, 1) * p[1] + m(r, 2) * p[2] + m(r, 3);
            const double w = -e[2] * tov::scene::PictureHalfHeight;
            if (w <= 0)
                largest = 1e9;
            largest = std::max({largest, std::fabs(e[1] / w), std::fabs(e[0] / w) * panel->height() / panel->width()});
        });
        return largest;
    }
    /// A clip of the scene's model.
    void addAnimation(const Animation& animation)
    {
        auto data = std::make_shared<ModelData>();
        data->animations.push_back(animation);
        carrier->getParent()->setModelData(data);
    }
    AnimationChannel channel(Path path, Interpolation interpolation, std::vector<double> times,
                             std::vector<float> values) const
    {
        AnimationChannel result;
        result.target = carrier;
        result.path = path;
        result.interpolation = interpolation;
        result.times = std::move(times);
        result.values = std::move(values);
        return result;
    }
    SceneElement* carrier = nullptr;
};

CameraPath fiveViews(CameraPath::Options options = {})
{
    const Vector3 positions[] = {{0, 0, 10}, {8, 3, 5}, {9, -2, -4}, {-3, 6, -9}, {-8, 1, 2}};
    const double times[] = {0, 1, 2.5, 3, 5};
    std::vector<CameraPath::Key> keys;
    for (std::size_t i = 0; i < 5; ++i) {
        Camera camera = *tov::scene::lookAt(positions[i], {0.3 * double(i), 0, -0.1 * double(i)}, {0, 1, 0});
        camera.orbit(0, 0, 20.0 * double(i));
        keys.push_back({times[i], camera});
    }
    CameraPath path;
    QString error;
    EXPECT_TRUE(CameraPath::create(keys, options, path, &error)) << error.toStdString();
    return path;
}

/// Position, target and up: the visible properties.
std::array<double, 9> numbersOf(const Camera& camera)
{
    const Vector3 p = camera.position(), u = camera.up();
    return {p[0], p[1], p[2], camera.target[0], camera.target[1], camera.target[2], u[0], u[1], u[2]};
}

} // namespace

TEST_F(MotionTest, TurntablesCloseTheirLoopExactly)
{
    for (const bool swings : {false, true})
        for (const Ease ease : {Ease::None, Ease::InOut}) {
            TurntableOptions options;
            options.frames = 37;
            options.turns = 3;
            options.swing = swings ? 70 : 0;
            options.ease = ease;
            options.axis = {1, 2, 3};
            Camera view;
            view.distance = 40;
            const auto turntable = Turntable::create(options, view, {1, 0, 2}, nullptr);
            ASSERT_TRUE(turntable);
            EXPECT_EQ(turntable->frameCount(), 37u);
            EXPECT_LT(difference(turntable->cameraAt(0)->pose(), turntable->cameraAt(37)->pose()), 1e-9);
            EXPECT_LT(difference(turntable->cameraAt(0)->pose(), view.pose()), 1e-12) << "it starts from the view";
            EXPECT_GT(difference(turntable->cameraAt(0)->pose(), turntable->cameraAt(36)->pose()), 0.01);
        }
}

TEST_F(MotionTest, TurntablesTurnBothWaysAndFromAnElevation)
{
    TurntableOptions options;
    options.frames = 4;
    options.elevation = 30;
    Camera view;
    view.distance = 10;
    const auto left = Turntable::create(options, view, {0, 0, 0}, nullptr);
    options.reverse = true;
    const auto right = Turntable::create(options, view, {0, 0, 0}, nullptr);
    EXPECT_NEAR(left->cameraAt(1)->position()[0], 10 * std::cos(M_PI / 6), 1e-9);
    EXPECT_NEAR(right->cameraAt(1)->position()[0], -10 * std::cos(M_PI / 6), 1e-9);
    for (unsigned long i = 0; i < 4; ++i)
        EXPECT_NEAR(left->cameraAt(i)->position()[1], 5, 1e-9) << "the elevation stays";
    QString error;
    options.axis = {0, 0, 0};
    EXPECT_FALSE(Turntable::create(options, view, {0, 0, 0}, &error));
    EXPECT_FALSE(error.isEmpty());
    options.axis = {0, 1, 0};
    options.turns = std::nan("");
    EXPECT_FALSE(Turntable::create(options, view, {0, 0, 0}, &error));
}

TEST_F(MotionTest, TurntablesNeverCropTheModel)
{
    for (const bool orthographic : {false, true})
        for (const double fieldOfView : {25.0, 46.0, 90.0})
            for (const QSize size : {QSize(400, 300), QSize(200, 500)}) {
                auto* panel = newPanel(size.width(), size.height());
                panel->setFieldOfView(fieldOfView);
                panel->setOrthographic(orthographic);
                panel->fitToView(); // seen along its length: from the side it is five times as wide
                ASSERT_TRUE(handler()->selectTurntable(90, nullptr));
                double largest = 0;
                for (unsigned long i = 0; i < 90; ++i) {
                    handler()->setPosition(i);
                    largest = std::max(largest, reach(panel));
                }
                EXPECT_LE(largest, 1 / 1.032) << "videos show a little less than pictures";
                EXPECT_GE(largest, 0.9) << "no farther than needed";
                Viewer::getInstance()->closePanel(panel);
            }
}

TEST_F(MotionTest, ZoomingWhileATurntableIsSelectedIsKept)
{
    auto* panel = newPanel();
    ASSERT_TRUE(handler()->selectTurntable(8, nullptr));
    handler()->setPosition(2);
    const double before = panel->getCamera().distance;
    panel->zoom(2);
    handler()->setPosition(3);
    EXPECT_NEAR(panel->getCamera().distance, before / 2, 1e-9);
    handler()->setPosition(2);
    EXPECT_NEAR(panel->getCamera().distance, before / 2, 1e-9);
    const Matrix4 view = panel->getScaledTransformMatrix();
    panel->orbit(10, 5);
    const Matrix4 orbited = panel->getScaledTransformMatrix();
    EXPECT_GT(difference(view, orbited), 1);
    handler()->setPosition(2);
    EXPECT_LT(difference(panel->getScaledTransformMatrix(), orbited), 1e-6) << "the view does not jump back";
}

TEST_F(MotionTest, PathsPassEveryViewExactly)
{
    for (const bool loop : {false, true}) {
        CameraPath::Options options;
        options.loop = loop;
        const CameraPath path = fiveViews(options);
        for (const auto& key : path.getKeys()) {
            EXPECT_EQ(difference(path.splineAt(key.time).pose(), key.camera.pose()), 0);
            // There is no jump next to it either.
            EXPECT_LT(difference(path.splineAt(key.time + 1e-9).pose(), key.camera.pose()), 1e-6);
        }
        if (loop) {
            EXPECT_LT(difference(path.splineAt(path.duration()).pose(), path.splineAt(0).pose()), 1e-12);
        }
    }
}

TEST_F(MotionTest, PathsAreContinuousInValueAndFirstDerivative)
{
    for (const bool loop : {false, true}) {
        CameraPath::Options options;
        options.loop = loop;
        const CameraPath path = fiveViews(options);
        const double h = 1e-5;
        const auto slope = [&](double from, double to) {
            const auto a = numbersOf(path.splineAt(from)), b = numbersOf(path.splineAt(to));
            std::array<double, 9> result;
            for (std::size_t k = 0; k < 9; ++k)
                result[k] = (b[k] - a[k]) / (to - from);
            return result;
        };
        for (double t = 0.1; t < path.duration() - 0.1; t += 0.05)
            for (std::size_t k = 0; k < 9; ++k)
                EXPECT_NEAR(slope(t - h, t)[k], slope(t, t + h)[k], 0.02) << t;
        for (std::size_t i = 1; i < 4; ++i) {
            const double t = path.getKeys()[i].time;
            for (std::size_t k = 0; k < 9; ++k)
                EXPECT_NEAR(slope(t - h, t)[k], slope(t, t + h)[k], 0.02) << "at view " << i;
        }
        if (loop) {
            for (std::size_t k = 0; k < 9; ++k)
                EXPECT_NEAR(slope(path.duration() - h, path.duration())[k], slope(0, h)[k], 0.02) << "around the loop";
        }
    }
}

TEST_F(MotionTest, PathsMoveAtConstantSpeedOnRequest)
{
    CameraPath::Options options;
    options.constantSpeed = true;
    const CameraPath path = fiveViews(options);
    double slowest = 1e9, fastest = 0;
    for (int i = 0; i < 200; ++i) {
        const Vector3 a = path.cameraAt(path.duration() * i / 200).position();
        const Vector3 b = path.cameraAt(path.duration() * (i + 1) / 200).position();
        const double step = std::hypot(b[0] - a[0], b[1] - a[1], b[2] - a[2]);
        slowest = std::min(slowest, step);
        fastest = std::max(fastest, step);
    }
    EXPECT_LT(fastest / slowest, 1.03);
    EXPECT_LT(difference(path.cameraAt(0).pose(), path.getKeys().front().camera.pose()), 1e-9);
    EXPECT_LT(difference(path.cameraAt(path.duration()).pose(), path.getKeys().back().camera.pose()), 1e-9);
}

TEST_F(MotionTest, EasedPathsStartAndEndSlowly)
{
    CameraPath::Options options;
    options.ease = Ease::InOut;
    const CameraPath path = fiveViews(options), plain = fiveViews();
    const auto moved = [](const CameraPath& p, double from, double to) {
        const Vector3 a = p.cameraAt(from).position(), b = p.cameraAt(to).position();
        return std::hypot(b[0] - a[0], b[1] - a[1], b[2] - a[2]);
    };
    EXPECT_LT(moved(path, 0, 0.01), 0.05 * moved(plain, 0, 0.01));
    EXPECT_LT(moved(path, 4.99, 5), 0.05 * moved(plain, 4.99, 5));
    EXPECT_EQ(eased(Ease::In, 1), 1);
    EXPECT_EQ(eased(Ease::Out, 0), 0);
}

TEST_F(MotionTest, ViewsOfOneTargetAreJoinedByAnOrbit)
{
    std::vector<CameraPath::Key> keys{{0, *tov::scene::lookAt({0, 0, 10}, {0, 0, 0}, {0, 1, 0})},
                                      {1, *tov::scene::lookAt({10, 0, 0}, {0, 0, 0}, {0, 1, 0})}};
    CameraPath path;
    ASSERT_TRUE(CameraPath::create(keys, {}, path, nullptr));
    for (double t = 0; t <= 1; t += 0.1) {
        const Camera camera = path.cameraAt(t);
        const Vector3 p = camera.position();
        EXPECT_NEAR(std::hypot(p[0], p[1], p[2]), 10, 1e-9);
        EXPECT_NEAR(camera.up()[1], 1, 1e-9);
    }
}

TEST_F(MotionTest, PathFilesAreReadWrittenAndRefused)
{
    CameraPath::Options options;
    options.loop = true;
    options.duration = 7;
    options.constantSpeed = true;
    options.ease = Ease::Out;
    const CameraPath path = fiveViews(options);
    CameraPath again;
    QString error;
    ASSERT_TRUE(CameraPath::fromJson(path.toJson(), again, &error)) << error.toStdString();
    EXPECT_EQ(again.duration(), 7);
    EXPECT_TRUE(again.getOptions().constantSpeed);
    EXPECT_EQ(again.getOptions().ease, Ease::Out);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_LT(difference(again.getKeys()[i].camera.pose(), path.getKeys()[i].camera.pose()), 1e-9);
    ASSERT_TRUE(CameraPath::fromJson("{\"version\": 1, \"keys\": [{\"time\": 0, \"matrix\": "
                                     "[1,0,0,2, 0,1,0,3, 0,0,1,4, 0,0,0,1], \"distance\": 5}]}",
                                     again, &error))
        << error.toStdString();
    EXPECT_EQ(again.cameraAt(0).position(), (Vector3{2, 3, 4}));
    for (const char* bad :
         {"", "[", "[]", "{}", "{\"version\": 2}", "{\"version\": 1}", "{\"version\": 1, \"keys\": []}",
          "{\"version\": 1, \"keys\": [{}]}", "{\"version\": 1, \"keys\": [{\"time\": 0}]}",
          "{\"version\": 1, \"keys\": [{\"time\": 0, \"position\": [0,0,1], \"target\": [0,0,1]}]}",
          "{\"version\": 1, \"keys\": [{\"time\": 0, \"position\": [0,0,1e999], \"target\": [0,0,1]}]}",
          "{\"version\": 1, \"keys\": [{\"time\": 1, \"position\": [0,0,1], \"target\": [0,0,0]},"
          "{\"time\": 1, \"position\": [0,1,1], \"target\": [0,0,0]}]}",
          "{\"version\": 1, \"ease\": \"bouncy\", \"keys\": [{\"time\": 0, \"position\": [0,0,1], \"target\": "
          "[0,0,0]}]}"}) {
        error.clear();
        EXPECT_FALSE(CameraPath::fromJson(bad, again, &error)) << bad;
        EXPECT_TRUE(!error.isEmpty() && !error.contains(QLatin1Char('\n'))) << bad;
    }
    // A path of 1e12 seconds has too many frames.
    ASSERT_TRUE(CameraPath::fromJson("{\"version\": 1, \"keys\": [{\"time\": 0, \"position\": [0,0,1], \"target\": "
                                     "[0,0,0]}, {\"time\": 1e12, \"position\": [0,1,1], \"target\": [0,0,0]}]}",
                                     again, &error));
    EXPECT_FALSE(PathMotion::create(again, 30, 0, &error));
    EXPECT_TRUE(PathMotion::create(again, 30, 2, &error));
}

TEST_F(MotionTest, ThePathIsALineWithACameraAtEachView)
{
    EXPECT_EQ(pathLines(), nullptr) << "nothing is selected";
    ASSERT_TRUE(handler()->selectPath(fiveViews(), PlaybackOptions(), nullptr));
    const auto lines = pathLines();
    ASSERT_TRUE(lines);
    EXPECT_TRUE(lines->isOfCamera);
    ASSERT_FALSE(lines->strips.empty());
    const auto& line = lines->strips.front();
    EXPECT_EQ(line.points.size(), handler()->getCount());
    std::size_t outlines = 0;
    for (const auto& strip : lines->strips)
        outlines += strip.kind == tov::scene::PanelOverlay::Kind::Camera;
    EXPECT_EQ(outlines, 2 * fiveViews().getKeys().size()) << "two strips for each";
    const auto near = [](const Vector3& a, const Vector3& b) {
        return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]) < 1e-9;
    };
    EXPECT_TRUE(near(line.points.front(), fiveViews().getKeys().front().camera.position()));
    EXPECT_TRUE(near(line.points.back(), fiveViews().getKeys().back().camera.position()));
    const auto path = fiveViews();
    for (const auto& key : path.getKeys()) {
        const bool isOutlined = std::any_of(lines->strips.begin() + 1, lines->strips.end(), [&](const auto& strip) {
            return std::any_of(strip.points.begin(), strip.points.end(),
                               [&](const Vector3& point) { return near(point, key.camera.position()); });
        });
        EXPECT_TRUE(isOutlined) << key.time;
    }
}

TEST_F(MotionTest, PathFramesStartAtTheFirstViewAndEndAtTheLast)
{
    const CameraPath path = fiveViews();
    const auto motion = PathMotion::create(path, 30, 0, nullptr);
    ASSERT_TRUE(motion);
    EXPECT_EQ(motion->frameCount(), 150u) << "5 s at 30 frames per second";
    EXPECT_EQ(difference(motion->cameraAt(0)->pose(), path.getKeys().front().camera.pose()), 0);
    EXPECT_EQ(difference(motion->cameraAt(149)->pose(), path.getKeys().back().camera.pose()), 0);
    EXPECT_EQ(PathMotion::create(path, 10, 2, nullptr)->frameCount(), 20u);
}

TEST_F(MotionTest, ChannelsHaveTheValuesComputedByHand)
{
    const std::vector<double> times{1, 2, 4};
    const auto step = channel(Path::Translation, Interpolation::Step, times, {0, 0, 0, 1, 2, 3, 5, 6, 7});
    EXPECT_EQ(sampled(step, 1.99), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ(sampled(step, 2), (std::vector<double>{1, 2, 3}));
    const auto linear = channel(Path::Translation, Interpolation::Linear, times, {0, 0, 0, 1, 2, 3, 5, 6, 7});
    EXPECT_EQ(sampled(linear, 0), (std::vector<double>{0, 0, 0})) << "before the first key";
    EXPECT_EQ(sampled(linear, 3), (std::vector<double>{3, 4, 5}));
    EXPECT_EQ(sampled(linear, 9), (std::vector<double>{5, 6, 7})) << "after the last key";
    // In-tangent, value, out-tangent: p(1/2) = (0 + 1) / 2 + (2 - 4) / 8 over one second.
    const auto cubic = channel(Path::Scale, Interpolation::CubicSpline, {0, 1},
                               {0, 0, 0, 0, 0, 0, 2, 2, 2, 4, 4, 4, 1, 1, 1, 0, 0, 0});
    EXPECT_NEAR(sampled(cubic, 0.5)[1], 0.25, 1e-12);
    EXPECT_EQ(sampled(cubic, 1), (std::vector<double>{1, 1, 1}));
    // A quarter turn about y, the second key with the opposite sign: the short way.
    const float r = float(std::sqrt(0.5));
    const auto rotation = channel(Path::Rotation, Interpolation::Linear, {0, 1}, {0, 0, 0, 1, 0, -r, 0, -r});
    EXPECT_NEAR(sampled(rotation, 0.5)[1], std::sin(M_PI / 8), 1e-7);
    EXPECT_NEAR(sampled(rotation, 0.5)[3], std::cos(M_PI / 8), 1e-7);
}

TEST_F(MotionTest, AnimationsMoveElementsFrameByFrame)
{
    Matrix4 rest = Matrix4::identity();
    rest(0, 0) = rest(1, 1) = rest(2, 2) = 2;
    rest(1, 3) = 7;
    carrier->setTransform(rest);
    const float r = float(std::sqrt(0.5));
    addAnimation({QStringLiteral("Walk"),
                  2,
                  {channel(Path::Rotation, Interpolation::Linear, {0, 2}, {0, 0, 0, 1, 0, 0, r, r}),
                   channel(Path::Translation, Interpolation::Linear, {0, 2}, {0, 7, 0, 4, 7, 0})}});
    PlaybackOptions options;
    options.fps = 10;
    QString error;
    EXPECT_EQ(handler()->getAnimationNames(), QStringList{QStringLiteral("Walk")});
    EXPECT_FALSE(handler()->selectAnimation(QStringLiteral("run"), options, &error));
    EXPECT_EQ(error.toStdString(), "no animation \"run\"; known: Walk");
    ASSERT_TRUE(handler()->selectAnimation(QStringLiteral("walk"), options, &error)) << error.toStdString();
    EXPECT_EQ(handler()->getCount(), 20u);
    EXPECT_EQ(handler()->getAdvancedTrajectoryInfo()->getMatrixMapList()->size(), 20u);
    handler()->setPosition(10);
    const Matrix4& now = carrier->getTransform();
    EXPECT_NEAR(now(0, 3), 2, 1e-6);
    EXPECT_NEAR(now(0, 0), 2 * std::cos(M_PI / 4), 1e-6) << "the scale at rest is kept";
    EXPECT_NEAR(now(1, 0), 2 * std::sin(M_PI / 4), 1e-6);
    // Stretched and repeated.
    options.seconds = 4;
    ASSERT_TRUE(handler()->selectAnimation(QString(), options, &error));
    EXPECT_EQ(handler()->getCount(), 40u);
    handler()->setPosition(20);
    EXPECT_NEAR(carrier->getTransform()(0, 3), 2, 1e-6);
    options.repeat = true;
    ASSERT_TRUE(handler()->selectAnimation(QString(), options, &error));
    handler()->setPosition(25);
    EXPECT_NEAR(carrier->getTransform()(0, 3), 1, 1e-6);
    // The element is deleted: nothing else moves.
    {
        tov::scene::SceneEdit edit(Viewer::getInstance()->getGlobalScene().get(), SceneLocker::LockAll);
        delete carrier->getParent()->takeChild(carrier);
    }
    handler()->setPosition(3);
}

TEST_F(MotionTest, APathAndAnAnimationRunTogether)
{
    addAnimation(
        {QStringLiteral("move"), 2, {channel(Path::Translation, Interpolation::Linear, {0, 2}, {0, 0, 0, 4, 0, 0})}});
    auto* panel = newPanel();
    PlaybackOptions options;
    options.fps = 10;
    const CameraPath path = fiveViews();
    ASSERT_TRUE(handler()->selectPath(path, options, nullptr));
    ASSERT_TRUE(handler()->addAnimation(QString(), options, nullptr));
    EXPECT_EQ(handler()->getCount(), 50u) << "as long as the longer one";
    handler()->setPosition(10);
    EXPECT_NEAR(carrier->getTransform()(0, 3), 2, 1e-6);
    const double time = path.duration() * 10 / 49;
    EXPECT_LT(difference(panel->getCamera().pose(), path.cameraAt(time).pose()), 1e-9);
    handler()->setPosition(49);
    EXPECT_NEAR(carrier->getTransform()(0, 3), 3.8, 1e-6) << "the animation holds its last frame";
}

TEST_F(MotionTest, HostileAnimationsAreRefusedInOneLine)
{
    const double nan = std::nan("");
    const auto good = channel(Path::Translation, Interpolation::Linear, {0, 2}, {0, 0, 0, 4, 0, 0});
    const auto refused = [&](double duration, AnimationChannel bad, const char* what) {
        QString error;
        PlaybackOptions options;
        EXPECT_FALSE(AnimationMotion::create({QStringLiteral("a\nb %1"), duration, {good, bad}}, options, &error))
            << what;
        EXPECT_TRUE(!error.isEmpty() && !error.contains(QLatin1Char('\n'))) << error.toStdString();
    };
    auto bad = good;
    bad.times = {0, nan};
    refused(2, bad, "a time that is not a number");
    bad.times = {2, 0};
    refused(2, bad, "keys that are not sorted");
    bad.times = {0};
    bad.values = {0, 0, 0, 0};
    refused(2, bad, "too many values");
    bad.times = {};
    refused(2, bad, "no keys");
    bad = good;
    bad.values[1] = std::numeric_limits<float>::infinity();
    refused(2, bad, "a value that is not a number");
    refused(nan, good, "a duration that is not a number");
    refused(-1, good, "a negative duration");
    refused(1e12, good, "a clip of 1e12 seconds");
    // A clip of length 0 is one frame.
    auto still = channel(Path::Translation, Interpolation::Linear, {0}, {1, 2, 3});
    const auto motion = AnimationMotion::create({QString(), 0, {still}}, PlaybackOptions(), nullptr);
    ASSERT_TRUE(motion);
    EXPECT_EQ(motion->frameCount(), 1u);
    EXPECT_EQ(motion->timeAt(0), 0);
}

TEST_F(MotionTest, FilesPlayAtTheirOwnSpeed)
{
    TimedPoints points;
    QString error;
    PlaybackOptions options;
    options.fps = 10;
    ASSERT_TRUE(TrajectoryReader::readCsv("t,x,y,z\n5,0,0,0\n6,1,0,0\n7.5,1,3,0\n", points, &error));
    TimedPoints every = points;
    ASSERT_TRUE(resample(points, options, &error)) << error.toStdString();
    ASSERT_EQ(points.values.size(), 25u) << "2.5 s at 10 frames per second";
    EXPECT_NEAR(points.values[5][0], 0.5, 1e-12);
    EXPECT_NEAR(points.values[10][0], 1, 1e-12);
    EXPECT_NEAR(points.values[16][1], 1.2, 1e-12);
    options.everyPosition = true;
    ASSERT_TRUE(resample(every, options, &error));
    EXPECT_EQ(every.values.size(), 3u);
    options.everyPosition = false;
    TimedMaps maps;
    ASSERT_TRUE(TrajectoryReader::readTum("0 0 0 0 0 0 0 1\n2 4 0 0 0 1 0 0\n", maps, &error));
    ASSERT_TRUE(resample(maps, options, &error));
    ASSERT_EQ(maps.values.size(), 20u);
    const Matrix4& middle = maps.values[10].at(QStringLiteral("camera"));
    EXPECT_NEAR(middle(0, 3), 2, 1e-12);
    EXPECT_NEAR(std::fabs(middle(0, 2)), 1, 1e-9) << "half of half a turn about y";
    ASSERT_TRUE(TrajectoryReader::readJson("[{\"time\": 0, \"a\": [1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]},"
                                           "{\"time\": 1, \"a\": [1,0,0,8,0,1,0,0,0,0,1,0,0,0,0,1]}]",
                                           maps, &error));
    ASSERT_TRUE(resample(maps, options, &error));
    EXPECT_EQ(maps.values.size(), 10u);
    EXPECT_NEAR(maps.values[5].at(QStringLiteral("a"))(0, 3), 4, 1e-12);
    EXPECT_FALSE(TrajectoryReader::readJson("[{\"time\": 0}, {}]", maps, &error));
    for (const char* bad : {"t,x,y,z\n1,0,0,0\n0,1,1,1\n", "t,x,y,z\n0,0,0,0\n1e300,1,1,1\n"}) {
        ASSERT_TRUE(TrajectoryReader::readCsv(bad, points, &error));
        EXPECT_FALSE(resample(points, options, &error)) << bad;
        EXPECT_FALSE(error.contains(QLatin1Char('\n')));
    }
}

TEST_F(MotionTest, ASelectionWithTimesLastsAsLongAtAnotherRate)
{
    QTemporaryDir folder;
    const auto write = [&folder](const char* name, const char* text) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    };
    const QString timed = write("timed.csv", "0,1,2,3\n2,4,5,6\n"), plain = write("plain.csv", "1,2,3\n4,5,6\n");
    PlaybackOptions options;
    options.fps = 10;
    ASSERT_TRUE(handler()->openFile(timed, options, nullptr));
    EXPECT_EQ(handler()->getCount(), 20u);
    EXPECT_EQ(handler()->getFrameRate(), 10);
    handler()->setPosition(7);
    ASSERT_TRUE(handler()->setFrameRate(30, nullptr));
    EXPECT_EQ(handler()->getCount(), 60u);
    EXPECT_EQ(handler()->getFrameRate(), 30);
    EXPECT_EQ(handler()->getPosition(), 0u);
    ASSERT_TRUE(handler()->selectPath(fiveViews(), options, nullptr));
    const auto views = handler()->getCount();
    ASSERT_TRUE(handler()->setFrameRate(20, nullptr));
    EXPECT_EQ(handler()->getCount(), 2 * views);
    QString error;
    EXPECT_FALSE(handler()->setFrameRate(1e9, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(handler()->getCount(), 2 * views) << "the selection stays";
    ASSERT_TRUE(handler()->openFile(plain, options, nullptr));
    EXPECT_EQ(handler()->getFrameRate(), 0);
    EXPECT_TRUE(handler()->setFrameRate(30, nullptr));
    EXPECT_EQ(handler()->getCount(), 2u) << "one frame per position";
}

TEST_F(MotionTest, TheApplicationThreadNeverWaitsForAPicture)
{
    handler()->getTrajectoryInfo()->setPoints({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    handler()->getTrajectoryInfo()->setPosition(0);
    const auto scene = Viewer::getInstance()->getGlobalScene();
    {
        SceneLocker picture(scene.get(), SceneLocker::LockAll);
        handler()->getTrajectoryInfo()->setPosition(1); // would never return
        handler()->getTrajectoryInfo()->setPosition(2);
        EXPECT_EQ(carrier->getTransform()(0, 3), 1) << "the picture keeps the scene unchanged";
        // A turntable moves no element, so it continues.
        auto* panel = newPanel();
        const Matrix4 before = panel->getScaledTransformMatrix();
        ASSERT_TRUE(handler()->selectTurntable(4, nullptr));
        handler()->setPosition(1);
        EXPECT_GT(difference(panel->getScaledTransformMatrix(), before), 0.1);
    }
    EXPECT_TRUE(processUntil([&] { return carrier->getTransform()(0, 3) == 7; }))
        << "the last position is set afterwards";
}

TEST_F(MotionTest, ASceneThatIsLoadedLaterIsPutInPlace)
{
    auto place = Matrix4::identity();
    place(0, 3) = 5;
    handler()->getAdvancedTrajectoryInfo()->setMatrixMapList({{{QStringLiteral("load"), place}}, {}});
    handler()->selectMode(TrajectoryHandler::ModeAdvanced);
    handler()->setPosition(0);
    auto* root = new SceneElement(QStringLiteral("root"));
    auto* load = box(QStringLiteral("load"), 1, 1, 1);
    root->addChild(load);
    Viewer::getInstance()->getGlobalScene()->setRootNode(root);
    EXPECT_TRUE(processUntil([&] { return load->getTransform()(0, 3) == 5; }));
}

TEST_F(MotionTest, WithoutACountTheMemoryOfTheProcessIsLimited)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers keep freed memory for a while";
#endif
    constexpr std::size_t FrameBytes = 8000000;
    constexpr int FrameCount = 60;
    using Frame = std::vector<char>;
    handler()->getTrajectoryInfo()->setPoints(std::vector<Point>(FrameCount));
    std::mutex mutex;
    std::vector<Frame> pending; // guarded by mutex
    std::size_t most = 0;       // guarded by mutex
    std::atomic<bool> isOver{false};
    std::thread capture([&] {
        for (unsigned long i = 0; i < FrameCount; ++i) {
            TrajectoryHandler::getInstance()->getTrajectoryInfo()->setPosition(i);
            Frame frame(FrameBytes, 1);
            std::lock_guard<std::mutex> guard(mutex);
            pending.push_back(std::move(frame));
            most = std::max(most, pending.size());
        }
        isOver = true;
    });
    // The encoder takes a frame once capture waits, but does not count it. Waiting begins one frame after the limit,
    // because the first frame is not counted.
    const std::size_t limit = std::size_t(RecordingPace::limitBytes(0)) / FrameBytes + 1;
    EXPECT_TRUE(processUntil([&] {
        std::lock_guard<std::mutex> guard(mutex);
        if (pending.size() >= limit)
            pending.pop_back();
        return isOver.load();
    }));
    capture.join();
    EXPECT_GE(most, limit);
    EXPECT_LE(most, limit + 3);
}

TEST_F(MotionTest, CaptureThreadsWaitForTheEncoder)
{
    using tov::util::FrameBacklog;
    handler()->getTrajectoryInfo()->setPoints(std::vector<Point>(1000));
    constexpr qint64 FrameBytes = 40000000;
    const qint64 limit = RecordingPace::limitBytes(FrameBytes);
    EXPECT_GE(limit, RecordingPace::DefaultLimitMb * 1000000);
    std::atomic<int> captured{0};
    std::atomic<bool> started{false};
    std::thread capture([&] {
        auto* info = TrajectoryHandler::getInstance()->getTrajectoryInfo();
        info->setPosition(0);
        started = true;
        ++captured;
        while (FrameBacklog::totalTaken().frames == 0)
            std::this_thread::yield();
        for (unsigned long i = 1; i < 60; ++i) {
            info->setPosition(i);
            ++captured;
        }
    });
    ASSERT_TRUE(processUntil([&] { return started.load(); }));
    qint64 most = 0;
    for (int taken = 0; taken < 60; ++taken) {
        FrameBacklog::taken(1, FrameBytes);
        // The next frame is taken when capture has stopped at the limit, or has ended.
        EXPECT_TRUE(
            processUntil([&] { return captured == 60 || FrameBacklog::pending().bytes >= limit - FrameBytes; }));
        most = std::max(most, FrameBacklog::pending().bytes);
    }
    capture.join();
    EXPECT_EQ(captured, 60);
    EXPECT_LE(most, limit + FrameBytes);
    EXPECT_GE(most, limit - FrameBytes);
    FrameBacklog::clear();
}

TEST_F(MotionTest, CountersStayWhileAnEarlierRecordingIsEncoded)
{
    using tov::util::FrameBacklog;
    {
        RecordingPace::Run first([] { return false; });
        FrameBacklog::captured(5, 500);
        FrameBacklog::taken(1, 100);
        RecordingPace::Run second([] { return false; });
        EXPECT_EQ(FrameBacklog::pending().frames, 4);
    }
    EXPECT_FALSE(RecordingPace::isRecording());
    RecordingPace::Run next([] { return false; });
    EXPECT_EQ(FrameBacklog::pending().frames, 0) << "what an aborted recording left is forgotten";
}
