#pragma once

#include "scene/geometryelement.h"

#include <cstdint>
#include <vector>

namespace tov::scene {

/// The edges that give a surface its shape: those of one triangle only, and those between triangles that meet at more
/// than `degrees`. Vertices at the same place count as one. Two indices for each edge, in the order of the triangles.
/// Thread: any.
TOV_EXPORT std::vector<std::uint32_t> featureEdges(const GeometryElement& element, double degrees = 30);

} // namespace tov::scene
