#include "grab/video/encoder.h"

#include "tests/support/logcapture.h"
#include "tests/support/threads.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QMetaMethod>
#include <QSemaphore>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

using tov::grab::video::Encoder;
using tov::test::LogCapture;
using tov::test::processUntil;

namespace {

std::atomic<int> chunksAlive{0};

class CountedChunk : public QBuffer
{
public:
    CountedChunk() { ++chunksAlive; }
    ~CountedChunk() override { --chunksAlive; }
};

struct Call
{
    std::string hook;
    QIODevice* chunk;
    bool isLast;
    QThread* thread;
};

/// Records every call. The members set what the hooks do.
class Probe : public Encoder
{
public:
    bool acceptStart = true;
    int failAtChunk = -1;
    bool throwInHook = false;
    bool throwAtChunk = false;
    QSemaphore* gate = nullptr; ///< acquired once per chunk
    int policy = -1;
    std::atomic<int> runnerId{0}; ///< the system's number of the runner thread
    std::vector<Call> calls;
    QMutex callsMutex;

    int state() { return std::atomic_ref<int>(m_State).load(); }
    bool aborted() const { return m_Aborted; }
    bool hasOutput() const { return mp_OutputFile != nullptr; }
    bool hasRunner() const { return mp_Runner || mp_Semaphore; }
    bool countTaken()
    {
        QMutexLocker lock(&m_Mutex);
        return m_TotalChunks > 0;
    }
    bool abortBegun() { return std::atomic_ref<bool>(m_Aborted).load(); }
    bool queueIsEmpty() const { return m_Chunks.empty(); }
    void setOutput(QIODevice* device) { mp_OutputFile = device; }
    void write(const char* text) { mp_OutputFile->write(text); }
    /// Whether another thread holds the mutex now.
    bool isLocked()
    {
        bool locked = true;
        QThread* other = QThread::create([&] {
            locked = !m_Mutex.tryLock();
            if (!locked)
                m_Mutex.unlock();
        });
        other->start();
        other->wait();
        delete other;
        return locked;
    }
    /// Addresses of the members, in the order that plug-ins are built with.
    std::vector<const void*> memberAddresses() const
    {
        return {&mp_OutputFile, &m_Aborted,         &m_Width,      &m_Height, &m_Fps,
                &m_Kbps,        &m_State,           &m_Chunks,     &m_Mutex,  &mp_Semaphore,
                &mp_Runner,     &m_ProcessedChunks, &m_TotalChunks};
    }
    std::array<int, 4> parameters() const { return {m_Width, m_Height, m_Fps, m_Kbps}; }
    QIODevice::OpenMode outputMode() const { return mp_OutputFile->openMode(); }
    std::vector<Call> taken(const std::string& hook)
    {
        QMutexLocker lock(&callsMutex);
        std::vector<Call> found;
        for (const Call& call : calls)
            if (call.hook == hook)
                found.push_back(call);
        return found;
    }

protected:
    void note(const char* hook, QIODevice* chunk, bool isLast)
    {
        QMutexLocker lock(&callsMutex);
        calls.push_back({hook, chunk, isLast, QThread::currentThread()});
    }
    bool initEncoding(QIODevice* chunk, bool isLast) override
    {
        note("init", chunk, isLast);
        if (throwInHook)
            throw std::runtime_error("in the hook");
        return acceptStart;
    }
    bool encodeChunk(QIODevice* chunk, bool isLast) override
    {
        note("encode", chunk, isLast);
        policy = sched_getscheduler(0);
        runnerId = tov::test::threadId();
        if (gate)
            gate->acquire();
        if (throwAtChunk)
            throw 7;
        return int(taken("encode").size()) - 1 != failAtChunk;
    }
    void finishEncoding() override
    {
        note("finish", nullptr, mp_OutputFile && mp_OutputFile->isOpen());
        if (throwInHook)
            throw std::runtime_error("at the end");
    }
};

class EncoderTest : public testing::Test
{
protected:
    void SetUp() override { chunksAlive = 0; }
    void TearDown() override { EXPECT_EQ(chunksAlive, 0); }
    QString path(const char* name) const { return folder.filePath(QLatin1String(name)); }
    QTemporaryDir folder;
    Probe encoder;
};

void expectRecord(const LogCapture& log, const char* function, const QString& message)
{
    const auto found = log.withMessage(message);
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    EXPECT_EQ(found[0].file, "video/encoder");
    EXPECT_EQ(found[0].function, QLatin1String(function));
    EXPECT_TRUE(found[0].category.isEmpty());
}

/// Collects the progress of an encoder. Thread: any.
struct Progress
{
    explicit Progress(Encoder& encoder)
    {
        QObject::connect(
            &encoder, &Encoder::progressChanged, &encoder,
            [this](int value) {
                QMutexLocker lock(&mutex);
                values.push_back(value);
            },
            Qt::DirectConnection);
    }
    std::vector<int> values; ///< guarded by mutex
    QMutex mutex;
};

/// Calls a virtual function by its index in the virtual table.
template <typename Result, typename... Arguments>
Result callSlot(Encoder* object, int slot, Arguments... arguments)
{
    void** table = *reinterpret_cast<void***>(object);
    return reinterpret_cast<Result (*)(Encoder*, Arguments...)>(table[slot])(object, arguments...);
}

} // namespace

