// The order of the steps of a recording, and its behaviour when threads, OpenGL or memory fail.

#include "grab/videohandler.h"

#include "grab/render/applicationthread.h"
#include "grab/video/videoencoder.h"
#include "kernel/main/settings.h"
#include "tests/grab/videofixture.h"
#include "tests/support/markingtranslator.h"
#include "tests/support/threads.h"
#include "trajectory/trajectoryhandler.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QThread>

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using tov::grab::VideoHandler;
using tov::test::processUntil;
using tov::test::SeenChunk;
using tov::test::Signals;
namespace faults = tov::test::faults;

namespace {

std::mutex callsMutex;
std::vector<std::string> calls; ///< guarded by callsMutex

void noteLocks(const char* call)
{
    if (!std::strstr(call, "lock ") && std::strcmp(call, "bind") != 0)
        return;
    std::lock_guard<std::mutex> guard(callsMutex);
    calls.push_back(call);
}

class VideoOrder : public tov::test::VideoFixture
{
protected:
    void SetUp() override
    {
        VideoFixture::SetUp();
        calls.clear();
        m_Journal.keepBytes = true;
    }
    /// Records that many positions, 32 x 16.
    void record(unsigned long positions)
    {
        selectPoints(positions);
        VideoHandler handler;
        Signals seen(handler);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("order.raw"), 32, 16, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
    }
    static constexpr int FrameBytes = 32 * 16 * 4;
};

} // namespace

TEST_F(VideoOrder, AFrameLocksTheContextThenTheSceneAndUnlocksInReverse)
{
    faults::onCall = noteLocks;
    // One position: the trajectory locks the scene as well, before the frame.
    record(1);
    const auto begin = std::find(calls.begin(), calls.end(), "lock context");
    EXPECT_EQ((std::vector<std::string>(begin, calls.end())),
              (std::vector<std::string>{"lock context", "lock scene", "bind", "unlock scene", "unlock context"}));
}

TEST_F(VideoOrder, AFrameWithoutACurrentContextUnlocksTheContextFirst)
{
    faults::onCall = noteLocks;
    faults::makeCurrentFails = faults::Where::Capture;
    record(1);
    const auto begin = std::find(calls.begin(), calls.end(), "lock context");
    EXPECT_EQ((std::vector<std::string>(begin, calls.end())),
              (std::vector<std::string>{"lock context", "lock scene", "unlock context", "unlock scene"}));
}

TEST_F(VideoOrder, AFrameThatCannotBindUnlocksTheSceneFirst)
{
    faults::onCall = noteLocks;
    faults::bindsToFail = 1;
    record(1);
    const auto begin = std::find(calls.begin(), calls.end(), "lock context");
    EXPECT_EQ((std::vector<std::string>(begin, calls.end())),
              (std::vector<std::string>{"lock context", "lock scene", "bind", "unlock scene", "unlock context"}));
}

namespace {

struct GlState
{
    double projection[16], modelView[16];
    float clearColor[4];
    int matrixMode, shadeModel;
    bool depthTest, lighting, light0, colorMaterial;
};

GlState glState()
{
    GlState state;
    glGetDoublev(GL_PROJECTION_MATRIX, state.projection);
    glGetDoublev(GL_MODELVIEW_MATRIX, state.modelView);
    glGetFloatv(GL_COLOR_CLEAR_VALUE, state.clearColor);
    glGetIntegerv(GL_MATRIX_MODE, &state.matrixMode);
    glGetIntegerv(GL_SHADE_MODEL, &state.shadeModel);
    state.depthTest = glIsEnabled(GL_DEPTH_TEST);
    state.lighting = glIsEnabled(GL_LIGHTING);
    state.light0 = glIsEnabled(GL_LIGHT0);
    state.colorMaterial = glIsEnabled(GL_COLOR_MATERIAL);
    return state;
}

std::atomic<int> binds{0};
GlState stateAfterFrame;

/// Sets a state of its own before the first frame, and reads the state before the second one.
void useOwnState(const char* call)
{
    if (std::strcmp(call, "bind") != 0)
        return;
    if (binds++ == 0) {
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glTranslated(1, 2, 3);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glTranslated(4, 5, 6);
        glMatrixMode(GL_TEXTURE);
        glClearColor(0.25f, 0.5f, 0.75f, 1.0f);
        glShadeModel(GL_FLAT);
    } else {
        stateAfterFrame = glState();
    }
}

} // namespace

