#pragma once

#include "grab/video/encoder.h"
#include "plugins/video/common/alpha.h"
#include "plugins/video/common/format.h"

#include <memory>

namespace tov::plugins::video {

/// Encodes one recording by FFmpeg's libraries. An output that cannot be written is logged once; from then on frames
/// are dropped and what was written stays playable: the encoding itself is never refused.
class FFmpegEncoder : public tov::grab::video::Encoder
{
    Q_OBJECT
public:
    /// `format` outlives the encoder.
    explicit FFmpegEncoder(const Format& format);
    ~FFmpegEncoder() override;

protected:
    bool initEncoding(QIODevice* firstChunk, bool isLast) override;
    bool encodeChunk(QIODevice* chunk, bool isLast) override;
    void finishEncoding() override;

private:
    struct Pipeline;

    bool open();
    bool openFilter();
    bool encodeFrame(const uchar* bgra);
    bool filterAndSend(bool flush);
    bool send(bool flush);
    void finish();
    /// Logs and stops everything that follows.
    bool fail(int line, const char* function, const QString& what, int averror = 0);

    const Format& m_Format;
    std::unique_ptr<Pipeline> d;
    StraightAlpha m_Alpha;
    bool m_Failed = false;
    bool m_Finished = false;
    qint64 m_Frames = 0;
    qint64 m_Slot = -1; ///< of the last frame kept, where a format cannot hold the rate
};

} // namespace tov::plugins::video
