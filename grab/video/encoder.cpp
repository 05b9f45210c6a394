#include "grab/video/encoder.h"

#include "grab/video/outputfile.h"
#include "grab/video/pluginname.h"
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

/// Two threads share flags and states, which are plain fields.
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

/// The name of the plug-in that an encoder comes from: the library that holds its virtual table.
QByteArray pluginNameOf(const Encoder* encoder)
{
    return video::pluginNameOf(*reinterpret_cast<const void* const*>(encoder)).toLocal8Bit();
}

/// Calls a hook of a plug-in. An exception gives one record and counts as false.
template <typename Hook>
bool callHook(const Encoder* encoder, const char* name, Hook hook)
{
    try {
        return hook();
    } catch (const std::exception& e) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, name, nullptr,
                    "The video encoder plugin '%s' threw an exception: %s", pluginNameOf(encoder).constData(),
                    e.what());
    } catch (...) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, name, nullptr, "The video encoder plugin '%s' threw an exception",
                    pluginNameOf(encoder).constData());
    }
    return false;
}

} // namespace

// The four output parameters stay unset on purpose: `setOutputParameters` always comes first.
Encoder::Encoder() {}

// Does not delete chunks, runner and file, on purpose: `cleanUp` does.
Encoder::~Encoder() {}

bool Encoder::setOutputParameters(const QString& filename, int width, int height, int fps, int kbps)
{
    m_Width = width;
    m_Height = height;
    m_Fps = fps;
    m_Kbps = kbps;
    // Only oddness is checked; plug-ins have to handle zero and negative sizes.
    if (width % 2 != 0) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Encoder: invalid width specified");
        return false;
    }
    if (height % 2 != 0) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Encoder: invalid height specified");
        return false;
    }
    // A second call does not delete the first file, on purpose: there is only one call.
    auto* file = new QFile(filename);
    mp_OutputFile = file;
    if (openForWriting(*file))
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
        if (!callHook(this, "initEncoding", [&] { return initEncoding(chunk, isLast); })) {
            store(m_State, int(InitFailed));
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't initialize video encoding");
            return false;
        }
        mp_Semaphore = new QSemaphore(0);
        mp_Runner = new Runner(this);
        mp_Runner->start(QThread::InheritPriority);
        if (!mp_Runner->isRunning() && !mp_Runner->isFinished()) {
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr,
                        "There is no thread to encode the video with");
            delete mp_Runner;
            mp_Runner = nullptr;
            delete mp_Semaphore;
            mp_Semaphore = nullptr;
            store(m_State, int(InitFailed));
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't initialize video encoding");
            return false;
        }
        // The runner may have set `Running` or `Stopped` already, which must stay.
        int expected = Idle;
        std::atomic_ref<int>(m_State).compare_exchange_strong(expected, Started);
    }
    m_Mutex.lock();
    m_Chunks.push_back(chunk);
    m_Mutex.unlock();
    // The order matters: when the chunk's permit is released, the runner must already know that it is the last chunk.
    // The other permit lets the runner end.
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
    callHook(this, "finishEncoding", [this] {
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
    // NaN fails both comparisons.
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
            // Before the increment, so the first chunk reports 0 and none reports 100, on purpose.
            emit mp_Encoder->progressChanged(
                int(float(mp_Encoder->m_ProcessedChunks) / float(mp_Encoder->m_TotalChunks) * 100.0f));
            ++mp_Encoder->m_ProcessedChunks;
        }
        mp_Encoder->m_Mutex.unlock();
        // The order matters: once the flag is set, nobody adds to the queue, and it can be read without the mutex.
        const bool isLast = load(m_Finishing) && mp_Encoder->m_Chunks.empty();
        if (!callHook(mp_Encoder, "encodeChunk", [&] { return mp_Encoder->encodeChunk(chunk, isLast); })) {
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