TEST_F(VideoOrder, AFrameRestoresTheStateOfItsContext)
{
    binds = 0;
    stateAfterFrame = {};
    faults::onCall = useOwnState;
    record(2);
    ASSERT_EQ(binds, 2);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(stateAfterFrame.projection[12 + i], 1 + i);
        EXPECT_EQ(stateAfterFrame.modelView[12 + i], 4 + i);
    }
    EXPECT_EQ(stateAfterFrame.projection[0], 1);
    EXPECT_EQ(stateAfterFrame.modelView[0], 1);
    EXPECT_EQ(stateAfterFrame.matrixMode, GL_TEXTURE);
    EXPECT_EQ(stateAfterFrame.shadeModel, GL_FLAT);
    const float color[4] = {0.25f, 0.5f, 0.75f, 1.0f};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(stateAfterFrame.clearColor[i], color[i]);
    EXPECT_FALSE(stateAfterFrame.depthTest);
    EXPECT_FALSE(stateAfterFrame.lighting);
    EXPECT_FALSE(stateAfterFrame.light0);
    EXPECT_FALSE(stateAfterFrame.colorMaterial);
}

namespace {

/// Elapsed times of successive frames in milliseconds, each with the sleep before it.
constexpr std::array<int, 7> Elapsed = {10, 35, 15, 55, 39, 41, 40};
std::atomic<std::size_t> restarts{0};
std::vector<unsigned long> sleeps; ///< of the capture thread

} // namespace

TEST_F(VideoOrder, AFreeRecordingSubtractsTheLastWait)
{
    restarts = 0;
    sleeps.clear();
    faults::onSleep = [](unsigned long milliseconds) { sleeps.push_back(milliseconds); };
    faults::onRestart = [] {
        const std::size_t i = restarts++;
        // Long frames at the end, so that no sleep follows them.
        return i < Elapsed.size() ? Elapsed[i] : 1000;
    };
    VideoHandler handler;
    ASSERT_TRUE(handler.startGrabbing(file("pace.raw"), 32, 16, newPanel()));
    ASSERT_TRUE(processUntil([] { return restarts > Elapsed.size(); }));
    handler.stopGrabbing();
    // 40 - 10 = 30; 40 - 35 - 30 < 0; 40 - 15 = 25; 40 - 55 - 25 < 0; 40 - 39 = 1; 40 - 41 - 1 < 0; 40 - 40 = 0.
    EXPECT_EQ(sleeps, (std::vector<unsigned long>{30, 25, 1}));
}

namespace {

std::vector<std::string> startCalls;

struct SettingsChangingFactory
{
    static tov::grab::video::Encoder* create(void* journal)
    {
        startCalls.push_back("encoder");
        tovSettings().setValue(QStringLiteral("settings/grabvideofps"), 7);
        return tov::test::CollectingEncoder::create(journal);
    }
};

} // namespace

TEST_F(VideoOrder, AStartMakesTheContextThenTheEncoderThenReadsTheSettings)
{
    startCalls.clear();
    ASSERT_TRUE(tov::grab::video::VideoEncoder::getInstance()->registerEncoder(
        SettingsChangingFactory::create, QStringLiteral("late"), QString(), &m_Journal));
    faults::onCall = [](const char* call) {
        if (std::strcmp(call, "create") == 0)
            startCalls.push_back("context");
    };
    selectPoints(1);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("order.late"), 32, 16, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(startCalls, (std::vector<std::string>{"context", "encoder"}));
    EXPECT_EQ(m_Journal.fps, 7);
}

TEST_F(VideoOrder, TheSizeIsCheckedBeforeTheExtension)
{
    faults::maxTextureSize = 16;
    VideoHandler handler;
    EXPECT_FALSE(handler.startGrabbing(file("large.unknown"), 32, 16, newPanel()));
    const QString message = "You can not grab videos with size 32 x 16 because your max. texture size is 16";
    EXPECT_EQ(m_Log.withMessage(message).size(), 1u) << m_Log.text();
    EXPECT_EQ(m_Log.text().find("No encoder for file"), std::string::npos) << m_Log.text();
}

