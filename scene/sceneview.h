#pragma once

#include "kernel/math/matrix.h"
#include "scene/geometryelement.h"

#include <functional>

namespace tov::scene {

/// Half the vertical extent of a picture at distance 1: the field of view of pictures and panels is twice its arc
/// tangent, about 46.29 degrees.
constexpr double PictureHalfHeight = 0.4274205123390469;
/// The same of a video, whose field of view is 45 degrees: tan(22.5 degrees) is the square root of 2, minus 1.
constexpr double VideoHalfHeight = 0.41421356237309505;

/// Clipping distances of every view, in scaled scene units.
constexpr double NearDistance = 1;
constexpr double FarDistance = 10000;

/// A matrix that moves by `offset`. Thread: any.
TOV_EXPORT tov::math::Matrix4 translation(const std::array<double, 3>& offset);

/// Calls `function` for every visible geometry element under `root`, with the transform of its vertices and boxes to
/// the scene (the element's origin included). The caller must keep the scene from changing. Thread: any.
TOV_EXPORT void forEachVisible(const SceneElement* root,
                               const std::function<void(const GeometryElement&, const tov::math::Matrix4&)>& function);

/// Extends a box by the transformed box of an element. Thread: any.
TOV_EXPORT void addBoxOf(const GeometryElement& element, const tov::math::Matrix4& transform, Box& box);

/// The box of everything visible, in scene units; empty when there is nothing. Thread: any.
TOV_EXPORT Box visibleBox(const SceneElement* root);

/// True when the element or one of its parents is selected. Thread: any.
TOV_EXPORT bool isInSelection(const SceneElement* element);

/// The box of everything visible that is selected, in scene units; empty when there is nothing. Thread: any.
TOV_EXPORT Box selectionBox(const SceneElement* root);

/// Element to scene, through all its parents. The caller must keep the scene from changing. Thread: any.
TOV_EXPORT tov::math::Matrix4 transformToScene(const SceneElement* element);

/// The middle of a box; the origin when it is empty.
TOV_EXPORT std::array<double, 3> centreOf(const Box& box);

/// The scaling that brings a scene of that box to a radius of 1000, well inside the clipping distances. Thread: any.
TOV_EXPORT double scalingFor(const Box& box);

/// `matrix` times a point.
TOV_EXPORT std::array<double, 3> transformed(const tov::math::Matrix4& matrix, double x, double y, double z);

/// The inverse of a matrix; false if it is singular.
TOV_EXPORT bool inverted(const tov::math::Matrix4& matrix, tov::math::Matrix4& result);

} // namespace tov::scene
