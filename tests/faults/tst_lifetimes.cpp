// Recordings and pictures whose panel is closed, that are stopped, or that have to wait for the application thread, at
// named moments and at random ones. Nothing may crash, hang or leak, and the file must agree with the log.
// TOV_LIFETIME_ROUNDS: number of random rounds; TOV_LIFETIME_SEED: seed of the random numbers.

#include "grab/commands/grabimage.h"
#include "grab/commands/grabvideo.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"
#include "tests/grab/videofixture.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QOpenGLContext>
#include <QSemaphore>
#include <QThread>

#include <cstdio>
#include <cstring>
#include <random>

using tov::commands::grab::GrabImage;
using tov::commands::grab::GrabVideo;
using tov::gui::ScenePanel;
using tov::main::Command;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::scene::Viewer;
using tov::test::processUntil;
using tov::trajectory::TrajectoryHandler;
namespace faults = tov::test::faults;

namespace {

/// Blocks a thread at its n-th call of a kind until the gate is opened.
class Gate
{
public:
    /// Blocks at the n-th call (from 1) of that name.
    static void arm(const char* call, int n)
    {
        m_Go.acquire(m_Go.available());
        m_Left = n;
        m_Reached = false;
        m_Call = call;
        faults::onCall = pass;
    }
    /// Lets the thread and all later ones continue.
    static void open()
    {
        m_Call = nullptr;
        m_Go.release();
    }
    static bool isReached() { return m_Reached; }
    static void pass(const char* call)
    {
        const char* const awaited = m_Call;
        if (!awaited || std::strcmp(awaited, call) != 0 || --m_Left != 0)
            return;
        m_Reached = true;
        // The application thread opens the gate, so it must not block.
        if (QThread::currentThread() != QCoreApplication::instance()->thread())
            m_Go.tryAcquire(1, 30000);
    }

private:
    static inline std::atomic<const char*> m_Call{nullptr};
    static inline std::atomic<int> m_Left{0};
    static inline std::atomic<bool> m_Reached{false};
    static inline QSemaphore m_Go{0};
};

struct Moment
{
    const char* name;
    const char* call; ///< the call at which the recording is blocked; null: none, it has not started
    int n;            ///< the number of that call
    bool synced;      ///< a walk of six positions; otherwise a free-running recording
    int megabytes;    ///< limit of a chunk; 0: one frame per chunk
    bool inFrame;     ///< closing the panel waits for the frame, so the gate is opened first
};

const Moment Moments[] = {
    {"before the start", nullptr, 0, true, 50, false},
    {"during the set-up of OpenGL", "create", 1, true, 50, false},
    {"before the first frame", "open", 1, true, 50, false},
    {"at the beginning of a frame", "bind", 2, true, 50, true},
    {"while a frame is read back", "toImage", 3, false, 50, true},
    {"between two frames", "msleep", 1, false, 50, false},
    {"at a rotation", "open", 3, true, 0, false},
    {"at the last hand-over", "hand-over", 1, true, 50, false},
    {"while the last chunk is encoded", "encode", 1, true, 50, false},
};

enum Ending
{
    Close,
    Stop,
    StopThenClose,
    CloseThenStop,
    Endings,
};
const char* const EndingNames[Endings] = {"closed", "stopped", "stopped, then closed", "closed, then stopped"};

int environmentNumber(const char* name, int initial)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok ? value : initial;
}