TEST_F(EncoderTest, StartsIdleWithNothing)
{
    EXPECT_EQ(encoder.state(), Encoder::Idle);
    EXPECT_FALSE(encoder.aborted());
    EXPECT_FALSE(encoder.hasOutput());
    EXPECT_FALSE(encoder.hasRunner());
    EXPECT_TRUE(encoder.queueIsEmpty());
}

TEST_F(EncoderTest, OutputParametersAreStoredAndTheFileIsOpened)
{
    QFile old(path("a.bin"));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("something old");
    old.close();
    EXPECT_TRUE(encoder.setOutputParameters(path("a.bin"), 640, 480, 25, 1200000));
    EXPECT_EQ(encoder.parameters(), (std::array<int, 4>{640, 480, 25, 1200000}));
    EXPECT_TRUE(encoder.outputMode() & QIODevice::WriteOnly);
    EXPECT_FALSE(encoder.outputMode() & QIODevice::ReadOnly);
    EXPECT_EQ(QFileInfo(path("a.bin")).size(), 0) << "truncated";
    encoder.waitForFinish();
}

TEST_F(EncoderTest, OddSizesAreRefusedButStored)
{
    LogCapture log;
    EXPECT_FALSE(encoder.setOutputParameters(path("w.bin"), 641, 481, 1, 2));
    expectRecord(log, "setOutputParameters", QStringLiteral("Encoder: invalid width specified"));
    EXPECT_EQ(log.records().size(), 1u) << "the width is tested first";
    EXPECT_EQ(encoder.parameters(), (std::array<int, 4>{641, 481, 1, 2}));
    log.clear();
    EXPECT_FALSE(encoder.setOutputParameters(path("w.bin"), 640, 481, 25, 0));
    expectRecord(log, "setOutputParameters", QStringLiteral("Encoder: invalid height specified"));
    log.clear();
    EXPECT_FALSE(encoder.setOutputParameters(path("w.bin"), -3, 2, 25, 0));
    expectRecord(log, "setOutputParameters", QStringLiteral("Encoder: invalid width specified"));
    EXPECT_FALSE(QFile::exists(path("w.bin")));
    EXPECT_FALSE(encoder.hasOutput());
}

TEST_F(EncoderTest, ZeroAndNegativeEvenSizesPass)
{
    EXPECT_TRUE(encoder.setOutputParameters(path("z.bin"), 0, -2, -1, -5));
    encoder.waitForFinish();
}

TEST_F(EncoderTest, AnOutputThatCannotBeOpenedIsReported)
{
    const QString name = path("missing/B\xc3\xa4r.bin");
    LogCapture log;
    EXPECT_FALSE(encoder.setOutputParameters(name, 2, 2, 25, 1));
    expectRecord(log, "setOutputParameters", QStringLiteral("Encoder: Couldn't open file '%1' for writing").arg(name));
    EXPECT_FALSE(encoder.hasOutput());
}

