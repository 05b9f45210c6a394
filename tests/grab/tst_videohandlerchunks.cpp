// How frames are collected in chunks.

#include "grab/videohandler.h"
#include "kernel/main/settings.h"
#include "tests/grab/videofixture.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QDir>
#include <QFile>

#include <csignal>
#include <thread>

#include <sys/resource.h>

using tov::grab::VideoHandler;
using tov::test::processUntil;
using tov::test::SeenChunk;
using tov::test::Signals;
using tov::trajectory::TrajectoryHandler;
namespace faults = tov::test::faults;

namespace {

class VideoChunks : public tov::test::VideoFixture
{
protected:
    /// Records all positions of a new trajectory and returns the chunks.
    std::vector<SeenChunk> record(unsigned long positions, int width, int height)
    {
        selectPoints(positions);
        VideoHandler handler;
        Signals seen(handler);
        EXPECT_TRUE(handler.startSyncedGrabbing(file("chunks.raw"), width, height, newPanel())) << m_Log.text();
        EXPECT_TRUE(processUntil([&] { return seen.finished == 1; }, 60000));
        handler.stopGrabbing();
        EXPECT_EQ(seen.finished, 1);
        const auto chunks = m_Journal.seen();
        // Only the last one is marked, and the position of each is its end.
        for (std::size_t i = 0; i < chunks.size(); ++i) {
            EXPECT_EQ(chunks[i].isLast, i + 1 == chunks.size());
            EXPECT_EQ(chunks[i].positionAtArrival, chunks[i].size);
        }
        return chunks;
    }
};

/// Limits the size of files until the end of the scope.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_Before);
        rlimit limit = m_Before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_Before); }

private:
    rlimit m_Before;
};

} // namespace

TEST_F(VideoChunks, TheDefaultsHandOverAfter41FramesOf640x480)
{
    const auto chunks = record(43, 640, 480);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size, 50380800);
    EXPECT_EQ(chunks[0].size, 41 * 1228800);
    EXPECT_EQ(chunks[1].size, 2 * 1228800);
}

TEST_F(VideoChunks, ALimitBelowAFrameGivesOneFramePerChunk)
{
    setChunks(1, true);
    const auto chunks = record(3, 640, 480);
    ASSERT_EQ(chunks.size(), 3u);
    for (const auto& chunk : chunks)
        EXPECT_EQ(chunk.size, 1228800);
}

TEST_F(VideoChunks, ALimitThatIsReachedExactlyIsFull)
{
    // 500 x 250 pixels are half a megabyte.
    setChunks(1, true);
    const auto chunks = record(4, 500, 250);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size, 1000000);
    EXPECT_EQ(chunks[1].size, 1000000);
}

TEST_F(VideoChunks, ALimitOfZeroGivesAnEmptyChunkThenOneFramePerChunk)
{
    setChunks(0, true);
    const auto chunks = record(3, 32, 16);
    ASSERT_EQ(chunks.size(), 4u);
    EXPECT_EQ(chunks[0].size, 0);
    EXPECT_FALSE(chunks[0].isNull);
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_EQ(chunks[i].size, 32 * 16 * 4);
}

TEST_F(VideoChunks, ANegativeLimitIsAVeryLargeOne)
{
    setChunks(-1, true);
    const auto chunks = record(3, 64, 48);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].size, 3 * 64 * 48 * 4);
    EXPECT_FALSE(chunks[0].isBuffer) << "a memory chunk cannot hold 4 GB";
}

TEST_F(VideoChunks, LargeLimitsWrapAroundModulo32Bits)
{
    // 4295 * 1000000 - 2^32 = 32704 bytes.
    setChunks(4295, true);
    const auto chunks = record(5, 64, 48);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size, 3 * 64 * 48 * 4);
    EXPECT_EQ(chunks[1].size, 2 * 64 * 48 * 4);
}

TEST_F(VideoChunks, TheLargestLimitIs4294Megabytes)
{
    setChunks(4294, true);
    const auto chunks = record(5, 64, 48);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].size, 5 * 64 * 48 * 4);
    EXPECT_FALSE(chunks[0].isBuffer) << "a buffer holds less than 2 GB";
}

