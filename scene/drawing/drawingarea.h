#pragma once

#include "scene/drawing/painter.h"

#include <array>
#include <vector>

namespace tov::scene {

/// The pixels that drawing may change: the viewport, limited to the caller's scissor and to what is drawn. All
/// rectangles are x, y, width and height in pixels of the framebuffer.
struct DrawingArea
{
    std::array<int, 4> bounds;
    /// Disjoint rectangles within `bounds` that contain everything, much tighter for most scenes.
    std::vector<std::array<int, 4>> bands;

    /// Reads the scissor of the current context. `hasGrid`: a grid is drawn as well, which may be anywhere in the
    /// viewport.
    DrawingArea(const View& view, const std::vector<DrawItem>& items, const SceneLook& look, bool hasGrid);
};

} // namespace tov::scene
