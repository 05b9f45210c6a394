#pragma once

#include "plugins/video/coders/mp4index.h"

#include <QIODevice>

#include <memory>

struct AVIOContext;

namespace tov::plugins::video {

/// FFmpeg's output to a device that can be written and positioned, but not read. Every write is flushed to the file.
/// After a failure nothing more is written.
class FFmpegOutput
{
public:
    /// `device` must outlive this object. `index`: null, or the filter for a file of fragments (then FFmpeg cannot
    /// seek).
    FFmpegOutput(QIODevice* device, Mp4Index* index);
    FFmpegOutput(const FFmpegOutput&) = delete;
    FFmpegOutput& operator=(const FFmpegOutput&) = delete;
    ~FFmpegOutput();

    /// Null when there is no memory for it.
    AVIOContext* context() const { return mp_Context; }
    /// True after the first failed write or seek.
    bool failed() const { return m_Failed; }
    /// Writes bytes that do not come from the muxer; false on failure.
    bool write(const char* data, qint64 size);
    /// Moves to a position in bytes; false on failure.
    bool seek(qint64 position);

private:
    static int onWrite(void* self, const std::uint8_t* data, int size);
    static std::int64_t onSeek(void* self, std::int64_t offset, int whence);

    QIODevice* mp_Device; ///< not owned
    Mp4Index* mp_Index;   ///< not owned
    AVIOContext* mp_Context = nullptr;
    bool m_Failed = false;
};

} // namespace tov::plugins::video
