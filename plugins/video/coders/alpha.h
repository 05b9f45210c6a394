#pragma once

#include <QtGlobal>

#include <vector>

namespace tov::plugins::video {

/// Converts a frame whose colours are blended over the background to straight alpha: removes the background again. Its
/// colour is in every pixel of alpha 0; until one has been found, the background counts as black.
///
/// Lossy codecs mix the colours of neighbouring pixels. For them (`spread`) the empty pixels around an object get its
/// colour, so that the background's colour does not show at the edges.
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
    std::vector<uchar> m_Distance; ///< of each pixel to the nearest drawn one, in pixels; 255 = far
};

} // namespace tov::plugins::video
