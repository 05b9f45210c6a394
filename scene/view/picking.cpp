#include "scene/view/picking.h"

#include "scene/sceneview.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tov::scene {

using tov::math::Matrix4;

namespace {

typedef GeometryElement::Vertex Vertex;

Vector3 minus(const Vector3& a, const Vector3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Vector3& a, const Vector3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector3 pointAt(const Ray& ray, double distance)
{
    return {ray.origin[0] + distance * ray.direction[0], ray.origin[1] + distance * ray.direction[1],
            ray.origin[2] + distance * ray.direction[2]};
}

Vector3 vertexPosition(const Vertex& vertex)
{
    return {vertex.position[0], vertex.position[1], vertex.position[2]};
}

/// Whether a ray enters a box before `limit`. `ray.direction` may have any length.
bool entersBox(const Box& box, const Ray& ray, double limit)
{
    double from = 0, to = limit;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (ray.direction[axis] == 0) {
            if (ray.origin[axis] < box.low[axis] || ray.origin[axis] > box.high[axis])
                return false;
            continue;
        }
        const double a = (box.low[axis] - ray.origin[axis]) / ray.direction[axis];
        const double b = (box.high[axis] - ray.origin[axis]) / ray.direction[axis];
        // A box may be flat: rounding must not close it.
        const double slack = 1e-9 * std::max(std::fabs(a), std::fabs(b));
        from = std::max(from, std::min(a, b) - slack);
        to = std::min(to, std::max(a, b) + slack);
    }
    return from <= to;
}

/// Where a ray crosses a triangle (Moeller and Trumbore, "Fast, Minimum Storage Ray/Triangle Intersection", 1997); none
/// when it misses, or meets the back although only the front counts.
std::optional<double> crossing(const Ray& ray, const Vector3& a, const Vector3& b, const Vector3& c, bool isFrontOnly)
{
    const Vector3 u = minus(b, a), v = minus(c, a);
    const Vector3 p = cross(ray.direction, v);
    const double scale = dot(u, p); // above 0: seen counter-clockwise
    if (isFrontOnly ? !(scale > 0) : !(std::fabs(scale) > 0))
        return std::nullopt;
    const Vector3 from = minus(ray.origin, a);
    const double first = dot(from, p) / scale;
    if (!(first >= 0 && first <= 1))
        return std::nullopt;
    const Vector3 q = cross(from, u);
    const double second = dot(ray.direction, q) / scale;
    if (!(second >= 0 && first + second <= 1))
        return std::nullopt;
    const double distance = dot(v, q) / scale;
    return distance > 0 ? std::optional<double>(distance) : std::nullopt;
}

/// The distance along the ray to where it is nearest to the line from `a` to `b`.
double nearestToLine(const Ray& ray, const Vector3& a, const Vector3& b, Vector3& onLine)
{
    const Vector3 along = minus(b, a), from = minus(a, ray.origin);
    const double square = dot(along, along), across = dot(along, ray.direction);
    const double determinant = square - across * across;
    double share = 0;
    if (determinant > 1e-12 * square)
        share = (across * dot(from, ray.direction) - dot(from, along)) / determinant;
    share = std::clamp(share, 0.0, 1.0);
    onLine = {a[0] + share * along[0], a[1] + share * along[1], a[2] + share * along[2]};
    return dot(minus(onLine, ray.origin), ray.direction);
}

class Picker
{
public:
    Picker(const Ray& ray, const PickOptions& options) : m_Ray(ray), m_Options(options) {}

    void add(const GeometryElement& element, const Matrix4& toScene)
    {
        if (element.getKind() == Geometry::Kind::Surfaces)
            addSurface(element, toScene);
        else
            addThin(element, toScene);
    }

    std::optional<Picked> result() const { return m_Best.element ? std::optional<Picked>(m_Best) : std::nullopt; }

private:
    /// In the coordinates of the vertices; the direction keeps the length that makes distances those of the scene.
    void addSurface(const GeometryElement& element, const Matrix4& toScene)
    {
        Matrix4 toElement;
        if (!inverted(toScene, toElement))
            return;
        const Vector3 end = pointAt(m_Ray, 1);
        Ray ray;
        ray.origin = transformed(toElement, m_Ray.origin[0], m_Ray.origin[1], m_Ray.origin[2]);
        ray.direction = minus(transformed(toElement, end[0], end[1], end[2]), ray.origin);
        const bool isFrontOnly = !m_Options.meetsBackFaces && !m_Options.clip && !element.getMaterial()->doubleSided;
        const auto& vertices = element.getVertices();
        const auto& indices = element.getIndices();
        for (const auto& chunk : element.getChunks()) {
            if (!entersBox(chunk.box, ray, m_Nearest))
                continue;
            for (std::size_t i = chunk.firstIndex; i + 2 < chunk.firstIndex + chunk.indexCount; i += 3) {
                const auto distance =
                    crossing(ray, vertexPosition(vertices[indices[i]]), vertexPosition(vertices[indices[i + 1]]),
                             vertexPosition(vertices[indices[i + 2]]), isFrontOnly);
                if (distance)
                    take(element, *distance, pointAt(m_Ray, *distance));
            }
        }
    }

    void addThin(const GeometryElement& element, const Matrix4& toScene)
    {
        const auto& vertices = element.getVertices();
        const auto& indices = element.getIndices();
        const auto at = [&](std::size_t i) {
            const float* p = vertices[indices[i]].position;
            return transformed(toScene, p[0], p[1], p[2]);
        };
        const bool isLine = element.getKind() == Geometry::Kind::Lines;
        for (std::size_t i = 0; i + (isLine ? 1 : 0) < indices.size(); i += isLine ? 2 : 1) {
            Vector3 point = at(i);
            const double distance = isLine ? nearestToLine(m_Ray, at(i), at(i + 1), point)
                                           : dot(minus(point, m_Ray.origin), m_Ray.direction);
            const Vector3 off = minus(point, pointAt(m_Ray, distance));
            if (distance > 0 && std::sqrt(dot(off, off)) <= m_Options.radius + m_Options.radiusPerDistance * distance)
                take(element, distance, point);
        }
    }

    void take(const GeometryElement& element, double distance, const Vector3& point)
    {
        if (distance >= m_Nearest || (m_Options.clip && m_Options.clip->visibleDepth(point) < 0))
            return;
        m_Nearest = distance;
        m_Best = {&element, point, distance};
    }

    const Ray& m_Ray;
    const PickOptions& m_Options;
    double m_Nearest = std::numeric_limits<double>::infinity();
    Picked m_Best;
};

} // namespace

std::optional<Picked> pick(const SceneElement* root, const Ray& ray, const PickOptions& options)
{
    Picker picker(ray, options);
    forEachVisible(root,
                   [&picker](const GeometryElement& element, const Matrix4& toScene) { picker.add(element, toScene); });
    return picker.result();
}

} // namespace tov::scene
