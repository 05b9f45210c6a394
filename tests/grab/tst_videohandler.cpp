#include "grab/videohandler.h"

#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"
#include "tests/grab/videofixture.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QFile>
#include <QFileInfo>
#include <QMetaMethod>
#include <QThread>

#include <atomic>
#include <thread>

#include <sched.h>
#include <unistd.h>

using tov::grab::VideoHandler;
using tov::scene::Viewer;
using tov::test::processUntil;
using tov::test::Signals;
using tov::trajectory::TrajectoryHandler;

namespace {

class VideoHandlerTest : public tov::test::VideoFixture
{
protected:
    void SetUp() override
    {
        VideoFixture::SetUp();
        m_Journal.keepBytes = true;
    }
    qint64 frameBytes() const { return qint64(m_Journal.width) * m_Journal.height * 4; }
};

} // namespace

TEST_F(VideoHandlerTest, HasItsSignalsAndSlotInOrder)
{
    const QMetaObject& meta = VideoHandler::staticMetaObject;
    EXPECT_STREQ(meta.className(), "tov::grab::VideoHandler");
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 3);
    const QMetaMethod first = meta.method(meta.methodOffset());
    EXPECT_EQ(first.methodSignature(), "progressChanged(int)");
    EXPECT_EQ(first.methodType(), QMetaMethod::Signal);
    const QMetaMethod second = meta.method(meta.methodOffset() + 1);
    EXPECT_EQ(second.methodSignature(), "grabbingFinished()");
    EXPECT_EQ(second.methodType(), QMetaMethod::Signal);
    const QMetaMethod third = meta.method(meta.methodOffset() + 2);
    EXPECT_EQ(third.methodSignature(), "panelDestroyed(QObject*)");
    EXPECT_EQ(third.methodType(), QMetaMethod::Slot);
}

TEST_F(VideoHandlerTest, IsIdleAtFirstAndCanBeStoppedWithoutARecording)
{
    VideoHandler handler;
    EXPECT_FALSE(handler.isGrabbing());
    EXPECT_EQ(handler.parent(), nullptr);
    handler.stopGrabbing();
    handler.abortGrabbing();
    EXPECT_FALSE(handler.isGrabbing());
    EXPECT_TRUE(m_Journal.callsSeen().empty());
}

TEST_F(VideoHandlerTest, OddSizesAreRoundedUp)
{
    selectPoints(1);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("odd.raw"), 641, 479, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(m_Journal.width, 642);
    EXPECT_EQ(m_Journal.height, 480);
    ASSERT_EQ(m_Journal.seen().size(), 1u);
    EXPECT_EQ(m_Journal.seen()[0].size, 642 * 480 * 4);
}

TEST_F(VideoHandlerTest, ASizeOfZeroTakesBothFromThePanel)
{
    const int sizes[3][2] = {{0, 0}, {0, 300}, {300, 0}};
    for (const auto& size : sizes) {
        selectPoints(1);
        VideoHandler handler;
        Signals seen(handler);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("panel.raw"), size[0], size[1], newPanel(161, 118)));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        EXPECT_EQ(m_Journal.width, 162);
        EXPECT_EQ(m_Journal.height, 118);
    }
}

TEST_F(VideoHandlerTest, FourPositionsGiveFourFramesAndTheirProgress)
{
    selectPoints(4);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("four.raw"), 32, 16, newPanel()));
    EXPECT_TRUE(handler.isGrabbing());
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_FALSE(handler.isGrabbing());
    EXPECT_EQ(seen.captureProgress(), (std::vector<int>{0, 25, 50, 75}));
    EXPECT_EQ(seen.finished, 1);
    ASSERT_EQ(m_Journal.seen().size(), 1u);
    EXPECT_EQ(m_Journal.seen()[0].size, 4 * 32 * 16 * 4);
    EXPECT_TRUE(m_Journal.seen()[0].isLast);
    // The trajectory stays at the last position shown.
    EXPECT_EQ(TrajectoryHandler::getInstance()->getTrajectoryInfo()->getPosition(), 3u);
    EXPECT_EQ(QFileInfo(file("four.raw")).size(), 4 * 32 * 16 * 4);
}

TEST_F(VideoHandlerTest, TheWalkStartsAtTheCurrentPosition)
{
    selectPoints(5);
    TrajectoryHandler::getInstance()->getTrajectoryInfo()->setPosition(3);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("from.raw"), 32, 16, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(seen.captureProgress(), (std::vector<int>{60, 80}));
    EXPECT_EQ(m_Journal.totalSize(), 2 * 32 * 16 * 4);
}

