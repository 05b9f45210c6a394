#pragma once

#include <array>

namespace tov::scene {

typedef std::array<double, 3> Vector3; ///< x, y, z

/// Position and size of a scene, which a camera uses to keep it between the clipping planes.
struct SceneExtent
{
    Vector3 center = {0, 0, 0};
    double scaling = 1; ///< brings the scene to a radius of 1000

    /// The radius about the centre that the scaling was computed from, in scene units.
    double radius() const { return 1000 / scaling; }
};

} // namespace tov::scene
