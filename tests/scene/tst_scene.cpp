#include "scene/scene.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "scene/geometryelement.h"
#include "scene/globalscene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/sceneelement.h"
#include "scene/import/sceneimport.h"
#include "scene/scenelocker.h"
#include "scene/view/scenepanel.h"
#include "scene/sceneview.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/ticketlock.h"
#include "scene/view/viewer.h"
#include "tests/scene/drawfixture.h"
#include "tests/support/logcapture.h"
#include "tests/support/threads.h"

#include <QImage>
#include <QOpenGLContext>
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
using tov::test::drawn;
using tov::test::processUntil;
using tov::test::SceneTest;

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

} // namespace

namespace {

/// The order in which eight threads get the lock when they request it one after the other. The ninth, this one, held it
/// and requests it again at once, like a capture between two frames.
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
        // The next one starts when this one waits: a waiting thread sleeps.
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

TEST(Locks, ServeInTheOrderOfRequests)
{
    const std::vector<int> fair{0, 1, 2, 3, 4, 5, 6, 7, 8};
    TicketLock lock;
    EXPECT_EQ(orderOfTurns(lock), fair);
    EXPECT_EQ(orderOfTurns(*Viewer::getInstance()->getGlobalScene()), fair) << "the scene";
    EXPECT_EQ(orderOfTurns(*tov::scene::_GlobalContext()), fair) << "the shared context";
}

TEST_F(SceneTest, ThereIsOneGlobalScene)
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
    // As deep as a file may be nested.
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

TEST_F(SceneTest, EditsWaitForLockersWhileDrawingContinues)
{
    scene->setRootNode(grid(2));
    auto locker = std::make_unique<SceneLocker>(scene.get(), SceneLocker::LockAll);
    std::atomic<bool> edited{false};
    std::thread editor([&] {
        SceneEdit edit(scene.get(), SceneLocker::LockTransforms);
        edited = true;
    });
    // Drawing takes the scene lock, which is not held.
    for (int i = 0; i < 50; ++i) {
        scene->lock();
        scene->unlock();
    }
    EXPECT_FALSE(edited);
    locker->unlock();
    locker->unlock(); // a second call does nothing
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

TEST_F(SceneTest, LayersPrimitivesAndVisibilityAreRespected)
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
    const auto picture = [](int layers, bool isView = true) {
        return drawn(64, 64, -0.5, 0.5, -0.5, 0.5, at(1.5), layers, 7, {}, QColor(0, 0, 0, 0), isView);
    };
    const QImage selected = picture(3);
    EXPECT_NE(picture(7), selected) << "panels do";
    EXPECT_EQ(picture(7, false), selected) << "recordings do not";
    scene->getRootNode()->getChildren()[0]->setSelected(false);
    EXPECT_EQ(picture(3), selected) << "to the pixel";
    EXPECT_EQ(picture(7), selected);
}

TEST_F(SceneTest, DrawingRestoresTheState)
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
    glass.material = makeMaterial(QColor(0, 0, 255, 100));
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

TEST_F(SceneTest, PanelsAnnounceTheirEndOnceAndComplete)
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
            // The panel is complete: it still has its matrix and its class.
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

TEST_F(SceneTest, AFittedSceneFillsTheViewBetweenThePlanes)
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
            EXPECT_GE(std::max(widest, highest), 0.9) << "and not smaller than necessary";
        }
    }
    Viewer::getInstance()->closePanel(panel);
}

TEST_F(SceneTest, HiddenElementsReappearInView)
{
    scene->setRootNode(grid(4));
    auto* panel = new ScenePanel;
    panel->setStandardView(ScenePanel::StandardView::Front);
    const Matrix4 before = panel->getScaledTransformMatrix();
    scene->getRootNode()->setVisible(false);
    panel->setStandardView(ScenePanel::StandardView::Top);
    panel->fitToView();
    panel->setStandardView(ScenePanel::StandardView::Front);
    scene->getRootNode()->setVisible(true);
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(panel->getScaledTransformMatrix().data()[i], before.data()[i], 1e-9 * 10000) << i;
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
            << "the camera continues from there";
    Viewer::getInstance()->closePanel(panel);
}
