// What happens when OpenGL fails.

#include "grab/videohandler.h"

#include "grab/video/encoder.h"
#include "scene/view/viewer.h"
#include "tests/grab/videofixture.h"

#include <QOpenGLContext>
#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <limits>

using tov::grab::VideoHandler;
using tov::test::processUntil;
using tov::test::Signals;
namespace faults = tov::test::faults;

namespace {

class VideoFaults : public tov::test::VideoFixture
{
protected:
    void expectRefusedStart(const char* message)
    {
        auto* panel = newPanel();
        m_Log.clear();
        VideoHandler handler;
        EXPECT_FALSE(handler.startGrabbing(file("refused.raw"), 32, 16, panel));
        const auto records = m_Log.withMessage(QString::fromLatin1(message));
        ASSERT_EQ(records.size(), 1u) << m_Log.text();
        EXPECT_EQ(records[0].level, 2000);
        EXPECT_EQ(records[0].file, "videohandler");
        EXPECT_EQ(records[0].function, "initGL");
        EXPECT_FALSE(handler.isGrabbing());
        EXPECT_TRUE(m_Journal.callsSeen().empty());
        faults::clear();
        // The handler may try again.
        selectPoints(1);
        Signals seen(handler);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("later.raw"), 32, 16, panel));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        EXPECT_EQ(m_Journal.totalSize(), 32 * 16 * 4);
    }

    /// Records three positions.
    void record()
    {
        selectPoints(3);
        VideoHandler handler;
        Signals seen(handler);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("faults.raw"), 32, 16, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
    }
};

} // namespace

TEST_F(VideoFaults, AContextThatCannotBeCreatedRefusesTheStart)
{
    faults::contextCreateFails = true;
    expectRefusedStart("Could not create OpenGL context!");
}

TEST_F(VideoFaults, AContextThatCannotBeMadeCurrentRefusesTheStart)
{
    faults::makeCurrentFails = faults::Where::Application;
    expectRefusedStart("Current OpenGL context is invalid!");
}

TEST_F(VideoFaults, AnUnknownTextureSizeRefusesTheStart)
{
    faults::maxTextureSize = 0;
    expectRefusedStart("Could not determine the maximum texture size");
}

TEST_F(VideoFaults, MissingFramebuffersRefuseTheStart)
{
    faults::framebuffersMissing = true;
    expectRefusedStart("Your OpenGL implementation doesn't support framebuffer objects");
}

TEST_F(VideoFaults, AContextThatIsLostEndsTheCapture)
{
    faults::makeCurrentFails = faults::Where::Capture;
    record();
    const auto records = m_Log.withMessage(QStringLiteral("Could not make OpenGL context current!"));
    ASSERT_EQ(records.size(), 1u) << "the capture ends after this frame";
    EXPECT_EQ(records[0].level, 2000);
    EXPECT_EQ(records[0].file, "videohandler");
    EXPECT_EQ(records[0].function, "grabPicture");
    EXPECT_EQ(m_Journal.totalSize(), 0);
    EXPECT_TRUE(m_Journal.seen().back().isLast);
    // All locks have been released.
    auto* panel = newPanel();
    tov::scene::Viewer::getInstance()->closePanel(panel);
    faults::clear();
    record();
    EXPECT_EQ(m_Journal.totalSize(), 3 * 32 * 16 * 4);
}

TEST_F(VideoFaults, AFailedBindingSkipsItsFrame)
{
    faults::bindsToFail = 1;
    record();
    const auto records = m_Log.withMessage(QStringLiteral("Couldn't bind FBO to OpenGL context"));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].function, "grabPicture");
    EXPECT_EQ(m_Journal.totalSize(), 2 * 32 * 16 * 4);
}

TEST_F(VideoFaults, ABindingThatFailsToTheEndReleasesTheContext)
{
    faults::bindsToFail = 1000;
    record();
    EXPECT_EQ(m_Log.withMessage(QStringLiteral("Couldn't bind FBO to OpenGL context")).size(), 3u);
    EXPECT_EQ(m_Journal.totalSize(), 0);
    faults::clear();
    record();
    EXPECT_EQ(m_Journal.totalSize(), 3 * 32 * 16 * 4);
}

TEST_F(VideoFaults, TheContextLeavesTheCaptureThreadAndFreesItsObjectsItself)
{
    for (const int bindsToFail : {0, 3}) {
        SCOPED_TRACE(bindsToFail);
        auto* panel = newPanel();
        selectPoints(3);
        VideoHandler handler;
        Signals seen(handler);
        std::atomic<bool> isCurrent{true};
        QObject::connect(
            &handler, &VideoHandler::grabbingFinished, &handler,
            [&] { isCurrent = QOpenGLContext::currentContext() != nullptr; }, Qt::DirectConnection);
        faults::bindsToFail = bindsToFail;
        faults::contextsBroughtBack = 0;
        ASSERT_TRUE(handler.startSyncedGrabbing(file("context.raw"), 32, 16, panel));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        EXPECT_FALSE(isCurrent) << "a context that is current on a thread cannot be moved to another";
        EXPECT_EQ(faults::contextsBroughtBack, 1)
            << "framebuffer objects must be deleted in the context that made them";
    }
}

TEST_F(VideoFaults, AFailedReadBackSkipsItsFrame)
{
    faults::readBacksToFail = 2;
    record();
    const auto records = m_Log.withMessage(QStringLiteral("Picture couldn't be grabbed by FBO"));
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].level, 2000);
    EXPECT_EQ(records[0].function, "grabPicture");
    EXPECT_EQ(m_Journal.totalSize(), 32 * 16 * 4);
}

TEST_F(VideoFaults, NegativeSizesRecordNothingAndDoNoHarm)
{
    selectPoints(2);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("negative.raw"), -64, 48, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(m_Journal.width, -64);
    EXPECT_EQ(m_Journal.totalSize(), 0);
}

TEST_F(VideoFaults, TheLargestSizeOverflowsAndDoesNoHarm)
{
    selectPoints(2);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("large.raw"), 2147483647, 48, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(m_Journal.width, std::numeric_limits<int>::min());
    EXPECT_EQ(m_Journal.totalSize(), 0);
}

namespace {

std::atomic<bool> runnerWorks{false};

/// Reports its state and blocks at its chunk.
class StateEncoder : public tov::grab::video::Encoder
{
public:
    QSemaphore gate{0};
    int state() { return std::atomic_ref<int>(m_State).load(); }

protected:
    bool initEncoding(QIODevice*, bool) override { return true; }
    bool encodeChunk(QIODevice*, bool) override
    {
        gate.acquire();
        return true;
    }
    void finishEncoding() override {}
};

} // namespace

TEST_F(VideoFaults, ARunnerThatIsFasterThanItsStarterKeepsItsState)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "thread starts cannot be delayed with the thread sanitizer";
#endif
    StateEncoder encoder;
    runnerWorks = false;
    QObject::connect(
        &encoder, &StateEncoder::progressChanged, &encoder, [](int) { runnerWorks = true; }, Qt::DirectConnection);
    faults::onStarted = [] {
        while (!runnerWorks)
            QThread::yieldCurrentThread();
    };
    EXPECT_TRUE(encoder.encodeVideoChunk(nullptr, true));
    faults::onStarted = nullptr;
    EXPECT_EQ(encoder.state(), StateEncoder::Running);
    encoder.gate.release();
    encoder.waitForFinish();
}
