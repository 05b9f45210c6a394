#pragma once

#include <QByteArray>
#include <QIODevice>

namespace tov::plugins::video {

/// Bytes of a frame, B, G, R, A; 0 when no video can have that size: below 2, or beyond what can be counted.
constexpr qint64 bytesOfFrame(int width, int height)
{
    constexpr int Largest = 1 << 28;
    return width < 2 || height < 2 || width > Largest || height > Largest ? 0 : qint64(width) * height * 4;
}

/// Walks over the whole frames of a chunk. A chunk in memory is read where it lies, one in a file frame by frame.
class FrameReader
{
public:
    /// `chunk` may be null (no frames) and is positioned anywhere; `frameBytes` above 0.
    FrameReader(QIODevice* chunk, qint64 frameBytes);
    /// The next frame's bytes, valid until the next call, with readable memory behind them; null at the end, or when
    /// reading failed.
    const uchar* next();
    /// Bytes behind the last whole frame.
    qint64 remainder() const { return m_Remainder; }
    /// True when the device could not deliver what it said it holds.
    bool failed() const { return m_Failed; }

private:
    QIODevice* mp_Chunk;
    qint64 m_FrameBytes;
    qint64 m_Left = 0;
    qint64 m_Remainder = 0;
    const uchar* mp_Memory = nullptr;
    const uchar* mp_End = nullptr; ///< of the memory that may be read, also beyond the chunk
    QByteArray m_Frame;
    bool m_Failed = false;
};

} // namespace tov::plugins::video
