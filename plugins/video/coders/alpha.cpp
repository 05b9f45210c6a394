#include "plugins/video/coders/alpha.h"

#include <algorithm>
#include <cstring>

namespace tov::plugins::video {

namespace {

/// How far colours are spread, pixels: the largest block that the codecs transform.
constexpr int SpreadPixels = 32;

} // namespace

const uchar* StraightAlpha::convert(const uchar* bgra, int width, int height, bool spread)
{
    const qint64 pixels = qint64(width) * height;
    bool partial = false;
    bool empty = false;
    for (qint64 i = 0; i < pixels; ++i) {
        const uchar* p = bgra + 4 * i;
        if (p[3] == 0 && !m_Known) {
            m_Known = true;
            for (int c = 0; c < 3; ++c)
                m_Background[c] = p[c];
        }
        partial = partial || (p[3] != 0 && p[3] != 255);
        empty = empty || p[3] == 0;
    }
    // Opaque and empty pixels need no conversion.
    if (!partial && !(spread && empty))
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
    if (spread && empty)
        spreadColors(width, height);
    return m_Frame.data();
}

void StraightAlpha::spreadColors(int width, int height)
{
    // Two sweeps, as for a distance map: each empty pixel takes the colour of the neighbour nearest to a drawn pixel,
    // among those that the sweep has passed.
    constexpr uchar Far = 255;
    m_Distance.resize(std::size_t(width) * height);
    const qint64 pixels = qint64(width) * height;
    for (qint64 i = 0; i < pixels; ++i)
        m_Distance[i] = m_Frame[4 * i + 3] ? 0 : Far;
    const auto take = [&](qint64 to, qint64 from) {
        if (m_Distance[from] + 1 >= m_Distance[to] || m_Distance[from] >= SpreadPixels)
            return;
        m_Distance[to] = uchar(m_Distance[from] + 1);
        std::memcpy(&m_Frame[4 * to], &m_Frame[4 * from], 3);
    };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const qint64 at = qint64(y) * width + x;
            if (m_Distance[at] == 0)
                continue;
            if (x > 0)
                take(at, at - 1);
            if (y > 0)
                take(at, at - width);
        }
    for (int y = height - 1; y >= 0; --y)
        for (int x = width - 1; x >= 0; --x) {
            const qint64 at = qint64(y) * width + x;
            if (m_Distance[at] == 0)
                continue;
            if (x + 1 < width)
                take(at, at + 1);
            if (y + 1 < height)
                take(at, at + width);
        }
}

} // namespace tov::plugins::video
