#include "scene/scene.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/main/overseer.h"
#include "scene/closedsurface.h"
#include "scene/geometryelement.h"
#include "scene/globalscene.h"
#include "scene/scenedrawer.h"
#include "scene/sceneelement.h"
#include "scene/sceneimport.h"
#include "scene/scenelocker.h"
#include "scene/scenepanel.h"
#include "scene/sceneview.h"
#include "scene/sharedcontext.h"
#include "scene/ticketlock.h"
#include "scene/viewer.h"
#include "tests/support/logcapture.h"
#include "tests/support/threads.h"

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <thread>

using namespace tov::scene;
using tov::gui::ScenePanel;
using tov::math::Matrix4;
using tov::test::processUntil;

namespace {

const QString Bunny = QStringLiteral("/usr/share/glmark2/models/bunny.obj");

SceneElement* grid(int side)
{
    Geometry geometry;
    for (int y = 0; y <= side; ++y)
        for (int x = 0; x <= side; ++x)
            geometry.positions.insert(geometry.positions.end(), {float(x) / side - 0.5f, float(y) / side - 0.5f, 0.0f});
    const auto at = [side](int x, int y) { return std::uint32_t(y * (side + 1) + x); };
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            geometry.indices.insert(geometry.indices.end(), {at(x, y), at(x + 1, y), at(x, y + 1), at(x + 1, y),
                                                             at(x + 1, y + 1), at(x, y + 1)});
    auto* root = new SceneElement(QStringLiteral("root"));
    root->addChild(new GeometryElement(QStringLiteral("grid"), std::move(geometry)));
    return root;
}

/// A ball with a dent and a bump, closed: its triangles turn counter-clockwise seen from outside.
Geometry ball(int rings = 24, float x = 0)
{
    Geometry geometry;
    const int around = 2 * rings;
    const auto add = [&](double height, double turn) {
        const double r = std::sqrt(1 - height * height), size = 0.4 + 0.15 * r * std::sin(3 * turn);
        const float normal[3] = {float(r * std::cos(turn)), float(height), float(r * std::sin(turn))};
        for (int axis = 0; axis < 3; ++axis) {
            geometry.positions.push_back(float(size) * normal[axis] + (axis == 0 ? x : 0));
            geometry.normals.push_back(normal[axis]);
        }
    };
    add(1, 0);
    for (int ring = 1; ring < rings; ++ring)
        for (int i = 0; i < around; ++i)
            add(std::cos(ring * 3.14159265358979 / rings), i * 2 * 3.14159265358979 / around);
    add(-1, 0);
    const auto at = [&](int ring, int i) {
        return ring == 0 ? 0u : ring == rings ? std::uint32_t((rings - 1) * around + 1) : std::uint32_t((ring - 1) * around + 1 + i % around);
    };
    for (int ring = 0; ring < rings; ++ring)
        for (int i = 0; i < around; ++i) {
            if (ring > 0)
                geometry.indices.insert(geometry.indices.end(), {at(ring, i), at(ring, i + 1), at(ring + 1, i)});
            if (ring < rings - 1)
                geometry.indices.insert(geometry.indices.end(), {at(ring, i + 1), at(ring + 1, i + 1), at(ring + 1, i)});
        }
    return geometry;
}

Geometry turnedRound(Geometry geometry)
{
    for (std::size_t i = 0; i + 2 < geometry.indices.size(); i += 3)
        std::swap(geometry.indices[i], geometry.indices[i + 1]);
    return geometry;
}

/// The same triangles, none of which shares a vertex: to the eye as closed as before, by numbers open.
Geometry apart(const Geometry& geometry)
{
    Geometry result;
    for (const std::uint32_t index : geometry.indices) {
        result.indices.push_back(std::uint32_t(result.indices.size()));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            result.positions.push_back(geometry.positions[3 * std::size_t(index) + axis]);
            result.normals.push_back(geometry.normals[3 * std::size_t(index) + axis]);
        }
    }
    return result;
}

Geometry together(Geometry a, const Geometry& b)
{
    const auto first = std::uint32_t(a.positions.size() / 3);
    a.positions.insert(a.positions.end(), b.positions.begin(), b.positions.end());
    a.normals.insert(a.normals.end(), b.normals.begin(), b.normals.end());
    for (const std::uint32_t index : b.indices)
        a.indices.push_back(first + index);
    return a;
}

SceneElement* rootOf(Geometry geometry)
{
    auto* root = new SceneElement(QStringLiteral("root"));
    root->addChild(new GeometryElement(QStringLiteral("element"), std::move(geometry)));
    return root;
}

class SceneTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(Viewer::getInstance()->initialize()); }
    void TearDown() override { scene->setRootNode(nullptr); }

    /// Draws with a frustum in a context of its own; `before` may set the state.
    QImage drawn(int width, int height, double l, double r, double b, double t, const Matrix4& transform,
                 int layers = 3, int primitives = 7, const std::function<void()>& after = {})
    {
        QOpenGLContext context;
        context.setShareContext(_GlobalContext()->glContext());
        EXPECT_TRUE(context.create());
        QOffscreenSurface surface;
        surface.create();
        EXPECT_TRUE(context.makeCurrent(&surface));
        QImage image;
        {
            QOpenGLFramebufferObject fbo(width, height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                         GL_RGBA8);
            fbo.bind();
            SceneDrawer drawer(scene);
            glClearColor(0, 0, 0, 0);
            glEnable(GL_DEPTH_TEST);
            glEnable(GL_LIGHTING);
            glEnable(GL_COLOR_MATERIAL);
            drawer.resize(width, height);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            glMatrixMode(GL_PROJECTION);
            glLoadIdentity();
            glFrustum(l, r, b, t, 1, 10000);
            glMatrixMode(GL_MODELVIEW);
            glLoadIdentity();
            glEnable(GL_LIGHT0);
            drawer.glDraw(scene->getRootNode(), nullptr, transform, 0.0, layers, primitives);
            EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
            if (after)
                after();
            image = fbo.toImage();
        }
        context.doneCurrent();
        return image;
    }
    static int covered(const QImage& image)
    {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += qAlpha(image.pixel(x, y)) != 0;
        return count;
    }
    static Matrix4 at(double distance, double scale = 1)
    {
        auto m = Matrix4::identity();
        for (unsigned int i = 0; i < 3; ++i)
            m(i, i) = scale;
        m(2, 3) = -distance;
        return m;
    }
    tov::util::ZPointer<Scene> scene = Viewer::getInstance()->getGlobalScene();
};

} // namespace

namespace {

/// The order in which eight threads get the lock when they ask one after the other; the ninth, this one, held it before
/// and asks again at once, as a capture does between two frames.
template <typename Lock>
std::vector<int> orderOfTurns(Lock& lock)
{
    std::vector<int> order;
    lock.lock();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        std::atomic<int> id{0};
        threads.emplace_back([&lock, &order, &id, i] {
            id = tov::test::threadId();
            lock.lock();
            order.push_back(i);
            lock.unlock();
        });
        // The next one asks when this one waits: a thread that waits sleeps.
        while (id == 0 || tov::test::threadState(id) != 'S')
            std::this_thread::yield();
    }
    lock.unlock();
    lock.lock();
    order.push_back(8);
    lock.unlock();
    for (auto& thread : threads)
        thread.join();
    return order;
}

} // namespace

TEST(Locks, ServeInTheOrderOfAsking)
{
    const std::vector<int> fair{0, 1, 2, 3, 4, 5, 6, 7, 8};
    TicketLock lock;
    EXPECT_EQ(orderOfTurns(lock), fair);
    EXPECT_EQ(orderOfTurns(*Viewer::getInstance()->getGlobalScene()), fair) << "the scene";
    EXPECT_EQ(orderOfTurns(*tov::scene::_GlobalContext()), fair) << "the shared context";
}

TEST_F(SceneTest, TheGlobalSceneIsOne)
{
    EXPECT_EQ(_GlobalScene().get(), Viewer::getInstance()->getGlobalScene().get());
    EXPECT_TRUE(_GlobalContext()->glContext());
    EXPECT_TRUE(Viewer::getInstance()->isFboAvailable());
    EXPECT_GT(Viewer::getInstance()->getMaxTextureSize(), 512);
    EXPECT_EQ(SceneDrawer::ZNEAR, 1.0);
    EXPECT_EQ(SceneDrawer::ZFAR, 10000.0);
}

TEST_F(SceneTest, ElementsFormATree)
{
    SceneElement root(QStringLiteral("root"));
    auto* child = new SceneElement(QStringLiteral("Child"));
    auto* grandchild = new SceneElement(QStringLiteral("grandchild"));
    root.addChild(child);
    child->addChild(grandchild);
    EXPECT_EQ(root.find(QStringLiteral("GRANDCHILD")), grandchild);
    EXPECT_EQ(grandchild->getParent(), child);
    EXPECT_EQ(root.takeChild(grandchild), nullptr);
    EXPECT_EQ(root.takeChild(child), child);
    EXPECT_EQ(child->getParent(), nullptr);
    delete child;
    // As deep as a file may say.
    auto* deep = new SceneElement(QString());
    SceneElement* end = deep;
    for (int i = 0; i < 200000; ++i) {
        auto* next = new SceneElement(QString());
        end->addChild(next);
        end = next;
    }
    delete deep;
}

