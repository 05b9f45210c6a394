#pragma once

#include <QByteArray>
#include <QIODevice>

namespace tov::plugins::video {

/// Bytes of a frame of B, G, R, A pixels; 0 for a size that no video can have: below 2, or too large to count.
constexpr qint64 bytesOfFrame(int width, int height)
{
    constexpr int Largest = 1 << 28;
    return width < 2 || height < 2 || width > Largest || height > Largest ? 0 : qint64(width) * height * 4;
}

/// Iterates over the whole frames of a chunk. A chunk in memory is not copied, one in a file is read frame by frame.
class FrameReader
{
public:
    /// `chunk` may be null (no frames) and is positioned anywhere; `frameBytes` above 0.
    FrameReader(QIODevice* chunk, qint64 frameBytes);
    /// The next frame's bytes, valid until the next call, followed by readable memory; null at the end, or when
    /// reading failed.
    const uchar* next();
    /// Bytes after the last whole frame.
    qint64 remainder() const { return m_Remainder; }
    /// True when the device delivered less than its size.
    bool failed() const { return m_Failed; }

private:
    QIODevice* mp_Chunk;
    qint64 m_FrameBytes;
    qint64 m_Left = 0;
    qint64 m_Remainder = 0;
    const uchar* mp_Memory = nullptr;
    const uchar* mp_End = nullptr; ///< of the readable memory, which may extend beyond the chunk
    QByteArray m_Frame;
    bool m_Failed = false;
};

} // namespace tov::plugins::video