TEST_F(EncoderTest, APipeWithoutAReaderIsRefusedAtOnce)
{
    const QString pipe = path("pipe.bin"), link = path("link.bin");
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(pipe, link));
    for (const QString& name : {pipe, link}) {
        LogCapture log;
        EXPECT_FALSE(encoder.setOutputParameters(name, 2, 2, 25, 1));
        expectRecord(log, "setOutputParameters",
                     QStringLiteral("Encoder: Couldn't open file '%1' for writing").arg(name));
        EXPECT_FALSE(encoder.hasOutput());
    }
}

TEST_F(EncoderTest, APipeWithAReaderIsWritten)
{
    const QString pipe = path("pipe.bin");
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const int reader = ::open(QFile::encodeName(pipe).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_TRUE(encoder.setOutputParameters(pipe, 2, 2, 25, 1));
    ASSERT_TRUE(encoder.hasOutput());
    encoder.write("frames");
    encoder.waitForFinish();
    char text[16] = "";
    EXPECT_EQ(::read(reader, text, sizeof text - 1), 6);
    EXPECT_STREQ(text, "frames");
    EXPECT_EQ(::read(reader, text, sizeof text), 0) << "the pipe is still open for writing";
    ::close(reader);
}

TEST_F(EncoderTest, StatesHaveTheirNumbers)
{
    EXPECT_EQ(Encoder::Idle, 0);
    EXPECT_EQ(Encoder::Started, 1);
    EXPECT_EQ(Encoder::Running, 2);
    EXPECT_EQ(Encoder::Stopped, 4);
    EXPECT_EQ(Encoder::InitFailed, 8);
}

TEST_F(EncoderTest, ASingleLastChunkIsEncoded)
{
    ASSERT_TRUE(encoder.setOutputParameters(path("a.bin"), 2, 2, 25, 1));
    auto* chunk = new CountedChunk;
    EXPECT_TRUE(encoder.encodeVideoChunk(chunk, true));
    encoder.waitForFinish();
    ASSERT_EQ(encoder.calls.size(), 3u);
    EXPECT_EQ(encoder.calls[0].hook, "init");
    EXPECT_EQ(encoder.calls[0].chunk, chunk);
    EXPECT_TRUE(encoder.calls[0].isLast);
    EXPECT_EQ(encoder.calls[0].thread, QThread::currentThread());
    EXPECT_EQ(encoder.calls[1].hook, "encode");
    EXPECT_EQ(encoder.calls[1].chunk, chunk);
    EXPECT_TRUE(encoder.calls[1].isLast);
    EXPECT_NE(encoder.calls[1].thread, QThread::currentThread());
    EXPECT_EQ(encoder.policy, SCHED_IDLE);
    EXPECT_EQ(encoder.calls[2].hook, "finish");
    EXPECT_TRUE(encoder.calls[2].isLast) << "the output file is still open";
    EXPECT_EQ(encoder.state(), Encoder::Idle);
    EXPECT_FALSE(encoder.hasOutput());
    EXPECT_FALSE(encoder.hasRunner());
}

TEST_F(EncoderTest, ChunksKeepTheirOrderAndOnlyTheFinalOneIsLast)
{
    QSemaphore gate(0);
    encoder.gate = &gate;
    std::vector<QIODevice*> given;
    for (int i = 0; i < 8; ++i) {
        given.push_back(new CountedChunk);
        EXPECT_TRUE(encoder.encodeVideoChunk(given.back(), i == 7));
    }
    gate.release(8);
    encoder.waitForFinish();
    const auto encoded = encoder.taken("encode");
    ASSERT_EQ(encoded.size(), 8u);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(encoded[i].chunk, given[i]);
        EXPECT_EQ(encoded[i].isLast, i == 7);
    }
    EXPECT_EQ(encoder.taken("init").size(), 1u);
}