TEST_F(SceneTest, GeometryIsReorderedWithoutLoss)
{
    std::unique_ptr<SceneElement> root(grid(100));
    const auto* element = static_cast<GeometryElement*>(root->getChildren()[0]);
    EXPECT_EQ(element->getIndices().size(), 100u * 100 * 6);
    EXPECT_EQ(element->getVertices().size(), 101u * 101);
    EXPECT_EQ(element->getChunks().size(), (20000 + 1023u) / 1024);
    std::size_t next = 0;
    double area = 0;
    for (const auto& chunk : element->getChunks()) {
        EXPECT_EQ(chunk.firstIndex, next);
        next += chunk.indexCount;
        EXPECT_LT((chunk.box.high[0] - chunk.box.low[0]) * (chunk.box.high[1] - chunk.box.low[1]), 0.6)
            << "chunks are compact";
    }
    EXPECT_EQ(next, element->getIndices().size());
    const auto& v = element->getVertices();
    for (std::size_t i = 0; i < element->getIndices().size(); i += 3) {
        const auto *a = v[element->getIndices()[i]].position, *b = v[element->getIndices()[i + 1]].position,
                   *c = v[element->getIndices()[i + 2]].position;
        area += ((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0])) / 2;
    }
    EXPECT_NEAR(area, 1.0, 1e-4) << "every triangle once, with its winding";
}

TEST_F(SceneTest, EditsWaitForLockersWhileDrawingGoesOn)
{
    scene->setRootNode(grid(2));
    auto locker = std::make_unique<SceneLocker>(scene.get(), SceneLocker::LockAll);
    std::atomic<bool> edited{false};
    std::thread editor([&] {
        SceneEdit edit(scene.get(), SceneLocker::LockTransforms);
        edited = true;
    });
    // Drawing takes the scene lock, which nobody holds.
    for (int i = 0; i < 50; ++i) {
        scene->lock();
        scene->unlock();
    }
    EXPECT_FALSE(edited);
    locker->unlock();
    locker->unlock(); // once is enough, twice does no harm
    locker.reset();
    editor.join();
    EXPECT_TRUE(edited);
}

TEST_F(SceneTest, LockersOfOtherKindsDoNotDisturbEachOther)
{
    SceneLocker data(scene.get(), SceneLocker::LockData);
    SceneLocker again(scene.get(), SceneLocker::LockData);
    SceneEdit edit(scene.get(), SceneLocker::LockTransforms); // returns at once
    SUCCEED();
}

TEST_F(SceneTest, LockersAnnounceThemselves)
{
    QStringList seen;
    int owner = 0;
    const void* key = &owner;
    auto* events = tov::events::EventHandler::getInstance();
    for (const char* name :
         {"SCENE_STRUCTURE_LOCKED", "SCENE_STRUCTURE_UNLOCKED", "SCENE_TRANSFORM_LOCKED", "SCENE_TRANSFORM_UNLOCKED"})
        tov::main::EventManager::getInstance()->registerEventFunction(
            events->addEvent("Scene", name), [&seen, name](const tov::main::Event*) { seen << QLatin1String(name); },
            key);
    {
        SceneLocker locker(scene.get(), SceneLocker::LockTransforms);
    }
    {
        SceneLocker locker(scene.get(), SceneLocker::LockAll);
        locker.unlock();
    }
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(key);
    EXPECT_EQ(seen, (QStringList{"SCENE_TRANSFORM_LOCKED", "SCENE_TRANSFORM_UNLOCKED", "SCENE_STRUCTURE_LOCKED",
                                 "SCENE_TRANSFORM_LOCKED", "SCENE_STRUCTURE_UNLOCKED", "SCENE_TRANSFORM_UNLOCKED"}));
}