class Lifetimes : public tov::test::VideoFixture
{
protected:
    void SetUp() override
    {
        VideoFixture::SetUp();
        m_Video = addPrototype(GrabVideo::create);
        m_Image = addPrototype(GrabImage::create);
        m_Journal.onFirst = [](const tov::test::SeenChunk& chunk) {
            if (chunk.isLast)
                Gate::pass("hand-over");
        };
        m_Journal.onChunk = [](const tov::test::SeenChunk&) { Gate::pass("encode"); };
        // OpenGL allocates resources for the process during the first recording and picture.
        record(Moments[0], Stop);
        takePicture("bind", 1, false);
        ASSERT_TRUE(processUntil(isQuiet));
        m_Threads = tov::test::threadCount();
        m_Descriptors = tov::test::descriptorCount();
        m_Contexts = contexts();
        m_Count = 0;
    }
    void TearDown() override
    {
        EXPECT_TRUE(processUntil([this] { return tov::test::threadCount() <= m_Threads; }))
            << tov::test::threadCount() << " threads after, " << m_Threads << " before";
        EXPECT_TRUE(processUntil([this] { return tov::test::descriptorCount() <= m_Descriptors; }))
            << tov::test::descriptorCount() << " descriptors after, " << m_Descriptors << " before";
        EXPECT_EQ(contexts(), m_Contexts);
        for (Command* prototype : {m_Video, m_Image}) {
            m_Processor->removePrimaryCommand(prototype);
            m_Processor->destroyCommand(prototype);
        }
        VideoFixture::TearDown();
    }
    Command* addPrototype(Command* (*create)())
    {
        Command* prototype = create();
        m_Processor->addPrimaryCommand(prototype, create);
        return prototype;
    }
    static int contexts() { return tov::scene::_GlobalContext()->glContext()->shareGroup()->shares().size(); }
    /// False while a thread of a command exists. Qt reports its end a moment before the thread and its descriptors are
    /// released.
    static bool isQuiet()
    {
        for (const std::string& name : tov::test::threadNames())
            if (name == "Command" || name == "Grabber" || name == "SyncedGrabber" || name == "QThread")
                return false;
        return true;
    }
    /// A new panel, which the next command uses.
    ScenePanel* activePanel()
    {
        ScenePanel* panel = newPanel(48, 48);
        Viewer::getInstance()->setActivePanel(panel);
        m_Processor->drain();
        return panel;
    }
    /// Prints the result of a case.
    void note(const std::string& text)
    {
        ++m_Count;
        std::printf("%3d  %s: %s\n", m_Count, text.c_str(), HasFailure() ? "FAILED" : "held");
    }
    void prepare(const Moment& moment)
    {
        m_Log.clear();
        setChunks(moment.megabytes, true);
        selectPoints(6);
        {
            std::lock_guard<std::mutex> guard(m_Journal.mutex);
            m_Journal.chunks.clear();
        }
        if (moment.call)
            Gate::arm(moment.call, moment.n);
    }
    CommandRunPointer startVideo(bool synced, const QString& name)
    {
        QString error;
        const CommandRunPointer run = m_Processor->start(
            QStringLiteral("grabvideo filename=\"%1\" width=32 height=32 sync=%2").arg(name).arg(synced ? 1 : 0),
            &error);
        EXPECT_TRUE(run) << error.toStdString();
        return run;
    }
    /// Expects that the recording has ended in one of two ways or has never started, that the file agrees with the log,
    /// and that nothing is left.
    void check(const QString& name, bool closed)
    {
        const bool done = m_Log.contains(QStringLiteral("Video '%1' encoding done").arg(name));
        const bool gone = m_Log.contains(QStringLiteral("Video grabbing aborted"));
        const bool none = m_Log.contains(QStringLiteral("There is no active scene window selected"));
        EXPECT_EQ(int(done) + int(gone) + int(none), 1) << m_Log.text();
        if (!closed) {
            EXPECT_TRUE(done) << m_Log.text();
        }
        EXPECT_EQ(QFileInfo::exists(name), done);
        if (done) {
            EXPECT_EQ(QFileInfo(name).size(), m_Journal.totalSize());
            EXPECT_EQ(m_Journal.totalSize() % (32 * 32 * 4), 0) << "complete frames only";
        }
        {
            std::lock_guard<std::mutex> guard(m_Journal.mutex);
            EXPECT_EQ(m_Journal.living, 0);
        }
        EXPECT_EQ(tov::test::entryCount(m_Temporary.path()), 0);
        // The prototype is enabled for the next panel.
        ScenePanel* next = activePanel();
        EXPECT_FALSE(m_Video->isDisabled());
        Viewer::getInstance()->closePanel(next);
        QFile::remove(name);
    }
    /// Ends a recording and closes its panel. `early`: the gate is opened before that; otherwise after it.
    void end(const CommandRunPointer& run, ScenePanel* panel, Ending ending, bool early)
    {
        if (early)
            Gate::open();
        const bool closed = ending != Stop;
        if (ending == Stop || ending == StopThenClose)
            run->stop();
        if (closed)
            Viewer::getInstance()->closePanel(panel);
        if (ending == CloseThenStop)
            run->stop();
        if (!early)
            Gate::open();
        ASSERT_TRUE(processUntil([&] { return run->isFinished(); }, 60000)) << m_Log.text();
        EXPECT_TRUE(run->succeeded());
        if (!closed)
            Viewer::getInstance()->closePanel(panel);
    }
    void record(const Moment& moment, Ending ending)
    {
        prepare(moment);
        ScenePanel* panel = activePanel();
        const QString name = file(QStringLiteral("video.raw"));
        const CommandRunPointer run = startVideo(moment.synced, name);
        ASSERT_TRUE(run);
        if (moment.call) {
            ASSERT_TRUE(processUntil([&] { return Gate::isReached() || run->isFinished(); })) << m_Log.text();
            EXPECT_TRUE(Gate::isReached()) << "the moment did not occur";
        }
        ASSERT_NO_FATAL_FAILURE(end(run, panel, ending, moment.inFrame));
        // A started recording that has been stopped no longer refers to its panel.
        check(name, ending != Stop && !(moment.call && ending == StopThenClose));
    }
    /// Takes a picture of at least two tiles and closes its panel at the n-th of these calls.
    void takePicture(const char* call, int n, bool close)
    {
        m_Log.clear();
        ScenePanel* panel = activePanel();
        const QString name = file(QStringLiteral("picture.png"));
        QFile::remove(name);
        Gate::arm(call, n);
        QString error;
        const CommandRunPointer run =
            m_Processor->start(QStringLiteral("grabimage filename=\"%1\" width=96").arg(name), &error);
        ASSERT_TRUE(run) << error.toStdString();
        ASSERT_TRUE(processUntil([&] { return Gate::isReached() || run->isFinished(); })) << m_Log.text();
        EXPECT_TRUE(Gate::isReached()) << "the moment did not occur";
        if (close)
            Viewer::getInstance()->closePanel(panel);
        Gate::open();
        ASSERT_TRUE(processUntil([&] { return run->isFinished(); }, 60000)) << m_Log.text();
        if (!close)
            Viewer::getInstance()->closePanel(panel);
        const QImage picture(name);
        EXPECT_EQ(picture.size(), QSize(96, 96)) << m_Log.text();
    }

