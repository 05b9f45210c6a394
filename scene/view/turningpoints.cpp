#include "scene/view/turningpoints.h"

#include "scene/sceneview.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tov::scene {

namespace {

constexpr double Radians = 3.14159265358979323846 / 180;
/// Largest angle between two corners of the polygon around an arc.
constexpr double StepDegrees = 15;

struct Direction
{
    double cosine, sine;
};

/// Rotates about the axis (Rodrigues' formula), with the part that is perpendicular to it scaled by `reach`.
Vector3 turned(const Turning& turning, const Direction& angle, double reach, const Vector3& point)
{
    const Vector3& k = turning.axis;
    const Vector3 v = {point[0] - turning.center[0], point[1] - turning.center[1], point[2] - turning.center[2]};
    const double along = k[0] * v[0] + k[1] * v[1] + k[2] * v[2];
    const Vector3 cross = {k[1] * v[2] - k[2] * v[1], k[2] * v[0] - k[0] * v[2], k[0] * v[1] - k[1] * v[0]};
    Vector3 result;
    for (std::size_t i = 0; i < 3; ++i) {
        const double across = v[i] - along * k[i];
        result[i] = turning.center[i] + along * k[i] + reach * (angle.cosine * across + angle.sine * cross[i]);
    }
    return result;
}

} // namespace

Vector3 turnedPoint(const Turning& turning, double degrees, const Vector3& point)
{
    return turned(turning, {std::cos(degrees * Radians), std::sin(degrees * Radians)}, 1, point);
}

void forEachPoint(const SceneElement* root, const std::function<void(const Vector3&)>& function)
{
    forEachVisible(root, [&](const GeometryElement& element, const tov::math::Matrix4& toScene) {
        for (const auto& vertex : element.getVertices())
            function(transformed(toScene, vertex.position[0], vertex.position[1], vertex.position[2]));
    });
}

void forEachTurnedPoint(const SceneElement* root, const Turning& turning,
                        const std::function<void(const Vector3&)>& function)
{
    // More than a full turn covers nothing new.
    const double range = std::min(turning.toDegrees - turning.fromDegrees, 360.0);
    const int steps = std::max(1, int(std::ceil(range / StepDegrees)));
    const double step = range / steps;
    // The tangents at the ends of a step meet at this distance, halfway between them.
    const double reach = 1 / std::cos(step / 2 * Radians);
    std::vector<Direction> corners, ends;
    for (int i = 0; i < steps; ++i) {
        const double middle = (turning.fromDegrees + (i + 0.5) * step) * Radians;
        corners.push_back({std::cos(middle), std::sin(middle)});
    }
    for (const double end : {turning.fromDegrees * Radians, (turning.fromDegrees + range) * Radians})
        ends.push_back({std::cos(end), std::sin(end)});
    forEachPoint(root, [&](const Vector3& point) {
        for (const Direction& corner : corners)
            function(turned(turning, corner, reach, point));
        for (const Direction& end : ends)
            function(turned(turning, end, 1, point));
    });
}

} // namespace tov::scene
