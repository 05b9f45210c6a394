// Recordings that end in every way at random moments: stopped, at the end of the trajectory, with a closed panel, and
// two of these at once. Nothing may crash, hang or leak.

#include "grab/commands/grabvideo.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"
#include "tests/grab/videofixture.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QOpenGLContext>
#include <QThread>

#include <random>

using tov::commands::grab::GrabVideo;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::scene::Viewer;
using tov::test::processUntil;
using tov::trajectory::TrajectoryHandler;

namespace {

class GrabVideoClosing : public tov::test::VideoFixture
{
protected:
    void SetUp() override
    {
        VideoFixture::SetUp();
        mp_Processor = Overseer::getInstance()->getCommandProcessor();
        mp_Prototype = GrabVideo::create();
        mp_Processor->addPrimaryCommand(mp_Prototype, GrabVideo::create);
    }
    void TearDown() override
    {
        mp_Processor->removePrimaryCommand(mp_Prototype);
        mp_Processor->destroyCommand(mp_Prototype);
        VideoFixture::TearDown();
    }

    CommandProcessor* mp_Processor = nullptr;
    tov::main::Command* mp_Prototype = nullptr;
};

enum Ending
{
    Stop,
    Close,
    StopThenClose,
    CloseThenStop,
    LetItEnd,
    Endings,
};

} // namespace

TEST_F(GrabVideoClosing, RecordingsEndAtRandomMomentsAndLeaveNothing)
{
    const int recordings = 200;
    std::mt19937 random(20240607u);
    const auto below = [&random](unsigned limit) { return random() % limit; };
    setChunks(0, true);
    selectPoints(6);
    // OpenGL allocates resources for the process during the first recording.
    std::size_t threadsBefore = 0, descriptorsBefore = 0;
    int contextsBefore = 0;
    // Qt reports the end of a thread a moment before the thread and its descriptors are released.
    const auto quiet = [] {
        for (const std::string& name : tov::test::threadNames())
            if (name == "Command" || name == "Grabber" || name == "SyncedGrabber" || name == "QThread")
                return false;
        return true;
    };
    const auto contexts = [] { return tov::scene::_GlobalContext()->glContext()->shareGroup()->shares().size(); };
    int finished = 0, aborted = 0;
    for (int i = 0; i <= recordings; ++i) {
        SCOPED_TRACE("recording " + std::to_string(i));
        if (i == 1) {
            ASSERT_TRUE(processUntil(quiet));
            threadsBefore = tov::test::threadCount();
            descriptorsBefore = tov::test::descriptorCount();
            contextsBefore = contexts();
        }
        m_Log.clear();
        auto* panel = newPanel(48 + int(below(3)) * 16, 48);
        // Sometimes another panel becomes the active one, sometimes there is no other panel.
        auto* other = below(2) ? newPanel(32, 32) : nullptr;
        Viewer::getInstance()->setActivePanel(panel);
        const bool synced = below(2) != 0;
        // One frame per chunk, so that the moments below occur. Only recordings of a trajectory end by themselves.
        setChunks(synced ? int(below(2)) : 0, below(3) != 0);
        if (synced)
            TrajectoryHandler::getInstance()->getTrajectoryInfo()->setPosition(0);
        const QString name = file(QStringLiteral("random%1.raw").arg(i));
        QString error;
        const CommandRunPointer run = mp_Processor->start(
            QStringLiteral("grabvideo filename=\"%1\" width=32 height=32 sync=%2").arg(name).arg(synced ? 1 : 0),
            &error);
        ASSERT_TRUE(run) << error.toStdString();
        // The moment: before the start, while it starts, or while frames are recorded.
        const unsigned moment = below(4);
        QElapsedTimer clock;
        clock.start();
        const int busyMicroseconds = int(below(3000));
        if (moment == 1)
            processUntil([&] { return clock.nsecsElapsed() / 1000 > busyMicroseconds; });
        else if (moment >= 2)
            processUntil(
                [&] { return run->isFinished() || m_Journal.totalSize() >= qint64(moment - 1) * 32 * 32 * 4; });
        const Ending ending = synced && below(3) == 0 ? LetItEnd : Ending(below(LetItEnd));
        bool closed = false;
        const auto close = [&] {
            Viewer::getInstance()->closePanel(panel);
            closed = true;
            // A recording that has not started yet uses the panel that is active then.
            if (other)
                Viewer::getInstance()->closePanel(other);
            other = nullptr;
        };
        switch (ending) {
        case Stop:
            run->stop();
            break;
        case Close:
            close();
            break;
        case StopThenClose:
            run->stop();
            close();
            break;
        case CloseThenStop:
            close();
            run->stop();
            break;
        default:
            break;
        }
        ASSERT_TRUE(processUntil([&] { return run->isFinished(); }, 60000))
            << "ending " << ending << " at moment " << moment << "\n"
            << m_Log.text();
        EXPECT_TRUE(run->succeeded());
        // Every started recording has ended in one of two ways, and the file agrees with the log.
        const bool done = m_Log.contains(QStringLiteral("Video '%1' encoding done").arg(name));
        const bool gone = m_Log.contains(QStringLiteral("Video grabbing aborted"));
        const bool none =
            m_Log.contains(QStringLiteral("There is no active scene window selected")) || (closed && !done && !gone);
        EXPECT_EQ(int(done) + int(gone) + int(none), 1) << m_Log.text();
        if (!closed) {
            EXPECT_TRUE(done) << m_Log.text();
        }
        EXPECT_EQ(QFileInfo::exists(name), done);
        finished += done;
        aborted += gone;
        {
            std::lock_guard<std::mutex> guard(m_Journal.mutex);
            m_Journal.chunks.clear();
            EXPECT_EQ(m_Journal.living, 0);
        }
        if (!closed)
            Viewer::getInstance()->closePanel(panel);
        if (other)
            Viewer::getInstance()->closePanel(other);
        // The prototype is enabled for the next panel.
        auto* next = newPanel(16, 16);
        Viewer::getInstance()->setActivePanel(next);
        EXPECT_FALSE(mp_Prototype->isDisabled());
        Viewer::getInstance()->closePanel(next);
        EXPECT_EQ(tov::test::entryCount(m_Temporary.path()), 0);
    }
    EXPECT_GT(finished, recordings / 10);
    EXPECT_GT(aborted, recordings / 10);
    EXPECT_TRUE(processUntil([&] { return tov::test::threadCount() <= threadsBefore; }))
        << tov::test::threadCount() << " threads after, " << threadsBefore << " before";
    EXPECT_TRUE(processUntil([&] { return tov::test::descriptorCount() <= descriptorsBefore; }))
        << tov::test::descriptorCount() << " descriptors after, " << descriptorsBefore << " before";
    EXPECT_EQ(contexts(), contextsBefore);
}

