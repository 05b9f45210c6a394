#pragma once

#include <QtGlobal>

#include <vector>

namespace tov::plugins::video {

/// Turns a frame's pixels, colour already blended over the background, into straight alpha: the background is taken out
/// again. Its colour stands in any pixel of alpha 0; until one has been seen it is taken for black.
class StraightAlpha
{
public:
    /// `bgra` holds `pixels` pixels of 4 bytes B, G, R, A; the result stays valid until the next call.
    const uchar* convert(const uchar* bgra, qint64 pixels);

private:
    bool m_Known = false;
    int m_Background[3] = {0, 0, 0}; ///< B, G, R
    std::vector<uchar> m_Frame;
};

} // namespace tov::plugins::video