TEST_F(VideoHandlerTest, ProgressIsTruncated)
{
    selectPoints(3);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("three.raw"), 16, 16, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(seen.captureProgress(), (std::vector<int>{0, 33, 66}));
}

TEST_F(VideoHandlerTest, WithoutATrajectoryOneEmptyChunkIsHandedOver)
{
    const auto record = [this] {
        {
            std::lock_guard<std::mutex> guard(m_Journal.mutex);
            m_Journal.chunks.clear();
        }
        VideoHandler handler;
        Signals seen(handler);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("none.raw"), 32, 16, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        EXPECT_TRUE(seen.captureProgress().empty());
        ASSERT_EQ(m_Journal.seen().size(), 1u);
        EXPECT_EQ(m_Journal.seen()[0].size, 0);
        EXPECT_FALSE(m_Journal.seen()[0].isNull);
        EXPECT_TRUE(m_Journal.seen()[0].isLast);
    };
    auto* trajectory = TrajectoryHandler::getInstance();
    trajectory->selectMode(TrajectoryHandler::ModeNone);
    record();
    selectPoints(0);
    record();
    trajectory->getAdvancedTrajectoryInfo()->setMatrixMapList({});
    trajectory->selectMode(TrajectoryHandler::ModeAdvanced);
    record();
}

TEST_F(VideoHandlerTest, TheAdvancedTrajectoryMovesElementsAndView)
{
    tov::trajectory::MatrixMapList list;
    for (int i = 0; i < 3; ++i) {
        auto eye = tov::math::Matrix4::identity();
        eye(0, 3) = 0.5 * i;
        eye(2, 3) = 12;
        auto place = tov::math::Matrix4::identity();
        place(1, 3) = 0.4 * i;
        list.push_back({{QStringLiteral("camera"), eye}, {QStringLiteral("carrier"), place}});
    }
    auto* trajectory = TrajectoryHandler::getInstance();
    trajectory->getAdvancedTrajectoryInfo()->setMatrixMapList(list);
    trajectory->selectMode(TrajectoryHandler::ModeAdvanced);
    trajectory->setPosition(0);
    auto* panel = newPanel();
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("advanced.raw"), 64, 48, panel));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(seen.captureProgress(), (std::vector<int>{0, 33, 66}));
    const QByteArray bytes = m_Journal.allBytes();
    const int frame = 64 * 48 * 4;
    ASSERT_EQ(bytes.size(), 3 * frame);
    for (int i = 0; i < 3; ++i) {
        trajectory->setPosition(static_cast<unsigned long>(i));
        EXPECT_EQ(bytes.mid(i * frame, frame), tov::test::renderedFrame(panel->getScaledTransformMatrix(), 64, 48))
            << "frame " << i;
    }
    EXPECT_NE(bytes.left(frame), bytes.mid(frame, frame));
}

TEST_F(VideoHandlerTest, FramesEqualAnIndependentRendering)
{
    selectPoints(6);
    auto* panel = newPanel(200, 150);
    panel->orbit(25, 15);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("exact.raw"), 198, 122, panel));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    const QByteArray bytes = m_Journal.allBytes();
    const int frame = 198 * 122 * 4;
    ASSERT_EQ(bytes.size(), 6 * frame);
    for (int i = 0; i < 6; ++i) {
        TrajectoryHandler::getInstance()->setPosition(static_cast<unsigned long>(i));
        const QByteArray expected = tov::test::renderedFrame(panel->getScaledTransformMatrix(), 198, 122);
        ASSERT_EQ(expected.size(), frame);
        EXPECT_EQ(bytes.mid(i * frame, frame), expected) << "frame " << i;
        // The frames must differ from each other, or the comparison would be worthless.
        if (i > 0) {
            EXPECT_NE(bytes.mid(i * frame, frame), bytes.left(frame));
        }
    }
}

TEST_F(VideoHandlerTest, FramesOfAnotherPictureAreDetected)
{
    // The comparison with an independent rendering must detect differences.
    selectPoints(1);
    auto* panel = newPanel(200, 150);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("exact.raw"), 64, 48, panel));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    const QByteArray recorded = m_Journal.allBytes();
    const auto view = panel->getScaledTransformMatrix();
    ASSERT_EQ(recorded, tov::test::renderedFrame(view, 64, 48));
    panel->orbit(1, 0);
    EXPECT_NE(recorded, tov::test::renderedFrame(panel->getScaledTransformMatrix(), 64, 48)) << "a moved camera";
    auto* root = tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode();
    for (const char* name : {"top", "right", "Carrier"}) {
        auto* object = root->find(QLatin1String(name));
        ASSERT_NE(object, nullptr) << name;
        object->setVisible(false);
        EXPECT_NE(recorded, tov::test::renderedFrame(view, 64, 48)) << "without " << name;
        object->setVisible(true);
    }
    EXPECT_EQ(recorded, tov::test::renderedFrame(view, 64, 48));
    root->setVisible(false);
    const QByteArray blank = tov::test::renderedFrame(view, 64, 48);
    EXPECT_EQ(blank, blank.left(4).repeated(64 * 48));
    EXPECT_NE(recorded, blank);
    root->setVisible(true);
}

