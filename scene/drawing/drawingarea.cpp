#include "scene/drawing/drawingarea.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

namespace tov::scene {

namespace {

/// Height of a band: the blocks in which software renderers work.
constexpr int BandHeight = 64;

typedef std::array<double, 4> Bounds; ///< left, bottom, right, top

constexpr Bounds NoBounds = {1e9, 1e9, -1e9, -1e9};

std::array<int, 4> intersection(const std::array<int, 4>& area, const Bounds& with)
{
    const int x = std::max(area[0], int(std::floor(std::clamp(with[0], -1e8, 1e8))));
    const int y = std::max(area[1], int(std::floor(std::clamp(with[1], -1e8, 1e8))));
    const int endX = std::min(area[0] + area[2], int(std::ceil(std::clamp(with[2], -1e8, 1e8))));
    const int endY = std::min(area[1] + area[3], int(std::ceil(std::clamp(with[3], -1e8, 1e8))));
    return {x, y, std::max(0, endX - x), std::max(0, endY - y)};
}

Bounds extended(const Bounds& bounds, double reach)
{
    return {bounds[0] - reach, bounds[1] - reach, bounds[2] + reach, bounds[3] + reach};
}

/// Calls `use` with the bounds of every chunk that may show.
template <typename Use>
void forEachChunk(const View& view, const std::vector<DrawItem>& items, double reach, const Use& use)
{
    const tov::math::Matrix4 wideClip = view.clipWithMargin(int(std::ceil(reach)));
    for (const DrawItem& item : items) {
        const Frustum frustum(wideClip * item.toScene);
        if (!frustum.mayShow(item.element->getBox()))
            continue;
        for (const GeometryElement::Chunk& chunk : item.element->getChunks()) {
            if (!frustum.mayShow(chunk.box))
                continue;
            Bounds bounds = NoBounds;
            view.addBounds(chunk.box, item.toScene, bounds);
            use(extended(bounds, reach));
        }
    }
}

int bandOf(int y)
{
    return int(std::floor(double(y) / BandHeight));
}

/// Left and right end of every band that `area` touches; empty where left is not below right.
typedef std::vector<std::array<int, 2>> Ranges;

Ranges rangesOf(const View& view, const std::vector<DrawItem>& items, double reach, const std::array<int, 4>& area)
{
    const int firstBand = bandOf(area[1]);
    Ranges ranges(std::size_t(bandOf(area[1] + area[3] - 1) - firstBand + 1), {area[0] + area[2], area[0]});
    forEachChunk(view, items, reach, [&](const Bounds& bounds) {
        const auto part = intersection(area, bounds);
        if (part[2] <= 0 || part[3] <= 0)
            return;
        for (int band = bandOf(part[1]); band <= bandOf(part[1] + part[3] - 1); ++band) {
            auto& range = ranges[std::size_t(band - firstBand)];
            range = {std::min(range[0], part[0]), std::max(range[1], part[0] + part[2])};
        }
    });
    return ranges;
}

} // namespace

DrawingArea::DrawingArea(const View& view, const std::vector<DrawItem>& items, const SceneLook& look, bool hasGrid)
    : bounds{view.viewport[0], view.viewport[1], view.viewport[2], view.viewport[3]}
{
    if (glIsEnabled(GL_SCISSOR_TEST)) {
        GLint own[4];
        glGetIntegerv(GL_SCISSOR_BOX, own);
        bounds =
            intersection(bounds, {double(own[0]), double(own[1]), double(own[0]) + own[2], double(own[1]) + own[3]});
    }
    if (hasGrid) {
        bands = {bounds};
        return;
    }
    const double reach = std::max(look.pointSize, look.lineWidth) * view.pictureHeight / 2 + 2;
    Bounds all = NoBounds;
    for (const DrawItem& item : items)
        view.addBounds(item.element->getBox(), item.toScene, all);
    bounds = intersection(bounds, extended(all, reach));
    if (bounds[2] <= 0 || bounds[3] <= 0)
        return;
    const Ranges ranges = rangesOf(view, items, reach, bounds);
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        const int band = bandOf(bounds[1]) + int(i);
        const int bottom = std::max(bounds[1], band * BandHeight);
        const int top = std::min(bounds[1] + bounds[3], (band + 1) * BandHeight);
        if (ranges[i][0] < ranges[i][1])
            bands.push_back({ranges[i][0], bottom, ranges[i][1] - ranges[i][0], top - bottom});
    }
}

} // namespace tov::scene
