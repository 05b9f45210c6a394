#pragma once

#include "kernel/math/matrix.h"

#include <vector>

namespace tov::scene {
class GeometryElement;
class SceneElement;
} // namespace tov::scene

namespace tov::app {

/// The transforms and shapes of the scene before a motion changes them. The elements must outlive it. Thread:
/// application.
class RestPose
{
public:
    /// Stores the current transforms and shapes of the scene.
    void capture();
    /// Restores the captured state, and discards it.
    void restore();

private:
    struct Shape
    {
        tov::scene::GeometryElement* element;
        std::vector<float> weights; ///< of the morph targets
    };
    std::vector<std::pair<tov::scene::SceneElement*, tov::math::Matrix4>> m_Transforms;
    std::vector<Shape> m_Shapes;
};

} // namespace tov::app
