#include "plugins/video/coders/ffmpegoutput.h"

#include <QFileDevice>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace tov::plugins::video {

namespace {
constexpr int BufferBytes = 1 << 16;
}

FFmpegOutput::FFmpegOutput(QIODevice* device, Mp4Index* index) : mp_Device(device), mp_Index(index)
{
    // Without a seek function FFmpeg writes a stream.
    const bool isSeekable = !index && !device->isSequential();
    auto* buffer = static_cast<unsigned char*>(av_malloc(BufferBytes));
    if (buffer)
        // The data is constant from FFmpeg 7 on.
        mp_Context = avio_alloc_context(
            buffer, BufferBytes, 1, this, nullptr,
            [](void* self, auto* data, int size) { return onWrite(self, data, size); }, isSeekable ? onSeek : nullptr);
    if (!mp_Context)
        av_free(buffer);
}

FFmpegOutput::~FFmpegOutput()
{
    if (mp_Context) {
        av_freep(&mp_Context->buffer);
        avio_context_free(&mp_Context);
    }
}

bool FFmpegOutput::write(const char* data, qint64 size)
{
    while (size > 0 && !m_Failed) {
        const qint64 written = mp_Device->write(data, size);
        if (written <= 0) {
            m_Failed = true;
            break;
        }
        data += written;
        size -= written;
    }
    // Flushed, so that what has been encoded survives a crash of this process.
    if (auto* file = qobject_cast<QFileDevice*>(mp_Device))
        m_Failed = m_Failed || !file->flush();
    return !m_Failed;
}

bool FFmpegOutput::seek(qint64 position)
{
    return !m_Failed && mp_Device->seek(position);
}

int FFmpegOutput::onWrite(void* self, const std::uint8_t* data, int size)
{
    auto* output = static_cast<FFmpegOutput*>(self);
    bool written;
    if (output->mp_Index) {
        const QByteArray bytes = output->mp_Index->filter(data, size);
        written = output->write(bytes.constData(), bytes.size());
    } else {
        written = output->write(reinterpret_cast<const char*>(data), size);
    }
    return written ? size : AVERROR(EIO);
}

std::int64_t FFmpegOutput::onSeek(void* self, std::int64_t offset, int whence)
{
    auto* output = static_cast<FFmpegOutput*>(self);
    qint64 target;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return output->mp_Device->size();
    case SEEK_SET:
        target = offset;
        break;
    case SEEK_CUR:
        target = output->mp_Device->pos() + offset;
        break;
    case SEEK_END:
        target = output->mp_Device->size() + offset;
        break;
    default:
        return AVERROR(EINVAL);
    }
    return output->seek(target) ? target : AVERROR(EIO);
}

} // namespace tov::plugins::video