TEST_F(VideoHandlerTest, PixelsAreBlueGreenRedAlphaTopRowFirst)
{
    selectPoints(1);
    VideoHandler handler;
    Signals seen(handler);
    const int width = 120, height = 160;
    ASSERT_TRUE(handler.startSyncedGrabbing(file("pixels.raw"), width, height, newPanel(width, height)));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    const QByteArray bytes = m_Journal.allBytes();
    ASSERT_EQ(bytes.size(), width * height * 4);
    const auto pixel = [&](int x, int y) {
        const auto* p = reinterpret_cast<const unsigned char*>(bytes.constData()) + (y * width + x) * 4;
        return std::array<int, 4>{p[0], p[1], p[2], p[3]};
    };
    // Nothing is drawn in the corners: background colour with alpha 0.
    for (const auto& [x, y] : {std::pair{0, 0}, {width - 1, 0}, {0, height - 1}})
        EXPECT_EQ(pixel(x, y), (std::array<int, 4>{56, 34, 12, 0})) << x << ", " << y;
    // The red box is at the top and the blue one at the bottom; both are opaque.
    int redRow = 0, reds = 0, blueRow = 0, blues = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const auto [b, g, r, a] = pixel(x, y);
            if (a == 0)
                continue;
            EXPECT_EQ(a, 255);
            if (r > 2 * b && r > 2 * g) {
                redRow += y;
                ++reds;
            } else if (b > 2 * r && b > 2 * g) {
                blueRow += y;
                ++blues;
            }
        }
    ASSERT_GT(reds, 100);
    ASSERT_GT(blues, 50);
    EXPECT_LT(redRow / reds, height / 3);
    EXPECT_GT(blueRow / blues, height / 2);
}

TEST_F(VideoHandlerTest, AFreeRecordingFollowsTheViewUntilItIsStopped)
{
    setChunks(0, true);
    auto* panel = newPanel();
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startGrabbing(file("free.raw"), 32, 24, panel));
    EXPECT_TRUE(handler.isGrabbing());
    const qint64 frame = 32 * 24 * 4;
    ASSERT_TRUE(processUntil([&] { return m_Journal.totalSize() >= frame; }));
    panel->orbit(90, 0);
    const QByteArray turned = tov::test::renderedFrame(panel->getScaledTransformMatrix(), 32, 24);
    ASSERT_TRUE(processUntil([&] { return m_Journal.allBytes().contains(turned); }));
    EXPECT_EQ(seen.finished, 0);
    handler.stopGrabbing();
    EXPECT_EQ(seen.finished, 1);
    EXPECT_FALSE(handler.isGrabbing());
    EXPECT_EQ(m_Journal.totalSize() % frame, 0);
    EXPECT_EQ(QFileInfo(file("free.raw")).size(), m_Journal.totalSize());
    EXPECT_EQ(m_Journal.callsSeen().back(), "finish");
    EXPECT_EQ(m_Journal.aborted, 0);
}

TEST_F(VideoHandlerTest, AnAbortedRecordingLeavesNoFile)
{
    auto* panel = newPanel();
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startGrabbing(file("aborted.raw"), 32, 24, panel));
    EXPECT_TRUE(QFileInfo::exists(file("aborted.raw")));
    handler.abortGrabbing();
    EXPECT_FALSE(QFileInfo::exists(file("aborted.raw")));
    EXPECT_FALSE(handler.isGrabbing());
    EXPECT_EQ(m_Journal.aborted, 1);
    EXPECT_EQ(seen.finished, 1);
}

TEST_F(VideoHandlerTest, TheDestructorAborts)
{
    {
        VideoHandler handler;
        ASSERT_TRUE(handler.startGrabbing(file("dropped.raw"), 32, 24, newPanel()));
    }
    EXPECT_FALSE(QFileInfo::exists(file("dropped.raw")));
    EXPECT_EQ(m_Journal.aborted, 1);
}

