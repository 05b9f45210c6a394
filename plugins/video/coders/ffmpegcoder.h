#pragma once

#include "plugins/video/coders/alpha.h"
#include "plugins/video/coders/framecoder.h"
#include "plugins/video/common/format.h"

#include <memory>

namespace tov::plugins::video {

/// Encodes a recording with FFmpeg's libraries, in any format of the table.
class FFmpegCoder : public FrameCoder
{
public:
    /// `format` must outlive the coder.
    explicit FFmpegCoder(const Format& format);
    ~FFmpegCoder() override;

    /// True when the FFmpeg libraries of this machine can make the format.
    static bool isAvailable(const Format& format);

private:
    struct Pipeline;

    bool open() override;
    bool codeFrame(const uchar* bgra) override;
    void complete() override;
    void close() override;

    int framesPerSecond() const;
    bool openMuxer();
    void configureCodec() const;
    bool openCodec();
    bool openScaler();
    bool openFilter();
    bool writeHeader();
    bool filterAndSend(bool flush);
    bool send(bool flush);

    const Format& m_Format;
    std::unique_ptr<Pipeline> d;
    StraightAlpha m_Alpha;
    qint64 m_Frames = 0;
    qint64 m_Slot = -1; ///< time of the last frame kept, where a format cannot hold the rate
};

} // namespace tov::plugins::video