TEST_F(VideoChunks, BufferMemoryCountsAsFree)
{
    // The sum is just above the limit of 50 MB, each one is below.
    faults::freePages = 6000;
    faults::bufferPages = 50000000 / 4096 + 1 - 6000;
    EXPECT_TRUE(record(1, 32, 16).at(0).isBuffer);
}

TEST_F(VideoChunks, ChunksAreFilesWithTooLittleFreeAndBufferMemory)
{
    faults::freePages = 6000;
    faults::bufferPages = 50000000 / 4096 - 6000;
    EXPECT_FALSE(record(1, 32, 16).at(0).isBuffer);
}

TEST_F(VideoChunks, MemoryIsUsedWhereItIsAllowedAndEnough)
{
    faults::freePages = 50000000 / 4096 + 1; // just above the limit of 50 MB
    auto chunks = record(2, 32, 16);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_TRUE(chunks[0].isBuffer);
}

TEST_F(VideoChunks, ChunksAreFilesWithTooLittleMemory)
{
    faults::freePages = 50000000 / 4096; // just below the limit of 50 MB
    const auto chunks = record(2, 32, 16);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_FALSE(chunks[0].isBuffer);
    EXPECT_TRUE(chunks[0].fileName.startsWith(m_Temporary.path())) << chunks[0].fileName.toStdString();
}

TEST_F(VideoChunks, FreeMemoryThatIsExactlyTheLimitIsNotEnough)
{
    // 128 MB are a whole number of pages of 4096 bytes.
    setChunks(128, true);
    faults::freePages = 31250;
    EXPECT_FALSE(record(1, 32, 16).at(0).isBuffer);
}

TEST_F(VideoChunks, ChunksAreFilesWhenMemoryIsSwitchedOff)
{
    setChunks(50, false);
    faults::freePages = 100000000;
    EXPECT_FALSE(record(2, 32, 16).at(0).isBuffer);
}

TEST_F(VideoChunks, ChunksAreFilesWhenSysinfoFailsAndNothingIsLogged)
{
    faults::sysinfoFails = true;
    m_Log.clear();
    EXPECT_FALSE(record(2, 32, 16).at(0).isBuffer);
    for (const auto& record : m_Log.records())
        EXPECT_NE(record.file, "videohandler") << record.message.toStdString();
}

TEST_F(VideoChunks, ChunksAboveTwoGigabytesGoToFiles)
{
    setChunks(2148, true);
    faults::freePages = 100000000;
    EXPECT_FALSE(record(1, 32, 16).at(0).isBuffer);
}

TEST_F(VideoChunks, StorageIsChosenForEachChunkSeparately)
{
    setChunks(0, true);
    m_Journal.onFirst = [](const SeenChunk&) { faults::sysinfoFails = true; };
    const auto chunks = record(2, 32, 16);
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_TRUE(chunks[0].isBuffer);
    EXPECT_FALSE(chunks[1].isBuffer);
    EXPECT_FALSE(chunks[2].isBuffer);
}

TEST_F(VideoChunks, TemporaryFilesAreRemovedWithTheirChunks)
{
    setChunks(0, false);
    const auto chunks = record(3, 32, 16);
    ASSERT_EQ(chunks.size(), 4u);
    for (const auto& chunk : chunks) {
        EXPECT_TRUE(chunk.fileName.startsWith(m_Temporary.path()));
        EXPECT_FALSE(QFile::exists(chunk.fileName));
    }
}

TEST_F(VideoChunks, AFailedFirstChunkIsNotEncoded)
{
    setChunks(50, false);
    qputenv("TMPDIR", "/proc/self");
    for (const bool synced : {false, true}) {
        m_Log.clear();
        selectPoints(3);
        VideoHandler handler;
        Signals seen(handler);
        const QString name = file("first.raw");
        ASSERT_TRUE(synced ? handler.startSyncedGrabbing(name, 32, 16, newPanel())
                           : handler.startGrabbing(name, 32, 16, newPanel()));
        ASSERT_TRUE(processUntil([&] { return m_Log.contains(QStringLiteral("Couldn't open temporary file")); }));
        EXPECT_TRUE(handler.isGrabbing()) << "it is not reported until the recording is stopped";
        handler.stopGrabbing();
        EXPECT_EQ(seen.finished, 0);
        EXPECT_EQ(m_Journal.callsSeen().back(), "finish");
        EXPECT_TRUE(m_Journal.seen().empty());
        const auto record = m_Log.withMessage(QStringLiteral("Couldn't open temporary file")).at(0);
        EXPECT_EQ(record.level, 2000);
        EXPECT_EQ(record.file, "videohandler");
        EXPECT_EQ(record.function, "createChunkFile");
    }
}

