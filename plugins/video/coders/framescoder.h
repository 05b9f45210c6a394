#pragma once

#include "plugins/video/coders/alpha.h"
#include "plugins/video/coders/framecoder.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace tov::plugins::video {

/// Writes every frame as a PNG of its own, with straight alpha, beside a list of them ("ffconcat", plain text) that
/// players open like a video. A list "turn.frames" goes with "turn.00001.png" and so on; pictures of that name are
/// overwritten. A picture is listed once it is whole, so the list plays at any moment.
///
/// Holds one frame in memory, beside those that the codec's threads (8 at most) work on.
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
    bool isEmptyWritten() const override { return true; }

    /// Sends the codec's frame, or null at the end, and writes every picture that is done.
    bool send(bool flush);
    bool isListInPlace() const;
    bool writePicture(const char* data, int size);
    bool writeList(const QByteArray& text);

    std::unique_ptr<Codec> d;
    StraightAlpha m_Alpha;
    QString m_Prefix;    ///< of the pictures' names, without folder
    QString m_Folder;    ///< of list and pictures
    QStringList m_Files; ///< pictures written, removed again after an abort
};

} // namespace tov::plugins::video