TEST_F(SceneTest, CullingChangesNothing)
{
    scene->setRootNode(grid(120)); // several chunks
    const QImage whole = drawn(512, 512, -0.5, 0.5, -0.5, 0.5, at(1.5));
    EXPECT_GT(covered(whole), 512 * 512 / 5);
    // The same view in four quarters, each of which culls.
    for (int quarter = 0; quarter < 4; ++quarter) {
        const double l = quarter % 2 ? 0 : -0.5, b = quarter / 2 ? 0 : -0.5;
        const QImage part = drawn(256, 256, l, l + 0.5, b, b + 0.5, at(1.5));
        const QImage cut = whole.copy(quarter % 2 ? 256 : 0, quarter / 2 ? 0 : 256, 256, 256);
        int different = 0;
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x)
                different += (qAlpha(part.pixel(x, y)) != 0) != (qAlpha(cut.pixel(x, y)) != 0);
        EXPECT_EQ(different, 0);
    }
    EXPECT_EQ(covered(drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(-1.5))), 0) << "behind the eye";
}

TEST(ClosedSurface, IsToldByItsEdgesAndPieces)
{
    const auto look = [](Geometry geometry) { return windingOf(GeometryElement(QStringLiteral("e"), std::move(geometry))); };
    EXPECT_EQ(look(ball()), Winding::Outward);
    EXPECT_EQ(look(turnedRound(ball())), Winding::Inward);
    EXPECT_EQ(look(together(ball(), ball(10, 3))), Winding::Outward);
    EXPECT_EQ(look(together(ball(), turnedRound(ball(10, 3)))), Winding::Unknown) << "a piece inside out";
    EXPECT_EQ(look(apart(ball())), Winding::Unknown);
    Geometry open = ball();
    open.indices.resize(open.indices.size() - 3);
    EXPECT_EQ(look(open), Winding::Unknown) << "a hole";
    Geometry flipped = ball();
    std::swap(flipped.indices[30], flipped.indices[31]);
    EXPECT_EQ(look(flipped), Winding::Unknown) << "one triangle turns the other way";
    Geometry twice = ball();
    twice.indices.insert(twice.indices.end(), twice.indices.begin(), twice.indices.begin() + 3);
    EXPECT_EQ(look(twice), Winding::Unknown) << "a triangle twice";
    Geometry thin = ball();
    thin.indices.insert(thin.indices.end(), {5, 5, 6});
    EXPECT_EQ(look(thin), Winding::Unknown) << "a triangle that is a line";
    Geometry flat;
    flat.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    flat.indices = {0, 1, 2, 0, 2, 1};
    EXPECT_EQ(look(flat), Winding::Unknown) << "nothing inside";
    Geometry points;
    points.kind = Geometry::Kind::Points;
    points.positions = {0, 0, 0};
    points.indices = {0};
    EXPECT_EQ(look(points), Winding::Unknown);
}

TEST_F(SceneTest, ClosedSurfacesLookAsOpenOnesDo)
{
    auto mirrored = at(1.5), turned = at(1.5);
    mirrored(0, 0) = -1;
    turned(0, 0) = turned(2, 2) = -1;
    for (const auto& transform : {at(1.5), mirrored, turned, at(3, 2)})
        for (const bool inward : {false, true}) {
            const Geometry geometry = inward ? turnedRound(ball()) : ball();
            ASSERT_NE(windingOf(GeometryElement(QStringLiteral("e"), geometry)), Winding::Unknown);
            scene->setRootNode(rootOf(apart(geometry)));
            const QImage open = drawn(256, 256, -0.5, 0.5, -0.5, 0.5, transform);
            scene->setRootNode(rootOf(geometry));
            const QImage closed = drawn(256, 256, -0.5, 0.5, -0.5, 0.5, transform);
            EXPECT_GT(covered(open), 256 * 256 / 10);
            int silhouette = 0, shade = 0;
            for (int y = 0; y < 256; ++y)
                for (int x = 0; x < 256; ++x) {
                    const QRgb a = open.pixel(x, y), b = closed.pixel(x, y);
                    silhouette += (qAlpha(a) != 0) != (qAlpha(b) != 0);
                    shade += std::abs(qRed(a) - qRed(b)) > 8;
                }
            EXPECT_EQ(silhouette, 0) << inward;
            EXPECT_LE(shade, 256 * 256 / 1000) << inward;
        }
}

TEST_F(SceneTest, ClosedSurfacesShowTheirInside)
{
    // The eye in the middle, and the near plane within: what is seen are the far sides.
    for (const double distance : {0.0, 1.2}) {
        scene->setRootNode(rootOf(apart(ball())));
        const int open = covered(drawn(128, 128, -0.5, 0.5, -0.5, 0.5, at(distance, 5)));
        scene->setRootNode(rootOf(ball()));
        EXPECT_EQ(covered(drawn(128, 128, -0.5, 0.5, -0.5, 0.5, at(distance, 5))), open) << distance;
        EXPECT_EQ(open, 128 * 128) << distance;
    }
}