TEST_F(VideoOrder, APendingErrorOfEarlierWorkDropsNoFrame)
{
    faults::onCall = [](const char* call) {
        if (std::strcmp(call, "bind") == 0)
            faults::glErrors = 1;
    };
    record(3);
    EXPECT_EQ(m_Journal.totalSize(), 3 * FrameBytes);
    EXPECT_EQ(faults::glErrors, 0) << "the errors were not pending at all";
    EXPECT_TRUE(m_Log.withMessage(QStringLiteral("Picture couldn't be grabbed by FBO")).empty());
}

TEST_F(VideoOrder, AFatalErrorOfAFrameDropsThatFrame)
{
    binds = 0;
    faults::onCall = [](const char* call) {
        if (std::strcmp(call, "flush") == 0 && QThread::currentThread()->objectName() == "SyncedGrabber" &&
            binds++ == 1)
            faults::glErrors = 1;
    };
    record(3);
    EXPECT_EQ(m_Journal.totalSize(), 2 * FrameBytes);
    EXPECT_EQ(m_Log.withMessage(QStringLiteral("Picture couldn't be grabbed by FBO")).size(), 1u) << m_Log.text();
}

TEST_F(VideoOrder, AnotherThreadMayQueryWhetherItRecords)
{
    VideoHandler handler;
    ASSERT_TRUE(handler.startGrabbing(file("asked.raw"), 32, 16, newPanel()));
    std::atomic<bool> sawEnd{false};
    std::thread other([&] {
        while (handler.isGrabbing())
            std::this_thread::yield();
        sawEnd = true;
    });
    handler.stopGrabbing();
    other.join();
    EXPECT_TRUE(sawEnd);
}

TEST_F(VideoOrder, ARefusedCaptureThreadRefusesTheStart)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer has its own thread creation";
#endif
    auto* panel = newPanel();
    const QString name = file("refused.raw");
    {
        VideoHandler handler;
        for (const char* thread : {"Grabber", "SyncedGrabber"}) {
            faults::refusedThread = thread;
            m_Log.clear();
            EXPECT_FALSE(QLatin1String(thread) == QLatin1String("Grabber")
                             ? handler.startGrabbing(name, 32, 16, panel)
                             : handler.startSyncedGrabbing(name, 32, 16, panel));
            EXPECT_EQ(
                m_Log.withMessage(QStringLiteral("There is no thread to record video '%1' with").arg(name)).size(), 1u)
                << m_Log.text();
            EXPECT_FALSE(handler.isGrabbing());
            EXPECT_FALSE(QFileInfo::exists(name));
        }
    }
    faults::refusedThread = nullptr;
    record(2);
    EXPECT_EQ(m_Journal.totalSize(), 2 * FrameBytes);
}

TEST_F(VideoOrder, ARefusedRunnerThreadIsReportedAndRefusesTheEncoding)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer has its own thread creation";
#endif
    // The runner, which has no name, is started right after the first hook.
    m_Journal.onFirst = [](const SeenChunk&) { faults::refusedThread = ""; };
    record(1);
    const auto records = m_Log.records();
    ASSERT_EQ(records.size(), 2u) << m_Log.text();
    EXPECT_EQ(records[0].message, "There is no thread to encode the video with");
    EXPECT_EQ(records[1].message, "Couldn't initialize video encoding");
    for (const auto& record : records) {
        EXPECT_EQ(record.level, 2000);
        EXPECT_EQ(record.file, "video/encoder");
        EXPECT_EQ(record.function, "encodeVideoChunk");
    }
    EXPECT_EQ(m_Journal.callsSeen(), (std::vector<std::string>{"init", "finish"}));
}

namespace {

std::atomic<bool> isMapping{false};
std::atomic<bool> isHandedOver{false};
std::atomic<int> captureId{0};

/// Holds the helper thread in its first call until the capture thread has handed the chunk over or waits.
void holdMapping()
{
    if (!tov::test::threadNames().count("PagePrefaulter") || isMapping.exchange(true))
        return;
    int sleeping = 0;
    while (!isHandedOver && sleeping < 200) {
        sleeping = captureId != 0 && tov::test::threadState(captureId) == 'S' ? sleeping + 1 : 0;
        std::this_thread::yield();
    }
    isMapping = false;
    faults::onMadvise = nullptr;
}

} // namespace

