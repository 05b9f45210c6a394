#include "scene/view/cameraflight.h"

#include <QQuaternion>

#include <algorithm>
#include <cmath>

namespace tov::scene {

using tov::math::Matrix4;

namespace {

QQuaternion quaternionOf(const Matrix4& rotation)
{
    QMatrix3x3 matrix;
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c)
            matrix(int(r), int(c)) = float(rotation(r, c));
    return QQuaternion::fromRotationMatrix(matrix);
}

Matrix4 rotationOf(const QQuaternion& quaternion)
{
    const QMatrix3x3 matrix = quaternion.normalized().toRotationMatrix();
    Matrix4 rotation = Matrix4::identity();
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c)
            rotation(r, c) = double(matrix(int(r), int(c)));
    return rotation;
}

double mixed(double from, double to, double share)
{
    return from + (to - from) * share;
}

} // namespace

Camera cameraBetween(const Camera& from, const Camera& to, double share)
{
    Camera camera = to;
    camera.rotation = rotationOf(
        QQuaternion::slerp(quaternionOf(from.rotation), quaternionOf(to.rotation), float(std::clamp(share, 0.0, 1.0))));
    for (std::size_t axis = 0; axis < 3; ++axis)
        camera.target[axis] = mixed(from.target[axis], to.target[axis], share);
    camera.distance = std::exp(mixed(std::log(from.distance), std::log(to.distance), share));
    camera.fieldOfView = mixed(from.fieldOfView, to.fieldOfView, share);
    return camera;
}

std::optional<Camera> CameraFlight::cameraAt(Clock::time_point now) const
{
    if (now >= m_Start + m_Duration)
        return std::nullopt;
    const double time = std::chrono::duration<double>(now - m_Start) / std::chrono::duration<double>(m_Duration);
    const double share = std::clamp(time, 0.0, 1.0);
    return cameraBetween(m_From, m_To, share * share * (3 - 2 * share));
}

} // namespace tov::scene
