#pragma once

#include <QtGlobal>

#include <vector>

namespace tov::plugins::video {

/// Turns a frame's pixels, colour already blended over the background, into straight alpha: the background is taken out
/// again. Its colour stands in any pixel of alpha 0; until one has been seen it is taken for black.
///
/// Codecs that lose detail mix the colours of neighbours. For them the empty pixels around what is drawn take its
/// colour
/// (`spread`), so that nothing of the background's comes back at the edges.
class StraightAlpha
{
public:
    /// `bgra` holds `width` x `height` pixels of 4 bytes B, G, R, A; the result stays valid until the next call.
    const uchar* convert(const uchar* bgra, int width, int height, bool spread);

private:
    void spreadColors(int width, int height);
    bool m_Known = false;
    int m_Background[3] = {0, 0, 0}; ///< B, G, R
    std::vector<uchar> m_Frame;
    std::vector<uchar> m_Distance; ///< of each pixel to the nearest drawn one, pixels; 255 = far
};

} // namespace tov::plugins::video