TEST_F(EncoderTest, ProgressOfFiveQueuedChunksNeverReaches100)
{
    QSemaphore gate(0);
    encoder.gate = &gate;
    Progress progress(encoder);
    // One is being encoded, five are queued.
    encoder.encodeVideoChunk(new CountedChunk, false);
    ASSERT_TRUE(processUntil([&] { return encoder.taken("encode").size() == 1; }));
    for (int i = 0; i < 5; ++i)
        encoder.encodeVideoChunk(new CountedChunk, i == 4);
    QThread* opener = QThread::create([&] {
        // The runner must not go on before `waitForFinish` has counted the chunks.
        while (!encoder.countTaken())
            QThread::yieldCurrentThread();
        gate.release(6);
    });
    opener->start();
    encoder.waitForFinish();
    opener->wait();
    delete opener;
    EXPECT_EQ(progress.values, (std::vector<int>{-1, 0, 20, 40, 60, 80}));
}

TEST_F(EncoderTest, ProgressHasSinglePrecision)
{
    QSemaphore gate(0);
    encoder.gate = &gate;
    Progress progress(encoder);
    encoder.encodeVideoChunk(new CountedChunk, false);
    ASSERT_TRUE(processUntil([&] { return encoder.taken("encode").size() == 1; }));
    for (int i = 0; i < 50; ++i)
        encoder.encodeVideoChunk(new CountedChunk, i == 49);
    QThread* opener = QThread::create([&] {
        while (!encoder.countTaken())
            QThread::yieldCurrentThread();
        gate.release(51);
    });
    opener->start();
    encoder.waitForFinish();
    opener->wait();
    delete opener;
    ASSERT_EQ(progress.values.size(), 51u);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(progress.values[std::size_t(i) + 1], 2 * i) << "29 of 50 is 57 in double precision";
}

TEST_F(EncoderTest, ProgressIsReportedWithTheMutexLocked)
{
    QSemaphore gate(0);
    encoder.gate = &gate;
    std::vector<bool> locked; // of the runner
    QObject::connect(
        &encoder, &Encoder::progressChanged, &encoder,
        [&](int value) {
            if (value >= 0)
                locked.push_back(encoder.isLocked());
        },
        Qt::DirectConnection);
    encoder.encodeVideoChunk(new CountedChunk, false);
    ASSERT_TRUE(processUntil([&] { return encoder.taken("encode").size() == 1; }));
    for (int i = 0; i < 2; ++i)
        encoder.encodeVideoChunk(new CountedChunk, i == 1);
    QThread* opener = QThread::create([&] {
        while (!encoder.countTaken())
            QThread::yieldCurrentThread();
        gate.release(3);
    });
    opener->start();
    encoder.waitForFinish();
    opener->wait();
    delete opener;
    EXPECT_EQ(locked, (std::vector<bool>{true, true}));
}

TEST_F(EncoderTest, TheWaitNeedsALastChunk)
{
    encoder.encodeVideoChunk(new CountedChunk, false);
    ASSERT_TRUE(processUntil([&] { return encoder.taken("encode").size() == 1; }));
    std::atomic<int> id{0};
    std::atomic<bool> done{false};
    std::thread waiter([&] {
        id = tov::test::threadId();
        encoder.waitForFinish();
        done = true;
    });
    // Both threads still wait although everything has been encoded. A runner that was asked to end would be awake or
    // would no longer exist when the other thread sleeps.
    EXPECT_TRUE(processUntil([&] {
        return id != 0 && tov::test::threadState(id) == 'S' && tov::test::threadState(encoder.runnerId) == 'S';
    }));
    EXPECT_FALSE(done);
    EXPECT_TRUE(encoder.taken("finish").empty());
    encoder.encodeVideoChunk(new CountedChunk, true);
    waiter.join();
    EXPECT_EQ(encoder.taken("encode").size(), 2u);
    EXPECT_EQ(encoder.taken("finish").size(), 1u);
}

