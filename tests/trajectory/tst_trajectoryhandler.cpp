#include "trajectory/trajectoryhandler.h"

#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/view/scenepanel.h"
#include "scene/import/sceneimport.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"
#include "tests/support/logcapture.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryinfo.h"

#include <QCoreApplication>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

using tov::math::Matrix4;
using tov::scene::Geometry;
using tov::scene::GeometryElement;
using tov::scene::SceneElement;
using tov::scene::SceneLocker;
using tov::scene::Viewer;
using tov::test::processUntil;
using tov::trajectory::MatrixMapList;
using tov::trajectory::Point;
using tov::trajectory::TrajectoryHandler;

namespace {

GeometryElement* triangle(const QString& name, float size)
{
    Geometry geometry;
    geometry.positions = {-size, -size, -size, size, -size, size, 0, size, 0};
    geometry.indices = {0, 1, 2};
    return new GeometryElement(name, std::move(geometry));
}

class TrajectoryTest : public testing::Test
{
protected:
    void SetUp() override
    {
        auto* root = new SceneElement(QStringLiteral("root"));
        root->addChild(triangle(QStringLiteral("model"), 3));
        root->addChild(triangle(QStringLiteral("CARRIER"), 1));
        root->addChild(triangle(QStringLiteral("lid"), 1));
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
    static SceneElement* element(const char* name)
    {
        return Viewer::getInstance()->getGlobalScene()->getRootNode()->find(QString::fromLatin1(name));
    }
    static tov::gui::ScenePanel* newPanel()
    {
        auto* panel = new tov::gui::ScenePanel;
        panel->resize(200, 150);
        panel->setStandardView(tov::gui::ScenePanel::StandardView::Front);
        return panel;
    }
    QString write(const char* name, const QByteArray& data)
    {
        QFile file(m_Folder.filePath(QString::fromLatin1(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(data), data.size());
        return file.fileName();
    }

    QTemporaryDir m_Folder;
};

double largestDifference(const Matrix4& a, const Matrix4& b)
{
    double largest = 0;
    for (unsigned int r = 0; r < 4; ++r)
        for (unsigned int c = 0; c < 4; ++c)
            largest = std::max(largest, std::fabs(a(r, c) - b(r, c)));
    return largest;
}

} // namespace

TEST_F(TrajectoryTest, NothingIsSelectedAtFirst)
{
    handler()->selectMode(17);
    EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModeNone);
    EXPECT_EQ(handler()->getCount(), 0u);
    EXPECT_EQ(handler()->getPosition(), 0u);
    handler()->setPosition(3);
    EXPECT_TRUE(handler()->getTrajectoryInfo());
    EXPECT_TRUE(handler()->getAdvancedTrajectoryInfo());
}

TEST_F(TrajectoryTest, ThePlainTrajectoryMovesTheCarrierInAnyCase)
{
    auto turned = Matrix4::identity();
    turned(0, 0) = 0;
    turned(0, 1) = -1;
    turned(1, 0) = 1;
    turned(1, 1) = 0;
    element("carrier")->setTransform(turned);
    auto* info = handler()->getTrajectoryInfo();
    info->setPoints({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    info->setPosition(1);
    EXPECT_EQ(info->getPosition(), 1u);
    const auto& at = element("carrier")->getTransform();
    EXPECT_EQ(at(0, 3), 4);
    EXPECT_EQ(at(1, 3), 5);
    EXPECT_EQ(at(2, 3), 6);
    EXPECT_EQ(at(0, 1), -1) << "it keeps its direction";
    EXPECT_EQ(largestDifference(element("lid")->getTransform(), Matrix4::identity()), 0);
    // After the end nothing moves.
    info->setPosition(3);
    EXPECT_EQ(info->getPosition(), 1u);
    EXPECT_EQ(element("carrier")->getTransform()(0, 3), 4);
}

TEST_F(TrajectoryTest, WithoutACarrierThePositionStillMoves)
{
    Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
    auto* info = handler()->getTrajectoryInfo();
    info->setPoints({{1, 2, 3}, {4, 5, 6}});
    info->setPosition(1);
    EXPECT_EQ(info->getPosition(), 1u);
}

TEST_F(TrajectoryTest, AShorterPathLimitsThePosition)
{
    auto* info = handler()->getTrajectoryInfo();
    info->setPoints({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    info->setPosition(2);
    const auto& before = info->getPoints();
    info->setPoints({{0, 0, 0}});
    EXPECT_EQ(info->getPosition(), 0u);
    EXPECT_EQ(before.size(), 3u) << "a returned list stays unchanged";
    EXPECT_EQ(info->getPoints().size(), 1u);
    auto* advanced = handler()->getAdvancedTrajectoryInfo();
    advanced->setMatrixMapList(MatrixMapList(5));
    advanced->setPosition(4);
    const auto* list = advanced->getMatrixMapList();
    advanced->setMatrixMapList(MatrixMapList(2));
    EXPECT_EQ(advanced->getPosition(), 1u);
    EXPECT_EQ(list->size(), 5u);
    EXPECT_TRUE(advanced->getMatrixMapList());
}

TEST_F(TrajectoryTest, TheAdvancedTrajectoryMovesNamedElementsAndFollowingPanels)
{
    auto* follows = newPanel();
    auto* stays = newPanel();
    stays->setFollowsTrajectory(false);
    const Matrix4 before = stays->getScaledTransformMatrix();
    auto place = Matrix4::identity();
    place(1, 3) = 2.5;
    auto eye = Matrix4::identity();
    eye(2, 3) = 20;
    auto* advanced = handler()->getAdvancedTrajectoryInfo();
    advanced->setMatrixMapList(
        {{}, {{QStringLiteral("lid"), place}, {QStringLiteral("nobody"), place}, {QStringLiteral("camera"), eye}}});
    advanced->setPosition(1);
    EXPECT_EQ(element("lid")->getTransform()(1, 3), 2.5);
    EXPECT_EQ(largestDifference(stays->getScaledTransformMatrix(), before), 0);
    // Scene to eye, scaled: the inverse of the pose.
    const double scaling = Viewer::getInstance()->getGlobalScene()->getGlobalScaling();
    const Matrix4 view = follows->getScaledTransformMatrix();
    EXPECT_NEAR(view(0, 0), scaling, scaling * 1e-12);
    EXPECT_NEAR(view(2, 3), -20 * scaling, scaling * 1e-10);
    EXPECT_NEAR(view(3, 3), 1, 1e-12);
}

TEST_F(TrajectoryTest, ACameraWithoutAnInverseIsIgnored)
{
    auto* panel = newPanel();
    const Matrix4 before = panel->getScaledTransformMatrix();
    Matrix4 flat = Matrix4::identity();
    flat(1, 1) = 0;
    auto* advanced = handler()->getAdvancedTrajectoryInfo();
    advanced->setMatrixMapList({{{QStringLiteral("camera"), flat}}});
    advanced->setPosition(0);
    EXPECT_EQ(largestDifference(panel->getScaledTransformMatrix(), before), 0);
}

TEST_F(TrajectoryTest, TheTurntableTurnsOnceAboutTheCentreFromTheCurrentView)
{
    auto* panel = newPanel();
    panel->orbit(30, 20);
    panel->fitToTurn(); // nothing would be cropped, so the camera keeps its distance
    Viewer::getInstance()->setActivePanel(panel);
    const Matrix4 start = panel->getScaledTransformMatrix();
    const double scaling = Viewer::getInstance()->getGlobalScene()->getGlobalScaling();
    QString error;
    ASSERT_TRUE(handler()->selectTurntable(8, &error)) << error.toStdString();
    EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModeAdvanced);
    EXPECT_EQ(handler()->getCount(), 8u);
    EXPECT_EQ(handler()->getPosition(), 0u);
    EXPECT_LT(largestDifference(panel->getScaledTransformMatrix(), start), 1e-9 * scaling * 100);
    const auto centre =
        tov::scene::centreOf(tov::scene::visibleBox(Viewer::getInstance()->getGlobalScene()->getRootNode()));
    const auto seen = tov::scene::transformed(start, centre[0], centre[1], centre[2]);
    for (unsigned long i = 0; i < 8; ++i) {
        handler()->setPosition(i);
        const Matrix4 view = panel->getScaledTransformMatrix();
        // The centre stays at its place in the picture, and the upward direction stays.
        const auto now = tov::scene::transformed(view, centre[0], centre[1], centre[2]);
        const auto above = tov::scene::transformed(view, centre[0], centre[1] + 1, centre[2]);
        const auto aboveAtStart = tov::scene::transformed(start, centre[0], centre[1] + 1, centre[2]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(now[axis], seen[axis], 1e-6 * scaling);
            EXPECT_NEAR(above[axis], aboveAtStart[axis], 1e-6 * scaling);
        }
        // A point next to the centre turns by an eighth each time: the point at angle 0 moves to -i/8.
        const double angle = 2 * M_PI * double(i) / 8;
        const auto beside =
            tov::scene::transformed(view, centre[0] + std::cos(angle), centre[1], centre[2] - std::sin(angle));
        const auto besideAtStart = tov::scene::transformed(start, centre[0] + 1, centre[1], centre[2]);
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(beside[axis], besideAtStart[axis], 1e-6 * scaling) << i;
    }
}

TEST_F(TrajectoryTest, ATurntableNeedsAPanelAndAPosition)
{
    QString error;
    EXPECT_FALSE(handler()->selectTurntable(4, &error));
    EXPECT_FALSE(error.isEmpty());
    Viewer::getInstance()->setActivePanel(newPanel());
    error.clear();
    EXPECT_FALSE(handler()->selectTurntable(0, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(handler()->selectTurntable(-1, nullptr));
    EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModeNone);
    EXPECT_TRUE(handler()->selectTurntable(1, nullptr));
}

TEST_F(TrajectoryTest, FilesAreReadByTheirSuffix)
{
    QSignalSpy changed(handler(), &TrajectoryHandler::trajectoryChanged);
    QString error;
    ASSERT_TRUE(handler()->openFile(write("path.CSV", "x,y,z\n1,2,3\n4,5,6\n"), &error)) << error.toStdString();
    EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModePlain);
    EXPECT_EQ(handler()->getCount(), 2u);
    EXPECT_EQ(element("carrier")->getTransform()(2, 3), 3) << "it is at position 0";
    ASSERT_TRUE(handler()->openFile(write("path.tum", "0 1 2 3 0 0 0 1\n"), &error)) << error.toStdString();
    EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModeAdvanced);
    EXPECT_EQ(handler()->getCount(), 1u);
    ASSERT_TRUE(handler()->openFile(write("path.txt", "0 1 2 3 0 0 0 1\n1 1 2 3 0 0 0 1\n"), &error));
    EXPECT_EQ(handler()->getCount(), 2u);
    ASSERT_TRUE(handler()->openFile(write("path.json", "[{},{},{}]"), &error)) << error.toStdString();
    EXPECT_EQ(handler()->getCount(), 3u);
    EXPECT_EQ(changed.count(), 4);
}

TEST_F(TrajectoryTest, BadFilesAreRefusedAndTheSelectionStays)
{
    QString error;
    ASSERT_TRUE(handler()->openFile(write("good.csv", "1,2,3\n4,5,6\n"), &error));
    handler()->setPosition(1);
    const auto refused = [&](const QString& fileName) {
        error.clear();
        EXPECT_FALSE(handler()->openFile(fileName, &error)) << fileName.toStdString();
        EXPECT_TRUE(error.contains(fileName)) << error.toStdString();
        EXPECT_FALSE(error.contains(QLatin1Char('\n')));
        EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModePlain);
        EXPECT_EQ(handler()->getCount(), 2u);
        EXPECT_EQ(handler()->getPosition(), 1u);
    };
    refused(m_Folder.filePath(QStringLiteral("missing.csv")));
    refused(m_Folder.path());
    ASSERT_TRUE(QDir(m_Folder.path()).mkdir(QStringLiteral("folder.csv")));
    refused(m_Folder.filePath(QStringLiteral("folder.csv")));
    refused(write("none", "1,2,3\n"));
    refused(write("path.abc", "1,2,3\n"));
    refused(write("empty.csv", ""));
    refused(write("broken.csv", "1,2,3\n1,2\n"));
    EXPECT_TRUE(error.contains(QLatin1String("line 2"))) << error.toStdString();
    refused(write("broken.tum", "1,2,3\n"));
    refused(write("broken.json", "[\n{},\n"));
    EXPECT_FALSE(handler()->openFile(QString(), nullptr));
}

TEST_F(TrajectoryTest, FilesAboveTheLimitAreRefusedUnread)
{
    QFile file(m_Folder.filePath(QStringLiteral("huge.csv")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(file.resize((qint64(256) << 20) + 1)); // needs no space on the disk
    QString error;
    EXPECT_FALSE(handler()->openFile(file.fileName(), &error));
    EXPECT_TRUE(error.contains(QLatin1String("256 MiB"))) << error.toStdString();
}

TEST_F(TrajectoryTest, PositionsAreReportedOnTheApplicationThread)
{
    handler()->getTrajectoryInfo()->setPoints({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    handler()->selectMode(TrajectoryHandler::ModePlain);
    QCoreApplication::processEvents(); // what other tests have left
    std::vector<qulonglong> reported;
    QThread* on = nullptr;
    const auto connection = QObject::connect(
        handler(), &TrajectoryHandler::positionChanged, handler(),
        [&](qulonglong position) {
            reported.push_back(position);
            on = QThread::currentThread();
        },
        Qt::DirectConnection);
    std::thread other([] {
        TrajectoryHandler::getInstance()->setPosition(1);
        TrajectoryHandler::getInstance()->setPosition(2);
    });
    other.join();
    ASSERT_TRUE(processUntil([&] { return reported.size() >= 2; }));
    EXPECT_EQ(reported, (std::vector<qulonglong>{1, 2}));
    EXPECT_EQ(on, QThread::currentThread());
    QObject::disconnect(connection);
}

TEST_F(TrajectoryTest, MovesWaitWhileTransformsAreLocked)
{
    handler()->getTrajectoryInfo()->setPoints({{1, 2, 3}, {4, 5, 6}});
    handler()->getTrajectoryInfo()->setPosition(0);
    const auto scene = Viewer::getInstance()->getGlobalScene();
    std::atomic<bool> moved{false};
    std::thread mover;
    {
        SceneLocker locker(scene.get(), SceneLocker::LockAll);
        mover = std::thread([&] {
            TrajectoryHandler::getInstance()->getTrajectoryInfo()->setPosition(1);
            moved = true;
        });
        for (int i = 0; i < 100; ++i)
            std::this_thread::yield();
        scene->lock();
        EXPECT_EQ(element("carrier")->getTransform()(0, 3), 1);
        scene->unlock();
        EXPECT_FALSE(moved);
    }
    EXPECT_TRUE(processUntil([&] { return moved.load(); }));
    mover.join();
    EXPECT_EQ(element("carrier")->getTransform()(0, 3), 4);
}

TEST_F(TrajectoryTest, PositionsMayBeSetWhilePathsAndPanelsComeAndGo)
{
    Viewer::getInstance()->setActivePanel(newPanel());
    ASSERT_TRUE(handler()->selectTurntable(16, nullptr));
    handler()->getTrajectoryInfo()->setPoints(std::vector<Point>(16));
    std::atomic<bool> stop{false};
    std::atomic<unsigned long> steps{0};
    std::thread walker([&] {
        while (!stop) {
            const unsigned long i = steps++;
            TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo()->setPosition(i % 16);
            TrajectoryHandler::getInstance()->getTrajectoryInfo()->setPosition(i % 16);
        }
    });
    for (int i = 0; i < 50; ++i) {
        auto* panel = newPanel();
        handler()->getTrajectoryInfo()->setPoints(std::vector<Point>(std::size_t(i % 17)));
        const unsigned long before = steps;
        EXPECT_TRUE(processUntil([&] { return steps > before; }));
        Viewer::getInstance()->closePanel(panel);
    }
    stop = true;
    walker.join();
    EXPECT_LT(handler()->getAdvancedTrajectoryInfo()->getPosition(), 16u);
}

TEST_F(TrajectoryTest, TheSamplesLoadAndFitTogether)
{
    const QString samples = QStringLiteral(TOV_SOURCE_DIR "/samples/");
    QString error;
    SceneElement* root = tov::scene::SceneImport::readFile(samples + QStringLiteral("crane.obj"), &error);
    ASSERT_TRUE(root) << error.toStdString();
    Viewer::getInstance()->getGlobalScene()->setRootNode(root);
    ASSERT_TRUE(root->find(QStringLiteral("carrier")));
    ASSERT_TRUE(root->find(QStringLiteral("beam")));
    ASSERT_TRUE(handler()->openFile(samples + QStringLiteral("crane.csv"), &error)) << error.toStdString();
    EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModePlain);
    EXPECT_GE(handler()->getCount(), 50u);
    const Matrix4 before = root->find(QStringLiteral("carrier"))->getTransform();
    handler()->setPosition(handler()->getCount() / 2);
    EXPECT_GT(largestDifference(root->find(QStringLiteral("carrier"))->getTransform(), before), 0.5);
    auto* panel = newPanel();
    for (const char* name : {"crane.json", "flight.tum"}) {
        ASSERT_TRUE(handler()->openFile(samples + QLatin1String(name), &error)) << error.toStdString();
        EXPECT_EQ(handler()->getSelectedMode(), TrajectoryHandler::ModeAdvanced);
        EXPECT_GE(handler()->getCount(), 50u);
        const auto centre = tov::scene::centreOf(tov::scene::visibleBox(root));
        for (unsigned long i = 0; i < handler()->getCount(); ++i) {
            handler()->setPosition(i);
            // The middle of the scene is in front of the camera, near the middle of the picture.
            const auto at = tov::scene::transformed(panel->getScaledTransformMatrix(), centre[0], centre[1], centre[2]);
            EXPECT_LT(at[2], 0) << name << " " << i;
            EXPECT_LT(std::fabs(at[0]), 0.3 * -at[2]) << name << " " << i;
            EXPECT_LT(std::fabs(at[1]), 0.3 * -at[2]) << name << " " << i;
        }
    }
}