TEST_F(VideoChunks, ALaterChunkThatFailsEndsTheRecordingWithoutAChunk)
{
    setChunks(0, false);
    m_Journal.onFirst = [&](const SeenChunk&) { qputenv("TMPDIR", "/proc/self"); };
    const auto chunks = record(5, 32, 16);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size, 0);
    EXPECT_TRUE(chunks[1].isNull);
    EXPECT_TRUE(chunks[1].isLast);
    EXPECT_TRUE(m_Log.contains(QStringLiteral("Couldn't open temporary file")));
}

TEST_F(VideoChunks, AFreeRecordingEndsByItselfWhenAChunkFails)
{
    setChunks(0, false);
    m_Journal.onFirst = [&](const SeenChunk&) { qputenv("TMPDIR", "/proc/self"); };
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startGrabbing(file("later.raw"), 32, 16, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_TRUE(m_Journal.seen().back().isNull);
    EXPECT_TRUE(m_Journal.seen().back().isLast);
}

TEST_F(VideoChunks, ABufferThatCannotBeOpenedIsNotReplacedByAFile)
{
    faults::bufferOpenFails = true;
    selectPoints(2);
    {
        VideoHandler handler;
        ASSERT_TRUE(handler.startSyncedGrabbing(file("buffer.raw"), 32, 16, newPanel()));
        ASSERT_TRUE(processUntil([&] { return faults::bufferOpens > 0 || !m_Journal.seen().empty(); }));
        if (faults::bufferOpens == 0) {
            faults::bufferOpenFails = false;
            handler.stopGrabbing();
            GTEST_SKIP() << "the fault is not effective in this build";
        }
        ASSERT_TRUE(processUntil([&] { return m_Log.contains(QStringLiteral("Couldn't create temporary buffer")); }));
        handler.stopGrabbing();
    }
    EXPECT_TRUE(m_Journal.seen().empty());
    EXPECT_EQ(tov::test::entryCount(m_Temporary.path()), 0);
    EXPECT_EQ(m_Log.withMessage(QStringLiteral("Couldn't create temporary buffer")).at(0).function, "createChunkFile");
    // The same at a rotation ends the recording.
    faults::bufferOpenFails = false;
    setChunks(0, true);
    m_Journal.onFirst = [](const SeenChunk&) { faults::bufferOpenFails = true; };
    const auto chunks = record(3, 32, 16);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_TRUE(chunks[1].isNull);
}

TEST_F(VideoChunks, ARecordingStoppedAfterARotationEndsWithAnEmptyChunk)
{
    // The limit is reached exactly; the rotation comes before the next frame, which the closing panel prevents.
    setChunks(0, true);
    auto* panel = newPanel();
    VideoHandler handler;
    Signals seen(handler);
    std::atomic<bool> reached{false}, closed{false};
    // Blocks the capture thread at the first rotation until the panel is closed.
    m_Journal.onFirst = [&](const SeenChunk&) {
        reached = true;
        while (!closed)
            std::this_thread::yield();
    };
    ASSERT_TRUE(handler.startGrabbing(file("empty.raw"), 32, 16, panel));
    ASSERT_TRUE(processUntil([&] { return reached.load(); }));
    delete panel;
    closed = true;
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    const auto chunks = m_Journal.seen();
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[1].size, 0);
    EXPECT_FALSE(chunks[1].isNull);
    EXPECT_TRUE(chunks[1].isLast);
}

