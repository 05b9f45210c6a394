#pragma once

#include "kernel/main/export.h"
#include "scene/sceneextent.h"

#include <functional>

namespace tov::scene {

class SceneElement;

/// A turn about an axis, over a range of angles.
struct Turning
{
    Vector3 center = {0, 0, 0}; ///< a point of the axis, scene units
    Vector3 axis = {0, 1, 0};   ///< unit length
    double fromDegrees = 0;
    double toDegrees = 360;
};

/// A point after a turn by an angle.
TOV_EXPORT Vector3 turnedPoint(const Turning& turning, double degrees, const Vector3& point);

/// Calls `function` for every vertex of the visible elements under `root`, in scene units. The caller must keep the
/// scene from changing. Thread: any.
TOV_EXPORT void forEachPoint(const SceneElement* root, const std::function<void(const Vector3&)>& function);

/// Calls `function` for points whose hull holds every vertex at every angle of the turn: each arc is covered by the
/// corners of a polygon around it, which is at most 0.9 % larger. The caller must keep the scene from changing. Thread:
/// any.
TOV_EXPORT void forEachTurnedPoint(const SceneElement* root, const Turning& turning,
                                   const std::function<void(const Vector3&)>& function);

} // namespace tov::scene