TEST_F(VideoOrder, TheHelperThreadLeavesAChunkBeforeItIsHandedOver)
{
    // A chunk holds one frame: it is the last one, or it is handed over when the second frame needs another one.
    setChunks(1, true);
    for (const unsigned long frames : {1ul, 2ul}) {
        SCOPED_TRACE(frames);
        isMapping = isHandedOver = false;
        captureId = 0;
        std::atomic<bool> wasMapping{true};
        m_Journal.onFirst = [&](const SeenChunk&) {
            wasMapping = isMapping.load();
            isHandedOver = true;
        };
        faults::onCall = [](const char* call) {
            // From here on the capture thread waits for the helper only.
            if (std::strcmp(call, "unlock context") == 0)
                captureId = tov::test::threadId();
        };
        faults::onMadvise = holdMapping;
        selectPoints(frames);
        VideoHandler handler;
        Signals seen(handler);
        // A frame that fills a whole number of pages.
        ASSERT_TRUE(handler.startSyncedGrabbing(file("pages.raw"), 512, 512, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        ASSERT_TRUE(isHandedOver);
        EXPECT_FALSE(wasMapping);
        EXPECT_EQ(m_Journal.totalSize(), qint64(frames) * 512 * 512 * 4);
        m_Journal.chunks.clear();
    }
}

TEST_F(VideoOrder, RecordsAreTranslatedExceptOne)
{
    const tov::test::MarkingTranslator marker;
    const auto expectOnly = [this](const char* message) {
        ASSERT_EQ(m_Log.records().size(), 1u) << m_Log.text();
        EXPECT_EQ(m_Log.records()[0].message, QString::fromLatin1(message));
        m_Log.clear();
        faults::clear();
    };
    auto* panel = newPanel();
    const auto refuse = [&](const char* name) {
        VideoHandler handler;
        EXPECT_FALSE(handler.startGrabbing(QString::fromLatin1(name), 32, 16, panel));
    };
    m_Log.clear();
    faults::contextCreateFails = true;
    refuse("a.raw");
    expectOnly("tr:Could not create OpenGL context!");
    faults::makeCurrentFails = faults::Where::Application;
    refuse("a.raw");
    expectOnly("tr:Current OpenGL context is invalid!");
    faults::maxTextureSize = 0;
    refuse("a.raw");
    expectOnly("tr:Could not determine the maximum texture size");
    faults::framebuffersMissing = true;
    refuse("a.raw");
    expectOnly("tr:Your OpenGL implementation doesn't support framebuffer objects");
    faults::maxTextureSize = 16;
    refuse("a.raw");
    expectOnly("tr:You can not grab videos with size 32 x 16 because your max. texture size is 16");
    refuse("a.unknown");
    expectOnly("tr:No encoder for file 'a.unknown' found");
    faults::bindsToFail = 1;
    record(1);
    expectOnly("tr:Couldn't bind FBO to OpenGL context");
    faults::readBacksToFail = 1;
    record(1);
    expectOnly("tr:Picture couldn't be grabbed by FBO");
    faults::writesWithoutMemory = 1;
    record(1);
    expectOnly("tr:Couldn't write 2048 bytes to temporary file");
    faults::makeCurrentFails = faults::Where::Capture;
    record(1);
    expectOnly("Could not make OpenGL context current!");
}

TEST_F(VideoOrder, AHandlerDestroyedInsideAWorkerEndsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            selectPoints(1);
            auto* handler = new VideoHandler;
            Signals seen(*handler);
            handler->startSyncedGrabbing(file("inside.raw"), 32, 16, newPanel());
            tov::grab::render::onApplicationThread([&] {
                // The capture thread posts its worker, which cannot run before this one has ended.
                while (seen.finished == 0)
                    std::this_thread::yield();
                delete handler;
            });
        },
        "must not be destroyed inside of a worker");
    // The process that ended has left its directories.
    QDir(m_Temporary.path()).removeRecursively();
    QDir().mkpath(m_Temporary.path());
}
