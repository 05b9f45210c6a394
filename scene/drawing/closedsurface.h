#pragma once

#include "scene/geometryelement.h"

namespace tov::scene {

/// Which way the triangles of a closed surface turn, seen from outside.
enum class Winding
{
    Unknown = 0, ///< the surface is open, or its pieces do not agree, or there is too much of it to look
    Outward = 1, ///< counter-clockwise
    Inward = -1, ///< clockwise
};

/// Looks whether every edge has one triangle on either side, which run along it in opposite directions, and whether the
/// pieces that hang together all enclose a volume of the same sign. From outside such a surface shows one side of its
/// triangles only. Vertices count as the same by number, not by place. Thread: any.
TOV_EXPORT Winding windingOf(const Geometry& geometry);

} // namespace tov::scene