TEST_F(SceneTest, LayersPrimitivesAndVisibilityAreObeyed)
{
    scene->setRootNode(grid(4));
    EXPECT_GT(covered(drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5), 3, 7)), 0);
    EXPECT_EQ(covered(drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5), 2, 7)), 0) << "annotations only";
    EXPECT_EQ(covered(drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5), 3, 3)), 0) << "no surfaces";
    scene->getRootNode()->getChildren()[0]->setVisible(false);
    EXPECT_EQ(covered(drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5))), 0);
    scene->getRootNode()->getChildren()[0]->setVisible(true);
    scene->getRootNode()->getChildren()[0]->setSelected(true);
    const int plain = covered(drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5)));
    EXPECT_EQ(covered(drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5), 3, 7)), plain) << "pictures show no selection";
}

TEST_F(SceneTest, DrawingPutsTheStateBack)
{
    scene->setRootNode(grid(4));
    drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5), 65535, 7, [] {
        EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
        EXPECT_FALSE(glIsEnabled(GL_NORMALIZE));
        GLint depth = 0, buffer = -1;
        glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &depth);
        EXPECT_EQ(depth, 1);
        glGetIntegerv(0x8894, &buffer); // GL_ARRAY_BUFFER_BINDING
        EXPECT_EQ(buffer, 0);
        double matrix[16];
        glGetDoublev(GL_MODELVIEW_MATRIX, matrix);
        EXPECT_EQ(matrix[0], 1);
        EXPECT_EQ(matrix[14], 0);
    });
}

TEST_F(SceneTest, LightDoesNotDependOnTheScale)
{
    scene->setRootNode(grid(4));
    const QImage small = drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(2));
    const QImage large = drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(200, 100));
    EXPECT_EQ(small.pixel(32, 32), large.pixel(32, 32));
    EXPECT_GT(qRed(small.pixel(32, 32)), 150) << "lit from the eye";
}

TEST_F(SceneTest, GlassOverASolidStaysOpaque)
{
    auto* root = grid(2);
    Geometry glass;
    glass.color = QColor(0, 0, 255, 100);
    glass.positions = {-0.2f, -0.2f, 0.1f, 0.2f, -0.2f, 0.1f, 0.0f, 0.2f, 0.1f,
                       0.8f,  -0.2f, 0.1f, 1.2f, -0.2f, 0.1f, 1.0f, 0.2f, 0.1f};
    glass.indices = {0, 1, 2, 3, 4, 5};
    root->addChild(new GeometryElement(QStringLiteral("glass"), std::move(glass)));
    scene->setRootNode(root);
    const QImage image = drawn(400, 200, -2, 2, -1, 1, at(2));
    EXPECT_EQ(qAlpha(image.pixel(200, 100)), 255) << "over the solid";
    const int apart = qAlpha(image.pixel(200 + 52, 100));
    EXPECT_NEAR(apart, 100, 2) << "over nothing";
}

TEST_F(SceneTest, TwoThreadsUploadTheSameElement)
{
    scene->setRootNode(grid(200));
    QImage images[2];
    QThread* threads[2];
    for (int i = 0; i < 2; ++i) {
        threads[i] =
            QThread::create([this, &images, i] { images[i] = drawn(128, 128, -0.5, 0.5, -0.5, 0.5, at(1.5)); });
        threads[i]->start();
    }
    for (QThread* thread : threads) {
        EXPECT_TRUE(processUntil([&] { return thread->isFinished(); }));
        delete thread;
    }
    EXPECT_GT(covered(images[0]), 1000);
    EXPECT_EQ(images[0], images[1]);
}

TEST_F(SceneTest, MultisamplingSoftensEdgesOnly)
{
    scene->setRootNode(grid(2));
    SceneDrawer::setMultisampling(4);
    const QImage soft = drawn(64, 64, -0.51, 0.49, -0.52, 0.48, at(1.53));
    SceneDrawer::setMultisampling(0);
    const QImage hard = drawn(64, 64, -0.51, 0.49, -0.52, 0.48, at(1.53));
    int partial = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const int alpha = qAlpha(soft.pixel(x, y));
            partial += alpha > 0 && alpha < 255;
            EXPECT_TRUE(qAlpha(hard.pixel(x, y)) == 0 || qAlpha(hard.pixel(x, y)) == 255);
        }
    EXPECT_GT(partial, 10);
    EXPECT_LT(partial, 400);
    EXPECT_EQ(soft.pixel(32, 32), hard.pixel(32, 32));
}