TEST_F(EncoderTest, ARefusedStartRefusesAllChunksAndIsReportedOnce)
{
    encoder.acceptStart = false;
    auto chunk = std::make_unique<CountedChunk>();
    LogCapture log;
    EXPECT_FALSE(encoder.encodeVideoChunk(chunk.get(), false));
    expectRecord(log, "encodeVideoChunk", QStringLiteral("Couldn't initialize video encoding"));
    EXPECT_EQ(encoder.state(), Encoder::InitFailed);
    EXPECT_FALSE(encoder.hasRunner());
    EXPECT_FALSE(encoder.encodeVideoChunk(chunk.get(), true));
    EXPECT_EQ(log.records().size(), 1u);
    EXPECT_EQ(encoder.calls.size(), 1u) << "no hook is called again";
    encoder.waitForFinish();
    EXPECT_EQ(encoder.taken("finish").size(), 1u);
    EXPECT_EQ(encoder.state(), Encoder::Idle);
}

TEST_F(EncoderTest, AFailedChunkEndsTheRunnerAndTheRestIsDeleted)
{
    encoder.failAtChunk = 1;
    LogCapture log;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, false));
    ASSERT_TRUE(processUntil([&] { return encoder.state() == Encoder::Stopped; }));
    EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, true)) << "kept until the clean-up";
    EXPECT_GE(chunksAlive, 1);
    encoder.waitForFinish();
    expectRecord(log, "run", QStringLiteral("Couldn't encode chunk!"));
    EXPECT_EQ(encoder.taken("encode").size(), 2u);
}

TEST_F(EncoderTest, AnExceptionWhileEncodingIsAFailedChunk)
{
    encoder.throwAtChunk = true;
    LogCapture log;
    EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, false));
    ASSERT_TRUE(processUntil([&] { return encoder.state() == Encoder::Stopped; }));
    EXPECT_EQ(chunksAlive, 0) << "the runner frees the chunk that failed";
    EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, true));
    encoder.waitForFinish();
    expectRecord(log, "encodeChunk", QStringLiteral("The video encoder plugin 'body' threw an exception"));
    expectRecord(log, "run", QStringLiteral("Couldn't encode chunk!"));
    EXPECT_EQ(log.records().size(), 2u) << log.text();
    EXPECT_EQ(encoder.taken("encode").size(), 1u);
}

TEST_F(EncoderTest, TheStateFollowsTheRunner)
{
    QSemaphore gate(0);
    encoder.gate = &gate;
    EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, true));
    ASSERT_TRUE(processUntil([&] { return encoder.taken("encode").size() == 1; }));
    EXPECT_EQ(encoder.state(), Encoder::Running) << "starting never takes the runner's state back";
    gate.release();
    ASSERT_TRUE(processUntil([&] { return encoder.state() == Encoder::Stopped; }));
    EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, false)) << "kept until the clean-up";
    EXPECT_EQ(chunksAlive, 1);
    encoder.waitForFinish();
    EXPECT_EQ(encoder.state(), Encoder::Idle);
    EXPECT_EQ(encoder.taken("encode").size(), 1u);
}

TEST_F(EncoderTest, BeforeTheEndOnlyBusyIsReported)
{
    Progress progress(encoder);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, i == 2));
    ASSERT_TRUE(processUntil([&] { return encoder.state() == Encoder::Stopped; }));
    encoder.waitForFinish();
    EXPECT_EQ(progress.values, std::vector<int>{-1});
}

TEST_F(EncoderTest, ANullChunkMayFailLikeAnyOther)
{
    encoder.failAtChunk = 0;
    LogCapture log;
    EXPECT_TRUE(encoder.encodeVideoChunk(nullptr, true));
    encoder.waitForFinish();
    expectRecord(log, "run", QStringLiteral("Couldn't encode chunk!"));
}

TEST_F(EncoderTest, NullChunksArePassedOn)
{
    EXPECT_TRUE(encoder.encodeVideoChunk(nullptr, true));
    encoder.waitForFinish();
    ASSERT_EQ(encoder.taken("init").size(), 1u);
    EXPECT_EQ(encoder.taken("init")[0].chunk, nullptr);
    ASSERT_EQ(encoder.taken("encode").size(), 1u);
    EXPECT_EQ(encoder.taken("encode")[0].chunk, nullptr);
    EXPECT_TRUE(encoder.taken("encode")[0].isLast);
}

