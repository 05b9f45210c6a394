#include "trajectory/pose.h"

#include <cmath>

namespace tov::trajectory {

using tov::math::Matrix4;

namespace {

/// The quaternion of a rotation matrix, computed from its largest component (Shepperd's method).
Quaternion quaternionOf(const Matrix4& m)
{
    const double trace = m(0, 0) + m(1, 1) + m(2, 2);
    Quaternion q;
    if (trace > 0) {
        const double s = 2 * std::sqrt(1 + trace);
        q = {(m(2, 1) - m(1, 2)) / s, (m(0, 2) - m(2, 0)) / s, (m(1, 0) - m(0, 1)) / s, s / 4};
    } else {
        unsigned int i = m(1, 1) > m(0, 0) ? 1 : 0;
        if (m(2, 2) > m(i, i))
            i = 2;
        const unsigned int j = (i + 1) % 3, k = (i + 2) % 3;
        const double s = 2 * std::sqrt(1 + m(i, i) - m(j, j) - m(k, k));
        q[i] = s / 4;
        q[j] = (m(j, i) + m(i, j)) / s;
        q[k] = (m(k, i) + m(i, k)) / s;
        q[3] = (m(k, j) - m(j, k)) / s;
    }
    return normalized(q);
}

} // namespace

Quaternion normalized(const Quaternion& q)
{
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if (!(length > 1e-300) || !std::isfinite(length))
        return {0, 0, 0, 1};
    return {q[0] / length, q[1] / length, q[2] / length, q[3] / length};
}

Quaternion slerp(const Quaternion& a, const Quaternion& b, double share)
{
    double cosine = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    const double sign = cosine < 0 ? -1 : 1;
    cosine *= sign;
    double ofA = 1 - share, ofB = share;
    if (cosine < 0.99999) {
        const double angle = std::acos(cosine);
        ofA = std::sin(ofA * angle) / std::sin(angle);
        ofB = std::sin(ofB * angle) / std::sin(angle);
    }
    Quaternion q;
    for (std::size_t i = 0; i < 4; ++i)
        q[i] = ofA * a[i] + ofB * sign * b[i];
    return normalized(q);
}

Pose decomposed(const Matrix4& matrix)
{
    Pose pose;
    Matrix4 rotation = Matrix4::identity();
    for (unsigned int c = 0; c < 3; ++c) {
        pose.translation[c] = matrix(c, 3);
        pose.scale[c] = std::hypot(matrix(0, c), matrix(1, c), matrix(2, c));
    }
    if (tov::math::volumeScaleOf(matrix) < 0)
        pose.scale[0] = -pose.scale[0];
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c)
            rotation(r, c) = pose.scale[c] != 0 ? matrix(r, c) / pose.scale[c] : double(r == c);
    pose.rotation = quaternionOf(rotation);
    return pose;
}

Matrix4 composed(const Pose& pose)
{
    const auto [x, y, z, w] = pose.rotation;
    const double rotation[3][3] = {
        {1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
        {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
        {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)},
    };
    Matrix4 matrix = Matrix4::identity();
    for (unsigned int r = 0; r < 3; ++r) {
        for (unsigned int c = 0; c < 3; ++c)
            matrix(r, c) = rotation[r][c] * pose.scale[c];
        matrix(r, 3) = pose.translation[r];
    }
    return matrix;
}

Matrix4 interpolated(const Matrix4& a, const Matrix4& b, double share)
{
    if (share <= 0 || a == b)
        return a;
    if (share >= 1)
        return b;
    const Pose from = decomposed(a), to = decomposed(b);
    Pose pose;
    for (std::size_t i = 0; i < 3; ++i) {
        pose.translation[i] = from.translation[i] + share * (to.translation[i] - from.translation[i]);
        pose.scale[i] = from.scale[i] + share * (to.scale[i] - from.scale[i]);
    }
    pose.rotation = slerp(from.rotation, to.rotation, share);
    return composed(pose);
}

} // namespace tov::trajectory
