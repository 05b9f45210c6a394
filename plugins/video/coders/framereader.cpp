#include "plugins/video/coders/framereader.h"

#include <QBuffer>

#include <algorithm>
#include <cstring>
#include <limits>

namespace tov::plugins::video {

namespace {

/// Bytes that are read after a frame: the scaler reads whole vector registers, even if a row ends inside one.
constexpr int Slack = 256;
/// The largest byte array.
constexpr qint64 LargestFrame = qint64(std::numeric_limits<int>::max()) - 4096;

} // namespace

FrameReader::FrameReader(QIODevice* chunk, qint64 frameBytes) : mp_Chunk(chunk), m_FrameBytes(frameBytes)
{
    if (!chunk)
        return;
    const qint64 size = chunk->size();
    m_Left = size / frameBytes;
    m_Remainder = size % frameBytes;
    if (auto* buffer = qobject_cast<QBuffer*>(chunk)) {
        const QByteArray& bytes = buffer->data();
        mp_Memory = reinterpret_cast<const uchar*>(bytes.constData());
        // Memory that grew usually has room after its end.
        mp_End = mp_Memory + std::max(bytes.capacity(), bytes.size());
    } else if (m_Left > 0 && frameBytes > LargestFrame) {
        m_Failed = true;
    } else if (m_Left > 0) {
        m_Frame.resize(int(frameBytes) + Slack);
        m_Failed = !chunk->seek(0);
    }
}

const uchar* FrameReader::next()
{
    if (m_Left == 0 || m_Failed)
        return nullptr;
    --m_Left;
    if (mp_Memory) {
        const uchar* frame = mp_Memory;
        mp_Memory += m_FrameBytes;
        if (mp_End - mp_Memory >= Slack)
            return frame;
        m_Frame.resize(int(m_FrameBytes) + Slack);
        std::memcpy(m_Frame.data(), frame, std::size_t(m_FrameBytes));
        return reinterpret_cast<const uchar*>(m_Frame.constData());
    }
    for (qint64 have = 0; have < m_FrameBytes;) {
        const qint64 read = mp_Chunk->read(m_Frame.data() + have, m_FrameBytes - have);
        if (read <= 0) {
            m_Failed = true;
            return nullptr;
        }
        have += read;
    }
    return reinterpret_cast<const uchar*>(m_Frame.constData());
}

} // namespace tov::plugins::video
