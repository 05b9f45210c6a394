#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace tov::scene {

/// Cuts a polygon in space, which may be concave, into triangles (ear clipping). Appends three corner numbers per
/// triangle to `triangles`; the direction of rotation stays. Polygons that overlap themselves or have more than 4096
/// corners become fans where no ear is found.
void triangulate(const std::vector<std::array<double, 3>>& corners, std::vector<std::uint32_t>& triangles);

} // namespace tov::scene