    CommandProcessor* m_Processor = Overseer::getInstance()->getCommandProcessor();
    Command* m_Video = nullptr;
    Command* m_Image = nullptr;
    std::size_t m_Threads = 0, m_Descriptors = 0;
    int m_Contexts = 0;
    int m_Count = 0; ///< number of cases
};

} // namespace

TEST_F(Lifetimes, RecordingsOutliveTheirPanelAtEveryNamedMoment)
{
    for (const Moment& moment : Moments)
        for (int ending = 0; ending < Endings; ++ending) {
            SCOPED_TRACE(std::string(moment.name) + ", " + EndingNames[ending]);
            ASSERT_NO_FATAL_FAILURE(record(moment, Ending(ending)));
            note(std::string(moment.name) + ", " + EndingNames[ending]);
        }
    const int all = int(std::size(Moments)) * Endings;
    EXPECT_EQ(m_Count, all);
    std::printf("lifetimes, named moments: %d of %d\n", m_Count, all);
}

TEST_F(Lifetimes, PicturesOutliveTheirPanel)
{
    for (const char* call : {"create", "bind", "toImage"}) {
        SCOPED_TRACE(call);
        ASSERT_NO_FATAL_FAILURE(takePicture(call, 1, true));
        note(std::string("panel closed, picture at \"") + call + "\"");
    }
    // If the panel is closed before the start there is no picture; otherwise the picture is complete.
    ScenePanel* panel = activePanel();
    const QString name = file(QStringLiteral("none.png"));
    QString error;
    const CommandRunPointer run =
        m_Processor->start(QStringLiteral("grabimage filename=\"%1\" width=96").arg(name), &error);
    ASSERT_TRUE(run) << error.toStdString();
    Viewer::getInstance()->closePanel(panel);
    ASSERT_TRUE(processUntil([&] { return run->isFinished(); }, 60000)) << m_Log.text();
    if (QFileInfo::exists(name)) {
        EXPECT_EQ(QImage(name).size(), QSize(96, 96));
    }
    note("panel closed, picture not begun");
    std::printf("lifetimes, pictures: %d of 4\n", m_Count);
    EXPECT_EQ(m_Count, 4);
}

TEST_F(Lifetimes, ABusyApplicationThreadOnlyDelaysTheEndOfARecording)
{
    // Blocked at the last hand-over. Then the application thread, which has to delete the OpenGL objects, is busy for
    // two seconds (the fault), and the recording cannot end earlier.
    for (const bool close : {false, true}) {
        const Moment& moment = Moments[7];
        prepare(moment);
        ScenePanel* panel = activePanel();
        const QString name = file(QStringLiteral("busy.raw"));
        const CommandRunPointer run = startVideo(moment.synced, name);
        ASSERT_TRUE(run);
        ASSERT_TRUE(processUntil([&] { return Gate::isReached(); })) << m_Log.text();
        Gate::open();
        // Blocked, without running the event loop, until the capture thread has ended as well.
        QElapsedTimer busy;
        busy.start();
        while (busy.elapsed() < 30000 && (busy.elapsed() < 2000 || tov::test::threadNames().count("SyncedGrabber")))
            QThread::msleep(10);
        ASSERT_EQ(tov::test::threadNames().count("SyncedGrabber"), 0u);
        EXPECT_FALSE(run->isFinished()) << "it waits for its posted workers";
        if (close)
            Viewer::getInstance()->closePanel(panel);
        ASSERT_TRUE(processUntil([&] { return run->isFinished(); }, 60000)) << m_Log.text();
        EXPECT_TRUE(m_Log.contains(QStringLiteral("Video '%1' encoding done").arg(name)))
            << "the capture had ended before the panel was closed\n"
            << m_Log.text();
        if (!close)
            Viewer::getInstance()->closePanel(panel);
        check(name, close);
        note(close ? "application thread busy for 2 s, then panel closed" : "application thread busy for 2 s");
    }
    std::printf("lifetimes, busy application thread: %d of 2\n", m_Count);
}

