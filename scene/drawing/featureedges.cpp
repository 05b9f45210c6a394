#include "scene/drawing/featureedges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <tuple>

namespace tov::scene {

namespace {

typedef std::array<float, 3> Vector;

struct Edge
{
    std::uint32_t from, to; ///< places, the lower number first
    std::uint32_t corner;   ///< where the edge begins in the indices
};

/// For each vertex the lowest number of a vertex at the same place.
std::vector<std::uint32_t> weld(const std::vector<GeometryElement::Vertex>& vertices)
{
    std::vector<std::uint32_t> order(vertices.size()), first(vertices.size());
    std::iota(order.begin(), order.end(), 0u);
    const auto place = [&](std::uint32_t i) {
        const float* p = vertices[i].position;
        return Vector{p[0], p[1], p[2]};
    };
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const Vector left = place(a), right = place(b);
        return left != right ? left < right : a < b;
    });
    for (std::size_t i = 0; i < order.size(); ++i)
        first[order[i]] = i > 0 && place(order[i]) == place(order[i - 1]) ? first[order[i - 1]] : order[i];
    return first;
}

Vector normalOf(const GeometryElement& element, std::size_t triangle)
{
    const auto corner = [&](std::size_t k) {
        return element.getVertices()[element.getIndices()[3 * triangle + k]].position;
    };
    const float *a = corner(0), *b = corner(1), *c = corner(2);
    const Vector u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const Vector n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    return length > 0 ? Vector{n[0] / length, n[1] / length, n[2] / length} : Vector{0, 0, 0};
}

} // namespace

std::vector<std::uint32_t> featureEdges(const GeometryElement& element, double degrees)
{
    std::vector<std::uint32_t> result;
    if (element.getKind() != Geometry::Kind::Surfaces)
        return result;
    const auto& indices = element.getIndices();
    const auto places = weld(element.getVertices());
    std::vector<Edge> edges;
    edges.reserve(indices.size());
    for (std::uint32_t i = 0; i < indices.size(); ++i) {
        const std::uint32_t a = places[indices[i]], b = places[indices[i % 3 == 2 ? i - 2 : i + 1]];
        if (a != b)
            edges.push_back({std::min(a, b), std::max(a, b), i});
    }
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) {
        return std::tie(a.from, a.to, a.corner) < std::tie(b.from, b.to, b.corner);
    });
    const auto sharpest = float(std::cos(degrees * 3.14159265358979323846 / 180));
    std::vector<std::uint32_t> corners;
    for (std::size_t i = 0; i < edges.size();) {
        std::size_t end = i + 1;
        while (end < edges.size() && edges[end].from == edges[i].from && edges[end].to == edges[i].to)
            ++end;
        const Vector n = normalOf(element, edges[i].corner / 3);
        bool isFeature = end - i != 2;
        for (std::size_t other = i + 1; other < end && !isFeature; ++other) {
            const Vector m = normalOf(element, edges[other].corner / 3);
            isFeature = n[0] * m[0] + n[1] * m[1] + n[2] * m[2] < sharpest;
        }
        if (isFeature)
            corners.push_back(edges[i].corner);
        i = end;
    }
    std::sort(corners.begin(), corners.end());
    for (const std::uint32_t corner : corners) {
        result.push_back(indices[corner]);
        result.push_back(indices[corner % 3 == 2 ? corner - 2 : corner + 1]);
    }
    return result;
}

} // namespace tov::scene
