#pragma once

#include "kernel/math/matrix.h"
#include "scene/geometryelement.h"

namespace tov::scene {

/// The view and viewport of the current context.
struct View
{
    /// Reads projection, model-view matrix and viewport of the current context.
    explicit View(const tov::math::Matrix4& transform);

    tov::math::Matrix4 modelView; ///< the context's model-view matrix times the transform
    tov::math::Matrix4 clip;      ///< scene to clip space
    /// Scene to eye axes, in scene units: the model-view matrix without the lens. A lens is a factor on x and y, or, in
    /// a parallel projection, a matrix that leaves z constant and lets w grow towards the eye. What remains of a row of
    /// the model-view matrix after dividing by its length is the distance along one axis of the eye.
    tov::math::Matrix4 eye;
    bool isParallel = false;
    int viewport[4] = {};
    /// Height in pixels of the whole picture. The viewport may be a tile of it: the projection of a tile is narrower.
    double pictureHeight = 0;

    /// The clip matrix for a viewport that is larger by `margin` pixels on every side.
    tov::math::Matrix4 clipWithMargin(int margin) const;
    /// Extends `bounds` (left, bottom, right, top, in pixels) by the area that a box covers; by everything when the box
    /// extends behind the eye.
    void addBounds(const Box& box, const tov::math::Matrix4& toScene, std::array<double, 4>& bounds) const;
    /// Whether the near plane leaves the box untouched, and so the eye is outside of it.
    bool isBeyondNearPlane(const Box& box, const tov::math::Matrix4& toScene) const;
    /// Distances of the nearest and the farthest corner of a box from the eye, along the line of sight.
    std::array<double, 2> depthRange(const Box& box, const tov::math::Matrix4& toScene) const;
};

/// The six planes of a clip matrix, each plane * (x, y, z, 1) >= 0 inside.
class Frustum
{
public:
    explicit Frustum(const tov::math::Matrix4& clip);
    /// False only when the box is completely behind one plane; rounding errors only lead to drawing too much.
    bool mayShow(const Box& box) const;

private:
    double m_Planes[6][4];
};

} // namespace tov::scene
