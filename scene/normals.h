#pragma once

#include "kernel/main/export.h"
#include "scene/geometry.h"

namespace tov::scene {

/// Gives surfaces normals: the mean of the adjacent triangles, weighted by area, over those that meet the triangle at
/// less than the crease angle. Vertices at the same place count as one. A vertex that needs several normals is split;
/// the copies are appended to every array. Thread: any.
TOV_EXPORT void addNormals(Geometry& geometry, double creaseDegrees = 40);

} // namespace tov::scene