TEST_F(SceneTest, PanelsDieInOneWay)
{
    auto* viewer = Viewer::getInstance();
    auto* first = new ScenePanel;
    auto* second = new ScenePanel;
    viewer->setActivePanel(first);
    QStringList order;
    int owner = 0;
    const void* key = &owner;
    tov::main::EventManager::getInstance()->registerEventFunction(
        tov::events::EventHandler::getInstance()->addEvent("Scene", "SCENEPANEL_CHANGED"),
        [&](const tov::main::Event* event) {
            order << (event->getData() == second ? "second" : event->getData() ? "first" : "none");
        },
        key);
    int emissions = 0;
    QObject::connect(
        first, &QObject::destroyed, first,
        [&](QObject* object) {
            ++emissions;
            order << "destroyed";
            // The panel is whole: it still knows its matrix and its class.
            EXPECT_EQ(object, first);
            EXPECT_STREQ(object->metaObject()->className(), "tov::gui::ScenePanel");
            first->getScaledTransformMatrix();
        },
        Qt::DirectConnection);
    const QPointer<ScenePanel> guard(first);
    viewer->closePanel(first);
    EXPECT_TRUE(guard.isNull());
    EXPECT_EQ(emissions, 1);
    EXPECT_EQ(order, (QStringList{"second", "destroyed"}));
    viewer->closePanel(second);
    EXPECT_EQ(order.last(), "none");
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(key);
    EXPECT_TRUE(viewer->getPanels().empty());
}

TEST_F(SceneTest, AFittedSceneFillsTheViewAndLiesBetweenThePlanes)
{
    QString error;
    auto* tree = SceneImport::readFile(Bunny, &error);
    ASSERT_TRUE(tree) << error.toStdString();
    scene->setRootNode(tree);
    auto* panel = new ScenePanel;
    for (const QSize size : {QSize(1280, 720), QSize(300, 900)}) {
        panel->resize(size);
        EXPECT_EQ(panel->width(), size.width());
        EXPECT_EQ(panel->height(), size.height());
        for (const auto view :
             {ScenePanel::StandardView::Front, ScenePanel::StandardView::Top, ScenePanel::StandardView::Isometric}) {
            panel->setStandardView(view);
            const Matrix4 matrix = panel->getScaledTransformMatrix();
            double widest = 0, highest = 0;
            forEachVisible(scene->getRootNode(), [&](const GeometryElement& element, const Matrix4& toScene) {
                for (const auto& vertex : element.getVertices()) {
                    const auto p =
                        transformed(matrix * toScene, vertex.position[0], vertex.position[1], vertex.position[2]);
                    ASSERT_LT(p[2], -SceneDrawer::ZNEAR);
                    ASSERT_GT(p[2], -SceneDrawer::ZFAR);
                    widest =
                        std::max(widest, std::abs(p[0] / p[2]) / (PictureHalfHeight * size.width() / size.height()));
                    highest = std::max(highest, std::abs(p[1] / p[2]) / PictureHalfHeight);
                }
            });
            EXPECT_LE(std::max(widest, highest), 1.0) << "all in view";
            EXPECT_GE(std::max(widest, highest), 0.9) << "and not smaller than need be";
        }
    }
    Viewer::getInstance()->closePanel(panel);
}

TEST_F(SceneTest, TheCameraTurnsMovesAndZooms)
{
    scene->setRootNode(grid(4));
    auto* panel = new ScenePanel;
    panel->fitToView();
    const Matrix4 front = panel->getScaledTransformMatrix();
    panel->orbit(360, 0);
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(panel->getScaledTransformMatrix().data()[i], front.data()[i], 1e-6);
    panel->zoom(2);
    EXPECT_NEAR(panel->getScaledTransformMatrix()(2, 3), front(2, 3) / 2, 1e-6);
    panel->zoom(0.5);
    panel->pan(panel->width() / 2.0, 0);
    EXPECT_GT(panel->getScaledTransformMatrix()(0, 3), front(0, 3));
    panel->setScaledTransformMatrix(front);
    EXPECT_EQ(panel->getScaledTransformMatrix(), front) << "exactly";
    panel->orbit(0, 0);
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(panel->getScaledTransformMatrix().data()[i], front.data()[i], 1e-6)
            << "the camera goes on from there";
    Viewer::getInstance()->closePanel(panel);
}