TEST_F(VideoHandlerTest, AClosedPanelEndsTheCaptureAfterTheFrame)
{
    setChunks(0, true);
    auto* panel = newPanel();
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startGrabbing(file("closed.raw"), 32, 24, panel));
    ASSERT_TRUE(processUntil([&] { return m_Journal.totalSize() > 0; }));
    Viewer::getInstance()->closePanel(panel);
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    const auto chunks = m_Journal.seen();
    EXPECT_TRUE(chunks.back().isLast);
    EXPECT_EQ(m_Journal.totalSize() % (32 * 24 * 4), 0) << "complete frames only";
    EXPECT_TRUE(m_Log.withMessage(QStringLiteral("Could not make OpenGL context current!")).empty());
}

TEST_F(VideoHandlerTest, TheEncoderGetsTheSettings)
{
    selectPoints(1);
    {
        VideoHandler handler;
        Signals seen(handler);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("defaults.raw"), 32, 24, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        EXPECT_EQ(m_Journal.fps, 25);
        EXPECT_EQ(m_Journal.bitsPerSecond, 1200 * 1000);
        EXPECT_TRUE(m_Journal.outputWasOpen);
    }
    tovSettings().setValue(QStringLiteral("settings/grabvideofps"), 30);
    tovSettings().setValue(QStringLiteral("settings/grabvideokbps"), 4000);
    selectPoints(1);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("set.raw"), 32, 24, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(m_Journal.fps, 30);
    EXPECT_EQ(m_Journal.bitsPerSecond, 4000 * 1000);
}

TEST_F(VideoHandlerTest, LargeBitRatesWrapAround)
{
    tovSettings().setValue(QStringLiteral("settings/grabvideokbps"), 2147483647);
    selectPoints(1);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("wrap.raw"), 32, 24, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(m_Journal.bitsPerSecond, int(2147483647u * 1000u));
}

TEST_F(VideoHandlerTest, TheEncodersProgressIsRelayed)
{
    selectPoints(5);
    setChunks(0, true);
    std::atomic<bool> go{false};
    m_Journal.onChunk = [&](const tov::test::SeenChunk&) {
        while (!go)
            QThread::yieldCurrentThread();
    };
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("relay.raw"), 16, 16, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1 && !tov::test::threadNames().count("SyncedGrabber"); }));
    // The runner blocks at the first of six chunks until the handler waits for the encoder.
    std::atomic<int> stopperId{0};
    std::atomic<bool> done{false};
    std::thread stopper([&] {
        stopperId = gettid();
        handler.stopGrabbing();
        done = true;
    });
    EXPECT_TRUE(processUntil([&] { return tov::test::threadState(stopperId) == 'S'; }));
    go = true;
    EXPECT_TRUE(processUntil([&] { return done.load(); }));
    stopper.join();
    EXPECT_EQ(m_Journal.seen().size(), 6u);
    std::vector<int> relayed;
    for (std::size_t i = 0; i < seen.progress.size(); ++i)
        if (seen.threads[i] != "SyncedGrabber")
            relayed.push_back(seen.progress[i]);
    EXPECT_EQ(relayed, (std::vector<int>{-1, 0, 20, 40, 60, 80}));
}

TEST_F(VideoHandlerTest, ThreadsHaveTheirNamesAndPriorities)
{
    setChunks(0, true);
    std::atomic<int> runnerPolicy{-1};
    m_Journal.onChunk = [&](const tov::test::SeenChunk&) { runnerPolicy = sched_getscheduler(0); };
    {
        VideoHandler handler;
        ASSERT_TRUE(handler.startGrabbing(file("names.raw"), 32, 24, newPanel()));
        ASSERT_TRUE(processUntil([&] { return m_Journal.totalSize() > 0; }));
        const auto names = tov::test::threadNames();
        EXPECT_TRUE(names.count("Grabber"));
        EXPECT_FALSE(names.count("SyncedGrabber"));
        EXPECT_EQ(tov::test::schedulingPolicy("Grabber"), SCHED_OTHER);
        EXPECT_EQ(m_Journal.captureThread, "Grabber");
        EXPECT_EQ(m_Journal.capturePriority, QThread::HighestPriority);
        EXPECT_EQ(runnerPolicy, SCHED_IDLE);
        handler.stopGrabbing();
    }
    {
        std::lock_guard<std::mutex> guard(m_Journal.mutex);
        m_Journal.chunks.clear();
    }
    selectPoints(100000);
    VideoHandler handler;
    ASSERT_TRUE(handler.startSyncedGrabbing(file("names2.raw"), 32, 24, newPanel()));
    ASSERT_TRUE(processUntil([&] { return m_Journal.totalSize() > 0; }));
    EXPECT_TRUE(tov::test::threadNames().count("SyncedGrabber"));
    EXPECT_EQ(m_Journal.captureThread, "SyncedGrabber");
    EXPECT_EQ(m_Journal.capturePriority, QThread::InheritPriority);
    handler.stopGrabbing();
    // The system lists a thread for a moment after its end.
    EXPECT_TRUE(processUntil([] { return !tov::test::threadNames().count("SyncedGrabber"); }));
}

