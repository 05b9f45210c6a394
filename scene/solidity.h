#pragma once

#include "scene/geometryelement.h"

namespace tov::scene {

/// A surface that may bound solid bodies. See `findSolidSurface`.
struct SolidSurface
{
    GeometryElement::Solidity side = GeometryElement::Solidity::None;
    std::vector<std::uint32_t> exceptions; ///< the triangles that must be drawn from both sides, in ascending order
};

/// Finds out whether triangles bound solid bodies: every connected piece is closed and consistently oriented, and all
/// pieces turn the same side outwards. Pieces may overlap.
///
/// Where a piece does not intersect itself, its winding number is 1 inside and 0 outside, so the sum over all pieces is
/// never negative: the first surface that a ray from outside meets is always seen from its outer side, and inner sides
/// need not be drawn. Where it does intersect itself, parts of it may be turned inside out: around them the winding
/// number is negative. Those parts and the intersecting triangles are the exceptions.
///
/// Vertices in the same place count as one. Takes about a second per million triangles; surfaces of more than two
/// million are not examined (`None`). Thread: any.
TOV_EXPORT SolidSurface findSolidSurface(const std::vector<GeometryElement::Vertex>& vertices,
                                         const std::vector<std::uint32_t>& indices);

} // namespace tov::scene