TEST_F(VideoChunks, AFailedWriteDropsTheRestOfTheFrameAndTheRecordingContinues)
{
    setChunks(50, false);
    const int frame = 128 * 64 * 4; // more than the buffer of a file
    selectPoints(3);
    {
        VideoHandler handler;
        Signals seen(handler);
        // Files can hold one frame and a quarter.
        const FileSizeLimit limit(frame + frame / 4);
        ASSERT_TRUE(handler.startSyncedGrabbing(file("full.raw"), 128, 64, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
    }
    ASSERT_EQ(m_Journal.seen().size(), 1u);
    // The part of the second frame that was written stays.
    EXPECT_EQ(m_Journal.seen()[0].size, frame + frame / 4);
    for (const int bytes : {frame * 3 / 4, frame}) {
        const auto records = m_Log.withMessage(QStringLiteral("Couldn't write %1 bytes to temporary file").arg(bytes));
        ASSERT_EQ(records.size(), 1u) << m_Log.text();
        EXPECT_EQ(records[0].level, 2000);
        EXPECT_EQ(records[0].file, "videohandler");
        EXPECT_EQ(records[0].function, "grabPicture");
    }
}

TEST_F(VideoChunks, AWriteWithoutMemoryIsAFailedWrite)
{
    setChunks(50, true);
    selectPoints(3);
    {
        VideoHandler handler;
        Signals seen(handler);
        faults::writesWithoutMemory = 1;
        ASSERT_TRUE(handler.startSyncedGrabbing(file("memory.raw"), 32, 16, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
    }
    ASSERT_EQ(m_Journal.seen().size(), 1u);
    EXPECT_EQ(m_Journal.seen()[0].size, 2 * 32 * 16 * 4) << "the later frames";
    const auto records =
        m_Log.withMessage(QStringLiteral("Couldn't write %1 bytes to temporary file").arg(32 * 16 * 4));
    ASSERT_EQ(records.size(), 1u) << m_Log.text();
    EXPECT_EQ(records[0].level, 2000);
    EXPECT_EQ(records[0].file, "videohandler");
    EXPECT_EQ(records[0].function, "grabPicture");
}

TEST_F(VideoChunks, ShortWritesAreContinued)
{
    setChunks(50, true);
    selectPoints(2);
    m_Journal.keepBytes = true;
    QByteArray whole;
    for (const long long limit : {0LL, 777LL}) {
        m_Journal.chunks.clear();
        TrajectoryHandler::getInstance()->getTrajectoryInfo()->setPosition(0);
        VideoHandler handler;
        Signals seen(handler);
        faults::shortWrite = limit;
        ASSERT_TRUE(handler.startSyncedGrabbing(file("short.raw"), 32, 16, newPanel()));
        ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
        handler.stopGrabbing();
        if (limit == 0)
            whole = m_Journal.allBytes();
        else
            EXPECT_EQ(m_Journal.allBytes(), whole);
    }
    EXPECT_EQ(whole.size(), 2 * 32 * 16 * 4);
    EXPECT_TRUE(m_Log.records().empty()) << m_Log.text();
}

TEST_F(VideoChunks, ARefusingEncoderLeavesTheCaptureRunning)
{
    setChunks(0, true);
    m_Journal.refuse = true;
    selectPoints(3);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("refused.raw"), 32, 16, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_EQ(m_Log.withMessage(QStringLiteral("Couldn't initialize video encoding")).size(), 1u);
    EXPECT_EQ(m_Journal.callsSeen(), (std::vector<std::string>{"init", "finish"}));
    EXPECT_EQ(TrajectoryHandler::getInstance()->getPosition(), 2u) << "the walk continued to its end";
}

TEST_F(VideoChunks, AnOutputThatCannotBeOpenedDoesNotStopTheCapture)
{
    selectPoints(3);
    VideoHandler handler;
    Signals seen(handler);
    ASSERT_TRUE(handler.startSyncedGrabbing(file("no/such/folder.raw"), 32, 16, newPanel()));
    ASSERT_TRUE(processUntil([&] { return seen.finished == 1; }));
    handler.stopGrabbing();
    EXPECT_FALSE(m_Journal.outputWasOpen);
    EXPECT_EQ(m_Journal.totalSize(), 3 * 32 * 16 * 4);
}