TEST_F(EncoderTest, AbortBeforeAnyChunkRemovesTheEmptyFile)
{
    ASSERT_TRUE(encoder.setOutputParameters(path("a.bin"), 2, 2, 25, 1));
    EXPECT_TRUE(QFile::exists(path("a.bin")));
    LogCapture log;
    encoder.abortEncoding();
    EXPECT_FALSE(QFile::exists(path("a.bin")));
    EXPECT_TRUE(encoder.aborted());
    EXPECT_TRUE(log.records().empty()) << log.text();
    ASSERT_EQ(encoder.calls.size(), 1u);
    EXPECT_EQ(encoder.calls[0].hook, "finish");
    EXPECT_FALSE(encoder.calls[0].isLast) << "the file is closed by then";
}

TEST_F(EncoderTest, AbortCompletesTheCurrentChunkAndDropsTheRest)
{
    ASSERT_TRUE(encoder.setOutputParameters(path("a.bin"), 2, 2, 25, 1));
    QSemaphore gate(0);
    encoder.gate = &gate;
    for (int i = 0; i < 4; ++i)
        encoder.encodeVideoChunk(new CountedChunk, i == 3);
    ASSERT_TRUE(processUntil([&] { return encoder.taken("encode").size() == 1; }));
    QThread* opener = QThread::create([&] {
        while (!encoder.abortBegun())
            QThread::yieldCurrentThread();
        gate.release(8);
    });
    opener->start();
    encoder.abortEncoding();
    opener->wait();
    delete opener;
    EXPECT_EQ(encoder.taken("encode").size(), 1u);
    EXPECT_FALSE(QFile::exists(path("a.bin")));
    EXPECT_EQ(encoder.state(), Encoder::Idle);
}

TEST_F(EncoderTest, AFileThatCannotBeRemovedIsReported)
{
    ASSERT_TRUE(encoder.setOutputParameters(path("a.bin"), 2, 2, 25, 1));
    ASSERT_TRUE(QFile::remove(path("a.bin")));
    LogCapture log;
    encoder.abortEncoding();
    expectRecord(log, "abortEncoding", QStringLiteral("Couldn't remove file '%1'").arg(path("a.bin")));
    EXPECT_FALSE(encoder.hasOutput()) << "the abort completes anyway";
}

TEST_F(EncoderTest, AbortRemovesOnlyFiles)
{
    auto* device = new QBuffer;
    ASSERT_TRUE(device->open(QIODevice::WriteOnly));
    encoder.setOutput(device);
    LogCapture log;
    encoder.abortEncoding();
    EXPECT_TRUE(log.records().empty()) << log.text();
    ASSERT_EQ(encoder.calls.size(), 1u);
    EXPECT_FALSE(encoder.calls[0].isLast) << "closed nevertheless";
    EXPECT_FALSE(encoder.hasOutput());
}

TEST_F(EncoderTest, AbortAfterARefusedStartRemovesTheFileAndAllowsANewStart)
{
    ASSERT_TRUE(encoder.setOutputParameters(path("a.bin"), 2, 2, 25, 1));
    encoder.acceptStart = false;
    auto chunk = std::make_unique<CountedChunk>();
    EXPECT_FALSE(encoder.encodeVideoChunk(chunk.get(), true));
    encoder.abortEncoding();
    EXPECT_FALSE(QFile::exists(path("a.bin")));
    EXPECT_EQ(encoder.taken("finish").size(), 1u);
    EXPECT_EQ(encoder.state(), Encoder::Idle);
    encoder.acceptStart = true;
    EXPECT_TRUE(encoder.encodeVideoChunk(chunk.release(), true));
    encoder.waitForFinish();
    EXPECT_EQ(encoder.taken("encode").size(), 1u);
}

TEST_F(EncoderTest, AbortAfterTheEndRemovesNothing)
{
    ASSERT_TRUE(encoder.setOutputParameters(path("a.bin"), 2, 2, 25, 1));
    EXPECT_TRUE(encoder.encodeVideoChunk(new CountedChunk, true));
    encoder.waitForFinish();
    LogCapture log;
    encoder.abortEncoding();
    EXPECT_TRUE(QFile::exists(path("a.bin"))) << "no output is left to remove";
    EXPECT_TRUE(encoder.aborted());
    EXPECT_TRUE(log.records().empty()) << log.text();
    EXPECT_EQ(encoder.taken("finish").size(), 2u) << "once a clean-up";
}

