#include "plugins/video/common/framereader.h"

#include <QBuffer>

namespace tov::plugins::video {

FrameReader::FrameReader(QIODevice* chunk, qint64 frameBytes) : mp_Chunk(chunk), m_FrameBytes(frameBytes)
{
    if (!chunk)
        return;
    const qint64 size = chunk->size();
    m_Left = size / frameBytes;
    m_Remainder = size % frameBytes;
    if (auto* buffer = qobject_cast<QBuffer*>(chunk)) {
        mp_Memory = reinterpret_cast<const uchar*>(buffer->data().constData());
    } else if (m_Left > 0) {
        m_Frame.resize(int(frameBytes));
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
        return frame;
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
