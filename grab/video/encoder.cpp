#include "grab/video/encoder.h"

#include "grab/video/outputfile.h"
#include "kernel/log/logger.h"

#include <QFile>
#include <QSemaphore>

#include <atomic>
#include <exception>

const int tovGrabEncoderAbi1 = 1;

namespace tov::grab::video {

using tov::log::Logger;

namespace {

const char* const SourceFile = "video/encoder";
constexpr int ErrorLevel = tov::log::LevelError;

/// Flags and states are plain fields that two threads share.
template <typename T>
T load(T& field)
{
    return std::atomic_ref<T>(field).load();
}

template <typename T>
void store(T& field, T value)
{
    std::atomic_ref<T>(field).store(value);
}

/// Calls a plug-in's hook; an exception that leaves it gets one record and counts as false.
template <typename Hook>
bool fenced(const char* name, Hook hook)
{
    try {
        return hook();
    } catch (const std::exception& e) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, name, nullptr, "The encoder threw an exception: %s", e.what());
    } catch (...) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, name, nullptr, "The encoder threw an exception");
    }
    return false;
}

} // namespace

// The four output parameters are left unset on purpose: `setOutputParameters` always comes first.
Encoder::Encoder() {}

// Queue and mutex only, on purpose: chunks, runner and file are the business of `cleanUp`.
Encoder::~Encoder() {}

bool Encoder::setOutputParameters(const QString& filename, int width, int height, int fps, int kbps)
{
    m_Width = width;
    m_Height = height;
    m_Fps = fps;
    m_Kbps = kbps;
    // Only oddness is tested; zero and negative sizes are the plug-ins' concern.
    if (width % 2 != 0) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Encoder: invalid width specified");
        return false;
    }
    if (height % 2 != 0) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Encoder: invalid height specified");
        return false;
    }
    // A second call makes a second file without freeing the first, by design: it is called once.
    mp_OutputFile = new QFile(filename);
    if (!isPipe(filename) && mp_OutputFile->open(QIODevice::WriteOnly | QIODevice::Truncate))
        return true;
    Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Encoder: Couldn't open file '%s' for writing",
                filename.toLocal8Bit().constData());
    delete mp_OutputFile;
    mp_OutputFile = nullptr;
    return false;
}

bool Encoder::encodeVideoChunk(QIODevice* chunk, bool isLast)
{
    if (load(m_State) == InitFailed)
        return false;
    if (load(m_State) == Idle) {
        if (!fenced("initEncoding", [&] { return initEncoding(chunk, isLast); })) {
            store(m_State, int(InitFailed));
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't initialize video encoding");
            return false;
        }
        mp_Semaphore = new QSemaphore(0);
        mp_Runner = new Runner(this);
        mp_Runner->start(QThread::InheritPriority);
        if (!mp_Runner->isRunning() && !mp_Runner->isFinished()) {
            // The system gives no thread: nothing could be encoded.
            delete mp_Runner;
            mp_Runner = nullptr;
            delete mp_Semaphore;
            mp_Semaphore = nullptr;
            store(m_State, int(InitFailed));
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't initialize video encoding");
            return false;
        }
        // The runner may be further already; its state must not be taken back.
        int expected = Idle;
        std::atomic_ref<int>(m_State).compare_exchange_strong(expected, Started);
    }
    m_Mutex.lock();
    m_Chunks.push_back(chunk);
    m_Mutex.unlock();
    // Finish comes first: the permit that it releases and the chunk's own together let the runner take the chunk, see
    // that it is the last one, and end.
    if (isLast)
        mp_Runner->finish();
    mp_Semaphore->release();
    return true;
}

void Encoder::waitForFinish()
{
    m_Mutex.lock();
    m_ProcessedChunks = 0;
    m_TotalChunks = int(m_Chunks.size());
    m_Mutex.unlock();
    if (mp_Runner)
        mp_Runner->wait();
    cleanUp();
}

void Encoder::abortEncoding()
{
    store(m_Aborted, true);
    if (mp_Runner) {
        mp_Runner->stop();
        mp_Runner->wait();
    }
    if (mp_OutputFile) {
        mp_OutputFile->close();
        if (auto* file = qobject_cast<QFile*>(mp_OutputFile)) {
            const QString fileName = file->fileName();
            if (!QFile::remove(fileName))
                Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't remove file '%s'",
                            fileName.toLocal8Bit().constData());
        }
    }
    cleanUp();
}

void Encoder::cleanUp()
{
    fenced("finishEncoding", [this] {
        finishEncoding();
        return true;
    });
    store(m_State, int(Idle));
    delete mp_Runner;
    mp_Runner = nullptr;
    delete mp_Semaphore;
    mp_Semaphore = nullptr;
    m_Mutex.lock();
    while (!m_Chunks.empty()) {
        delete m_Chunks.front();
        m_Chunks.pop_front();
    }
    m_Mutex.unlock();
    delete mp_OutputFile;
    mp_OutputFile = nullptr;
}

unsigned char Encoder::clamp(double value)
{
    // The comparisons are false for not-a-number, which ends in the last line.
    if (value > 255.0)
        return 255;
    if (value >= 0.0)
        return static_cast<unsigned char>(value);
    return 0;
}

Encoder::Runner::Runner(Encoder* encoder) : mp_Encoder(encoder) {}

void Encoder::Runner::stop()
{
    store(m_Running, false);
    mp_Encoder->mp_Semaphore->release();
}

void Encoder::Runner::finish()
{
    store(m_Finishing, true);
    mp_Encoder->mp_Semaphore->release();
}

void Encoder::Runner::run()
{
    store(mp_Encoder->m_State, int(Running));
    m_ThreadId = QThread::currentThreadId();
    setPriority(QThread::IdlePriority);
    emit mp_Encoder->progressChanged(-1);
    for (;;) {
        mp_Encoder->mp_Semaphore->acquire();
        mp_Encoder->m_Mutex.lock();
        if (!load(m_Running)) {
            mp_Encoder->m_Mutex.unlock();
            break;
        }
        if (load(m_Finishing) && mp_Encoder->m_Chunks.empty()) {
            mp_Encoder->m_Mutex.unlock();
            break;
        }
        QIODevice* chunk = mp_Encoder->m_Chunks.front();
        mp_Encoder->m_Chunks.pop_front();
        if (mp_Encoder->m_TotalChunks > 0) {
            // Computed before the count goes up, so the first chunk reports 0 and none reports 100: by design.
            emit mp_Encoder->progressChanged(
                int(float(mp_Encoder->m_ProcessedChunks) / float(mp_Encoder->m_TotalChunks) * 100.0f));
            ++mp_Encoder->m_ProcessedChunks;
        }
        mp_Encoder->m_Mutex.unlock();
        // The flag is read first: once it is set nothing is queued any more, so that the look at the queue, which needs
        // no lock then, cannot race.
        const bool isLast = load(m_Finishing) && mp_Encoder->m_Chunks.empty();
        if (!fenced("encodeChunk", [&] { return mp_Encoder->encodeChunk(chunk, isLast); })) {
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't encode chunk!");
            delete chunk;
            store(mp_Encoder->m_State, int(Stopped));
            return;
        }
        delete chunk;
    }
    store(mp_Encoder->m_State, int(Stopped));
}

} // namespace tov::grab::video
