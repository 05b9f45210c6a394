#pragma once

#include "grab/video/encoder.h"
#include "plugins/video/common/alpha.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace tov::plugins::video {

/// Writes every frame as a PNG of its own, with straight alpha, beside a list of them ("ffconcat", plain text) that
/// players open like a video. A list "turn.frames" goes with "turn.00001.png" and so on; pictures of that name are
/// overwritten. A picture is listed once it is whole, so the list plays at any moment.
///
/// Holds one frame in memory, beside those that the coder's threads (8 at most) work on.
class FramesEncoder : public tov::grab::video::Encoder
{
    Q_OBJECT
public:
    FramesEncoder();
    ~FramesEncoder() override;

    /// True when the FFmpeg libraries of this machine can make PNGs.
    static bool isAvailable();

protected:
    bool initEncoding(QIODevice* firstChunk, bool isLast) override;
    bool encodeChunk(QIODevice* chunk, bool isLast) override;
    void finishEncoding() override;

private:
    struct Coder;

    bool open();
    bool encodeFrame(const uchar* bgra);
    /// Sends the coder's frame, or null at the end, and writes every picture that is done.
    bool send(bool flush);
    bool isListInPlace() const;
    bool writePicture(const char* data, int size);
    bool writeList(const QByteArray& text);
    /// Logs once and stops everything that follows.
    bool fail(int line, const char* function, const QString& what, int averror = 0);

    std::unique_ptr<Coder> d;
    StraightAlpha m_Alpha;
    QString m_Prefix;    ///< of the pictures' names, without folder
    QString m_Folder;    ///< of list and pictures
    QStringList m_Files; ///< pictures written, removed again after an abort
    bool m_Failed = false;
    bool m_RemainderLogged = false;
};

} // namespace tov::plugins::video