TEST_F(Lifetimes, AnotherThreadMayStopARecordingManyTimes)
{
    const int recordings = 50;
    for (int i = 0; i < recordings; ++i) {
        SCOPED_TRACE("recording " + std::to_string(i));
        m_Log.clear();
        setChunks(i % 3 ? 0 : 50, true);
        selectPoints(6);
        {
            std::lock_guard<std::mutex> guard(m_Journal.mutex);
            m_Journal.chunks.clear();
        }
        ScenePanel* panel = activePanel();
        const QString name = file(QStringLiteral("rain.raw"));
        Command* command = m_Video->clone();
        const char* const texts[] = {nullptr, "32", "32", i % 2 ? "1" : "0"};
        for (std::size_t at = 0; at < 4; ++at)
            ASSERT_TRUE(
                command->getCurrentParameterSet()->at(at)->castString(at ? QString::fromLatin1(texts[at]) : name));
        std::atomic<bool> over{false};
        std::atomic<long> stops{0};
        // In one third of the rounds the stops begin during a frame. In all of them they continue after the end.
        if (i % 3 == 0)
            Gate::arm("bind", 1);
        QThread* execution = QThread::create([command] { command->execute(); });
        QThread* rain = QThread::create([&] {
            while (i % 3 == 0 && !Gate::isReached())
                QThread::yieldCurrentThread();
            Gate::open();
            while (!over) {
                command->abort();
                ++stops;
                QThread::yieldCurrentThread();
            }
        });
        execution->start();
        rain->start();
        ASSERT_TRUE(processUntil([&] { return execution->isFinished(); }, 60000)) << m_Log.text();
        const long atEnd = stops;
        ASSERT_TRUE(processUntil([&] { return stops > atEnd + 10; })) << "stops continue after the end";
        over = true;
        execution->wait();
        rain->wait();
        delete execution;
        delete rain;
        m_Processor->destroyCommand(command);
        Viewer::getInstance()->closePanel(panel);
        check(name, false);
        ++m_Count;
    }
    std::printf("lifetimes, stops from another thread: %d of %d recordings\n", m_Count, recordings);
    EXPECT_EQ(m_Count, recordings);
}

TEST_F(Lifetimes, RandomMomentsLeaveNothingBehind)
{
    const int rounds = environmentNumber("TOV_LIFETIME_ROUNDS", 40);
    const int seed = environmentNumber("TOV_LIFETIME_SEED", 1);
    std::mt19937 random{unsigned(seed)};
    const auto below = [&random](unsigned limit) { return random() % limit; };
    for (int i = 0; i < rounds; ++i) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(i));
        if (below(8) == 0) {
            const char* const calls[] = {"create", "bind", "toImage"};
            ASSERT_NO_FATAL_FAILURE(takePicture(calls[below(3)], 1, below(4) != 0));
            ++m_Count;
            continue;
        }
        // A gate in any call with any number, or a random delay. The recording of a trajectory may end before that
        // moment.
        Moment moment = Moments[below(std::size(Moments))];
        moment.megabytes = below(2) ? 0 : 50;
        moment.n = 1 + int(below(6));
        moment.synced = below(2) != 0;
        const int microseconds = int(below(60000));
        const Ending ending = Ending(below(Endings));
        const bool gated = moment.call && below(3) != 0;
        prepare(moment);
        if (!gated)
            Gate::open();
        ScenePanel* panel = activePanel();
        const QString name = file(QStringLiteral("random.raw"));
        const CommandRunPointer run = startVideo(moment.synced, name);
        ASSERT_TRUE(run);
        QElapsedTimer clock;
        clock.start();
        processUntil([&] {
            return run->isFinished() || (gated && Gate::isReached()) || clock.nsecsElapsed() / 1000 > microseconds;
        });
        // The gate is opened before or after the panel is closed; within a frame it must be opened before.
        ASSERT_NO_FATAL_FAILURE(end(run, panel, ending, moment.inFrame || below(2) != 0));
        check(name, ending != Stop);
        ++m_Count;
        if (HasFailure())
            break;
    }
    std::printf("lifetimes, random moments: %d of %d rounds (seed %d)\n", m_Count, rounds, seed);
    EXPECT_EQ(m_Count, rounds);
}
