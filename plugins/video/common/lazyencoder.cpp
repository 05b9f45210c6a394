#include "plugins/video/common/lazyencoder.h"

#include "kernel/util/framebacklog.h"

#include <system_error>
#include <utility>

namespace tov::plugins::video {

LazyEncoder::LazyEncoder(const Format* format) : mp_Format(format)
{
    try {
        m_Loading = std::async(std::launch::async, [] { coderFunctions(); });
    } catch (const std::system_error&) {
        // No thread is available: it is loaded with the first chunk.
    }
}

LazyEncoder::~LazyEncoder() = default;

CoderJob LazyEncoder::job() const
{
    return {mp_OutputFile, m_Width, m_Height, m_Fps, m_Kbps, &m_Aborted};
}

bool LazyEncoder::initEncoding(QIODevice*, bool)
{
    // Everything is opened later, on the runner, whose idle scheduling the codec's threads inherit. Refusing here would
    // leak every chunk, so the output is not checked.
    m_Coder.reset();
    m_Lost = false;
    return true;
}

bool LazyEncoder::encodeChunk(QIODevice* chunk, bool isLast)
{
    if (!m_Coder) {
        QString error;
        const CoderFunctions* coders = m_Lost ? nullptr : coderFunctions(&error);
        if (!coders) {
            // Logged once; every chunk is dropped.
            if (!std::exchange(m_Lost, true))
                logUnloaded(error);
            dropFrames(chunk);
            return true;
        }
        m_Coder.reset(mp_Format ? coders->createFFmpegCoder(*mp_Format) : coders->createFramesCoder());
    }
    m_Coder->codeChunk(job(), chunk, isLast);
    return true;
}

void LazyEncoder::dropFrames(const QIODevice* chunk) const
{
    // The recording waits until its captured frames are taken.
    const qint64 frameBytes = qint64(m_Width) * m_Height * 4;
    if (chunk && frameBytes > 0)
        tov::util::FrameBacklog::taken(chunk->size() / frameBytes, chunk->size());
}

void LazyEncoder::finishEncoding()
{
    if (m_Coder)
        m_Coder->finish(job());
    m_Coder.reset();
}

} // namespace tov::plugins::video