TEST_F(GrabVideoClosing, TwoRecordingsLoseTheirPanelsAtTheSameTime)
{
    setChunks(0, true);
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE("pair " + std::to_string(i));
        auto* first = newPanel(48, 48);
        auto* second = newPanel(64, 48);
        QString error;
        Viewer::getInstance()->setActivePanel(first);
        const auto one = mp_Processor->start(
            QStringLiteral("grabvideo filename=\"%1\" width=0 height=0 sync=0").arg(file(QStringLiteral("a.raw"))),
            &error);
        ASSERT_TRUE(one) << error.toStdString();
        ASSERT_TRUE(processUntil([&] { return m_Journal.totalSize() > 0; }));
        Viewer::getInstance()->setActivePanel(second);
        ASSERT_FALSE(mp_Prototype->isDisabled());
        const auto two = mp_Processor->start(
            QStringLiteral("grabvideo filename=\"%1\" width=0 height=0 sync=0").arg(file(QStringLiteral("b.raw"))),
            &error);
        ASSERT_TRUE(two) << error.toStdString();
        if (i % 2) {
            ASSERT_TRUE(processUntil([&] { return mp_Prototype->isDisabled(); }));
        }
        Viewer::getInstance()->closePanel(i % 4 < 2 ? first : second);
        Viewer::getInstance()->closePanel(i % 4 < 2 ? second : first);
        ASSERT_TRUE(processUntil([&] { return one->isFinished() && two->isFinished(); }, 60000)) << m_Log.text();
        EXPECT_FALSE(QFileInfo::exists(file(QStringLiteral("a.raw"))));
        EXPECT_FALSE(QFileInfo::exists(file(QStringLiteral("b.raw"))));
        std::lock_guard<std::mutex> guard(m_Journal.mutex);
        m_Journal.chunks.clear();
    }
}
