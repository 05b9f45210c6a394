#pragma once

#include "scene/sceneextent.h"

namespace tov::scene {

/// A plane across an axis of the scene; what is beyond it is not drawn.
struct ClipPlane
{
    std::size_t axis = 0;   ///< 0, 1 or 2: x, y or z
    double position = 0;    ///< on the axis, scene units
    bool isFlipped = false; ///< hides what is below the position instead of what is above

    /// How far a point is on the visible side, in scene units; negative when it is hidden.
    double visibleDepth(const Vector3& point) const
    {
        return isFlipped ? point[axis] - position : position - point[axis];
    }
};

} // namespace tov::scene
