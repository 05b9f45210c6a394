#include "plugins/video/coders/framecoder.h"

#include "kernel/log/logger.h"
#include "kernel/util/framebacklog.h"
#include "plugins/video/coders/framereader.h"

extern "C" {
#include <libavutil/error.h>
}

#include <atomic>
#include <new>
#include <utility>

namespace tov::plugins::video {

using tov::log::Logger;
using tov::util::FrameBacklog;

namespace {

/// Reports the frames of a chunk as taken: those that the coder read when it has read them, the rest, which it drops,
/// at the end. The recording waits for them.
class TakenFrames
{
public:
    TakenFrames(const QIODevice* chunk, qint64 frameBytes)
        : m_Left(chunk && frameBytes > 0 ? chunk->size() / frameBytes : 0), m_FrameBytes(frameBytes)
    {}
    ~TakenFrames() { FrameBacklog::taken(m_Left, m_Left * m_FrameBytes); }
    TakenFrames(const TakenFrames&) = delete;
    TakenFrames& operator=(const TakenFrames&) = delete;
    void addOne()
    {
        --m_Left;
        FrameBacklog::taken(1, m_FrameBytes);
    }

private:
    qint64 m_Left;
    const qint64 m_FrameBytes;
};

} // namespace

bool FrameCoder::fail(int line, const char* function, const QString& what, int averror)
{
    if (!m_Failed) {
        char text[AV_ERROR_MAX_STRING_SIZE] = {};
        av_strerror(averror, text, sizeof text);
        Logger::log(tov::log::LevelError, m_SourceFile, line, function, nullptr,
                    averror ? what + QStringLiteral(": ") + QString::fromLocal8Bit(text) : what);
    }
    m_Failed = true;
    return false;
}

bool FrameCoder::isAborted() const
{
    return std::atomic_ref<bool>(const_cast<bool&>(*m_Job.aborted)).load();
}

bool FrameCoder::ensureOpen()
{
    m_Opened = m_Opened || (!m_Failed && open());
    return m_Opened;
}

bool FrameCoder::failForMemory(int line, const char* function, int averror)
{
    return fail(line, function, QStringLiteral("There is not enough memory to encode the video"), averror);
}

void FrameCoder::codeChunk(const CoderJob& job, QIODevice* chunk, bool isLast)
{
    m_Job = job;
    try {
        codeFrames(chunk);
        if (isLast && !isAborted())
            end();
    } catch (const std::bad_alloc&) {
        failForMemory(__LINE__, __func__);
    }
}

void FrameCoder::codeFrames(QIODevice* chunk)
{
    const qint64 frameBytes = bytesOfFrame(m_Job.width, m_Job.height);
    if (frameBytes == 0)
        fail(__LINE__, __func__,
             QStringLiteral("A video of %1 x %2 pixels cannot be encoded").arg(m_Job.width).arg(m_Job.height));
    TakenFrames taken(chunk, frameBytes);
    if (m_Failed)
        return;
    FrameReader reader(chunk, frameBytes);
    while (const uchar* frame = reader.next()) {
        if (isAborted())
            return;
        if (m_Finished) {
            // The file is complete; a second header after it would corrupt it.
            fail(__LINE__, __func__, QStringLiteral("Data after the last frame is dropped"));
            break;
        }
        if (!ensureOpen() || !codeFrame(frame))
            break;
        taken.addOne();
    }
    if (reader.failed())
        fail(__LINE__, __func__, QStringLiteral("A chunk of the recording cannot be read back"));
    else if (reader.remainder() > 0 && !m_Failed && !std::exchange(m_RemainderLogged, true))
        Logger::log(tov::log::LevelError, m_SourceFile, __LINE__, __func__, nullptr,
                    QStringLiteral("The last %1 bytes of a chunk are not a complete frame and are dropped")
                        .arg(reader.remainder()));
}

void FrameCoder::end()
{
    if (std::exchange(m_Finished, true))
        return;
    if (!m_Failed && (m_Opened || (writesEmptyFile() && ensureOpen())))
        complete();
    close();
}

void FrameCoder::finish(const CoderJob& job)
{
    m_Job = job;
    if (isAborted()) {
        // The file has been closed and removed already.
        close();
        discard();
    } else {
        try {
            end(); // if no chunk was marked as the last one
        } catch (const std::bad_alloc&) {
            failForMemory(__LINE__, __func__);
        }
    }
}

} // namespace tov::plugins::video