TEST_F(VideoHandlerTest, SignalsComeFromTheCaptureThread)
{
    selectPoints(2);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("thread.raw"), 32, 24, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    EXPECT_NE(seen.finishedOn, QThread::currentThread());
    // The last chunk has already been handed over.
    EXPECT_EQ(m_Journal.callsSeen().front(), "init");
    handler.stopGrabbing();
}

TEST_F(VideoHandlerTest, MayBeStartedAndEndedOnAnotherThread)
{
    setChunks(0, true);
    auto* panel = newPanel();
    VideoHandler handler;
    std::atomic<bool> done{false}, started{false};
    const QString name = file("elsewhere.raw");
    std::thread command([&] {
        started = handler.startGrabbing(name, 32, 24, panel);
        while (m_Journal.totalSize() == 0)
            QThread::yieldCurrentThread();
        handler.stopGrabbing();
        done = true;
    });
    EXPECT_TRUE(processUntil([&] { return done.load(); }));
    command.join();
    EXPECT_TRUE(started);
    EXPECT_EQ(QFileInfo(name).size(), m_Journal.totalSize());
}

TEST_F(VideoHandlerTest, IsReadyForASecondRecording)
{
    auto* panel = newPanel();
    VideoHandler handler;
    Signals seen(handler);
    for (int i = 0; i < 2; ++i) {
        selectPoints(3);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("again.raw"), 32, 24, panel));
        ASSERT_TRUE(processUntil([&] { return seen.finished == i + 1; }));
        handler.stopGrabbing();
        EXPECT_EQ(QFileInfo(file("again.raw")).size(), 3 * 32 * 24 * 4);
    }
    EXPECT_EQ(m_Journal.callsSeen(), (std::vector<std::string>{"init", "chunk", "finish", "init", "chunk", "finish"}));
}

TEST_F(VideoHandlerTest, TheLargestTextureIsAcceptedAndOneMoreRefused)
{
    selectPoints(1);
    tov::test::faults::maxTextureSize = 64;
    {
        VideoHandler handler;
        Signals seen(handler);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("largest.raw"), 64, 64, newPanel())) << m_Log.text();
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        EXPECT_EQ(m_Journal.totalSize(), 64 * 64 * 4);
    }
    const std::pair<int, int> sizes[2] = {{65, 64}, {64, 65}};
    for (const auto& [width, height] : sizes) {
        m_Log.clear();
        VideoHandler handler;
        EXPECT_FALSE(handler.startSyncedGrabbing(file("toolarge.raw"), width, height, newPanel()));
        const auto records = m_Log.withMessage(
            QStringLiteral("You can not grab videos with size %1 x %2 because your max. texture size is 64")
                .arg((width + 1) & ~1)
                .arg((height + 1) & ~1));
        ASSERT_EQ(records.size(), 1u) << m_Log.text();
        EXPECT_EQ(records[0].level, 2000);
        EXPECT_EQ(records[0].file, "videohandler");
        EXPECT_EQ(records[0].function, "initStart");
        EXPECT_FALSE(handler.isGrabbing());
        EXPECT_FALSE(QFileInfo::exists(file("toolarge.raw")));
    }
}

TEST_F(VideoHandlerTest, AnUnknownExtensionFailsTheStart)
{
    auto* panel = newPanel();
    VideoHandler handler;
    const QString name = file("clip.unknown");
    EXPECT_FALSE(handler.startGrabbing(name, 32, 24, panel));
    EXPECT_FALSE(handler.startSyncedGrabbing(name, 32, 24, panel));
    EXPECT_EQ(m_Log.withMessage(QStringLiteral("No encoder for file '%1' found").arg(name)).size(), 2u);
    EXPECT_FALSE(handler.isGrabbing());
    EXPECT_FALSE(tov::test::threadNames().count("Grabber"));
    // The panel may be destroyed before the handler.
    Viewer::getInstance()->closePanel(panel);
    handler.stopGrabbing();
}
