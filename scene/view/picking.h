#pragma once

#include "kernel/main/export.h"
#include "scene/clipplane.h"
#include "scene/view/camera.h"

#include <optional>

namespace tov::scene {

class GeometryElement;
class SceneElement;

/// What a ray meets first.
struct Picked
{
    /// Valid while the scene's structure does not change.
    const GeometryElement* element = nullptr;
    Vector3 point = {0, 0, 0}; ///< scene units
    double distance = 0;       ///< from the origin of the ray, scene units
};

/// How a ray meets the elements of a scene.
struct PickOptions
{
    /// Points and lines are met when they are not farther from the ray than this, in scene units, ...
    double radius = 0;
    /// ... plus this share of their distance from the origin of the ray.
    double radiusPerDistance = 0;
    /// Back faces of surfaces that are drawn from the front only are met, too.
    bool meetsBackFaces = false;
    std::optional<ClipPlane> clip; ///< what it hides is not met
};

/// The nearest visible element that a ray meets; none when it meets nothing. The caller must keep the scene from
/// changing. Takes time in proportion to the number of chunks of the elements, see `GeometryElement::Chunk`, and of
/// points and lines. Thread: any.
TOV_EXPORT std::optional<Picked> pick(const SceneElement* root, const Ray& ray, const PickOptions& options);

} // namespace tov::scene
