#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"

#include <array>

namespace tov::trajectory {

typedef std::array<double, 4> Quaternion; ///< x, y, z, w

/// A transform as translation, rotation and scale (rotation after scale).
struct Pose
{
    std::array<double, 3> translation = {0, 0, 0};
    Quaternion rotation = {0, 0, 0, 1}; ///< unit length
    std::array<double, 3> scale = {1, 1, 1};
};

/// The parts of a matrix. A mirrored matrix gets a negative scale in x; shear is lost. Thread: any, as for all
/// functions here.
TOV_EXPORT Pose decomposed(const tov::math::Matrix4& matrix);
/// The matrix of a pose; the reverse of `decomposed`.
TOV_EXPORT tov::math::Matrix4 composed(const Pose& pose);

/// The quaternion scaled to unit length; the identity when its length is 0.
TOV_EXPORT Quaternion normalized(const Quaternion& q);
/// Spherical interpolation along the shorter arc.
TOV_EXPORT Quaternion slerp(const Quaternion& a, const Quaternion& b, double share);
/// From `a` (share 0) to `b` (share 1); exact at both ends.
TOV_EXPORT tov::math::Matrix4 interpolated(const tov::math::Matrix4& a, const tov::math::Matrix4& b, double share);

} // namespace tov::trajectory