TEST_F(EncoderTest, TheSameObjectCanEncodeAgain)
{
    encoder.encodeVideoChunk(new CountedChunk, true);
    encoder.waitForFinish();
    encoder.encodeVideoChunk(new CountedChunk, true);
    encoder.abortEncoding();
    EXPECT_TRUE(encoder.aborted());
    EXPECT_EQ(encoder.taken("init").size(), 2u);
    EXPECT_EQ(encoder.taken("finish").size(), 2u);
}

TEST_F(EncoderTest, ExceptionsOfAPlugInCountAsFalse)
{
    encoder.throwInHook = true;
    LogCapture log;
    auto chunk = std::make_unique<CountedChunk>();
    EXPECT_FALSE(encoder.encodeVideoChunk(chunk.get(), false));
    EXPECT_EQ(encoder.state(), Encoder::InitFailed);
    EXPECT_TRUE(log.contains(QStringLiteral("The video encoder plugin 'body' threw an exception: in the hook")))
        << log.text();
    encoder.waitForFinish();
    EXPECT_TRUE(log.contains(QStringLiteral("The video encoder plugin 'body' threw an exception: at the end")))
        << log.text();
}

TEST_F(EncoderTest, ClampTruncatesToAByte)
{
    EXPECT_EQ(Encoder::clamp(-0.5), 0);
    EXPECT_EQ(Encoder::clamp(0.99), 0);
    EXPECT_EQ(Encoder::clamp(254.9), 254);
    EXPECT_EQ(Encoder::clamp(255.0), 255);
    EXPECT_EQ(Encoder::clamp(300), 255);
    EXPECT_EQ(Encoder::clamp(INFINITY), 255);
    EXPECT_EQ(Encoder::clamp(-INFINITY), 0);
    EXPECT_EQ(Encoder::clamp(NAN), 0);
}

TEST_F(EncoderTest, MetaObjectHasOneSignalAndOneSlotInOrder)
{
    const QMetaObject* meta = &Encoder::staticMetaObject;
    EXPECT_STREQ(meta->className(), "tov::grab::video::Encoder");
    ASSERT_EQ(meta->methodCount() - meta->methodOffset(), 2);
    EXPECT_EQ(meta->method(meta->methodOffset()).methodSignature(), "progressChanged(int)");
    EXPECT_EQ(meta->method(meta->methodOffset()).methodType(), QMetaMethod::Signal);
    EXPECT_EQ(meta->method(meta->methodOffset() + 1).methodSignature(), "abortEncoding()");
    EXPECT_EQ(meta->method(meta->methodOffset() + 1).methodType(), QMetaMethod::Slot);
}

TEST_F(EncoderTest, MembersHaveTheOrderThatPlugInsAreBuiltWith)
{
    const auto addresses = encoder.memberAddresses();
    EXPECT_EQ(addresses.size(), 13u);
    EXPECT_TRUE(std::is_sorted(addresses.begin(), addresses.end()));
}

TEST_F(EncoderTest, TheHooksFollowTheVirtualFunctionsOfQObject)
{
    const int first = 12; // after three for the meta-object, two destructors and seven of QObject
    CountedChunk chunk;
    EXPECT_TRUE((callSlot<bool, QIODevice*, bool>(&encoder, first, &chunk, false)));
    EXPECT_TRUE((callSlot<bool, QIODevice*, bool>(&encoder, first + 1, &chunk, true)));
    callSlot<void>(&encoder, first + 2);
    ASSERT_EQ(encoder.calls.size(), 3u);
    EXPECT_EQ(encoder.calls[0].hook, "init");
    EXPECT_EQ(encoder.calls[1].hook, "encode");
    EXPECT_TRUE(encoder.calls[1].isLast);
    EXPECT_EQ(encoder.calls[2].hook, "finish");
}
