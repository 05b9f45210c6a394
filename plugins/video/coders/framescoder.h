#pragma once

#include "plugins/video/coders/alpha.h"
#include "plugins/video/coders/framecoder.h"
#include "plugins/video/coders/framelist.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace tov::plugins::video {

/// Writes every frame as a PNG of its own, with straight alpha, next to a list of them that players open like a video
/// (see `PictureNames`). A picture gets its name once it is complete, and is listed then, so the list plays at any
/// moment. At the end, pictures that remain from an earlier, longer recording of that name are removed.
///
/// Holds one frame in memory, and those that the codec's threads (8 at most) work on.
class FramesCoder : public FrameCoder
{
public:
    FramesCoder();
    ~FramesCoder() override;

    /// True when the FFmpeg libraries of this machine can make PNGs.
    static bool isAvailable();

private:
    struct Codec;

    bool open() override;
    bool codeFrame(const uchar* bgra) override;
    void complete() override;
    void close() override;
    void discard() override;
    bool writesEmptyFile() const override { return true; }

    /// Sends the codec's frame, or null at the end, and writes every picture that is done.
    bool send(bool flush);
    bool isListInPlace() const;
    bool writePicture(const char* data, int size);
    bool writeList(const QByteArray& text);

    std::unique_ptr<Codec> d;
    StraightAlpha m_Alpha;
    std::unique_ptr<PictureNames> m_Names; ///< set while the list is open
    QStringList m_Files;                   ///< pictures written, removed again after an abort
};

} // namespace tov::plugins::video
