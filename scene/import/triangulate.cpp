#include "scene/import/triangulate.h"

#include <cmath>
#include <cstddef>

namespace tov::scene {

namespace {

/// The time grows with the square of the number of corners.
constexpr std::size_t MaxCorners = 4096;

struct Point
{
    double x, y;
};

/// Twice the signed area of a triangle.
double area(const Point& a, const Point& b, const Point& c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// The polygon seen along its main axis, so that it turns counter-clockwise.
std::vector<Point> projected(const std::vector<std::array<double, 3>>& corners)
{
    // Newell's method; relative to a corner, so that large coordinates do not cancel.
    std::array<double, 3> normal = {0, 0, 0};
    const auto& base = corners.front();
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const auto& a = corners[i];
        const auto& b = corners[(i + 1) % corners.size()];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
            normal[axis] += (a[u] - base[u]) * (b[v] - base[v]) - (a[v] - base[v]) * (b[u] - base[u]);
        }
    }
    std::size_t main = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (std::abs(normal[axis]) > std::abs(normal[main]))
            main = axis;
    const std::size_t u = (main + 1) % 3, v = (main + 2) % 3;
    const double sign = normal[main] < 0 ? -1 : 1;
    std::vector<Point> points;
    points.reserve(corners.size());
    for (const auto& corner : corners)
        points.push_back({sign * (corner[u] - base[u]), corner[v] - base[v]});
    return points;
}

/// The corners that are left, as a ring.
class Ring
{
public:
    explicit Ring(const std::vector<Point>& points) : m_Points(points)
    {
        for (std::size_t i = 0; i < points.size(); ++i)
            m_Left.push_back(std::uint32_t(i));
    }
    std::size_t size() const { return m_Left.size(); }
    std::uint32_t at(std::size_t i) const { return m_Left[i % m_Left.size()]; }
    void remove(std::size_t i) { m_Left.erase(m_Left.begin() + std::ptrdiff_t(i % m_Left.size())); }

    /// True when corner `i` can be cut off: it is convex, and no other corner lies inside.
    bool isEar(std::size_t i) const
    {
        const std::size_t count = m_Left.size();
        const std::uint32_t before = at(i + count - 1), here = at(i), after = at(i + 1);
        const Point &a = m_Points[before], &b = m_Points[here], &c = m_Points[after];
        if (area(a, b, c) <= 0)
            return false;
        for (const std::uint32_t other : m_Left) {
            if (other == before || other == here || other == after)
                continue;
            const Point& p = m_Points[other];
            const bool isCorner =
                (p.x == a.x && p.y == a.y) || (p.x == b.x && p.y == b.y) || (p.x == c.x && p.y == c.y);
            if (!isCorner && area(a, b, p) >= 0 && area(b, c, p) >= 0 && area(c, a, p) >= 0)
                return false;
        }
        return true;
    }

private:
    const std::vector<Point>& m_Points;
    std::vector<std::uint32_t> m_Left;
};

} // namespace

void triangulate(const std::vector<std::array<double, 3>>& corners, std::vector<std::uint32_t>& triangles)
{
    if (corners.size() < 3)
        return;
    if (corners.size() == 3) {
        triangles.insert(triangles.end(), {0, 1, 2});
        return;
    }
    const std::vector<Point> points = projected(corners);
    Ring ring(points);
    std::size_t at = 1, refused = 0;
    while (ring.size() > 3) {
        // If no corner can be cut off, or it would take too long, any corner is used.
        if (refused < ring.size() && corners.size() <= MaxCorners && !ring.isEar(at)) {
            ++at;
            ++refused;
            continue;
        }
        at %= ring.size();
        triangles.insert(triangles.end(), {ring.at(at + ring.size() - 1), ring.at(at), ring.at(at + 1)});
        ring.remove(at);
        refused = 0;
    }
    triangles.insert(triangles.end(), {ring.at(0), ring.at(1), ring.at(2)});
}

} // namespace tov::scene
