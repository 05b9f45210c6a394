#include "plugins/video/common/alpha.h"

#include <algorithm>
#include <cstring>

namespace tov::plugins::video {

const uchar* StraightAlpha::convert(const uchar* bgra, qint64 pixels)
{
    bool partial = false;
    for (qint64 i = 0; i < pixels; ++i) {
        const uchar* p = bgra + 4 * i;
        if (p[3] == 0 && !m_Known) {
            m_Known = true;
            for (int c = 0; c < 3; ++c)
                m_Background[c] = p[c];
        }
        partial = partial || (p[3] != 0 && p[3] != 255);
    }
    // Wholly covered and wholly empty pixels are straight as they are.
    if (!partial)
        return bgra;
    m_Frame.resize(std::size_t(pixels) * 4);
    std::memcpy(m_Frame.data(), bgra, m_Frame.size());
    for (qint64 i = 0; i < pixels; ++i) {
        uchar* p = m_Frame.data() + 4 * i;
        const int alpha = p[3];
        if (alpha == 0 || alpha == 255)
            continue;
        // pixel = a * colour + (1 - a) * background
        for (int c = 0; c < 3; ++c) {
            const int blended = 255 * p[c] - (255 - alpha) * m_Background[c];
            p[c] = uchar(std::clamp((blended + alpha / 2) / alpha, 0, 255));
        }
    }
    return m_Frame.data();
}

} // namespace tov::plugins::video
