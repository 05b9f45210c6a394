#include "scene/drawing/closedsurface.h"

#include "kernel/math/matrix.h"

#include <algorithm>
#include <new>
#include <numeric>

namespace tov::scene {

namespace {

/// Above, looking takes seconds and more memory than the triangles.
constexpr std::size_t MostTriangles = 4000000;

/// Vertices that hang together, each piece known by one of them.
class Pieces
{
public:
    explicit Pieces(std::size_t vertices) : m_Above(vertices) { std::iota(m_Above.begin(), m_Above.end(), 0u); }
    std::uint32_t of(std::uint32_t vertex)
    {
        while (m_Above[vertex] != vertex)
            vertex = m_Above[vertex] = m_Above[m_Above[vertex]];
        return vertex;
    }
    void join(std::uint32_t a, std::uint32_t b) { m_Above[of(a)] = of(b); }

private:
    std::vector<std::uint32_t> m_Above;
};

/// The edges of triangles in their direction, by the vertex where they begin.
class Edges
{
public:
    Edges(const std::vector<std::uint32_t>& indices, std::size_t vertices)
        : m_First(vertices + 1), m_Ends(indices.size())
    {
        for (const std::uint32_t index : indices)
            ++m_First[index + 1];
        std::partial_sum(m_First.begin(), m_First.end(), m_First.begin());
        std::vector<std::uint32_t> next(m_First.begin(), m_First.end() - 1);
        for (std::size_t i = 0; i < indices.size(); ++i)
            m_Ends[next[indices[i]]++] = indices[i % 3 == 2 ? i - 2 : i + 1];
        for (std::size_t vertex = 0; vertex < vertices; ++vertex)
            std::sort(begin(vertex), end(vertex));
    }
    /// Each edge once, and once the other way.
    bool areClosed()
    {
        for (std::size_t vertex = 0; vertex + 1 < m_First.size(); ++vertex) {
            if (std::adjacent_find(begin(vertex), end(vertex)) != end(vertex))
                return false;
            for (auto other = begin(vertex); other != end(vertex); ++other)
                if (*other == vertex || !std::binary_search(begin(*other), end(*other), std::uint32_t(vertex)))
                    return false;
        }
        return true;
    }

private:
    typedef std::vector<std::uint32_t>::iterator Iterator;
    Iterator begin(std::size_t vertex) { return m_Ends.begin() + std::ptrdiff_t(m_First[vertex]); }
    Iterator end(std::size_t vertex) { return m_Ends.begin() + std::ptrdiff_t(m_First[vertex + 1]); }

    std::vector<std::uint32_t> m_First;
    std::vector<std::uint32_t> m_Ends;
};

Winding look(const Geometry& geometry)
{
    const auto& indices = geometry.indices;
    const std::size_t vertices = geometry.positions.size() / 3;
    if (!Edges(indices, vertices).areClosed())
        return Winding::Unknown;
    Pieces pieces(vertices);
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        pieces.join(indices[i], indices[i + 1]);
        pieces.join(indices[i], indices[i + 2]);
    }
    // Six times the volume of each piece, by tetrahedra from the middle of the box.
    Box box;
    for (std::size_t i = 0; i < vertices; ++i)
        box.add(&geometry.positions[3 * i]);
    double middle[3];
    for (std::size_t axis = 0; axis < 3; ++axis)
        middle[axis] = (double(box.low[axis]) + box.high[axis]) / 2;
    std::vector<double> volumes(vertices);
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        tov::math::Matrix<double, 3u, 3u> corners;
        for (unsigned int corner = 0; corner < 3; ++corner)
            for (unsigned int axis = 0; axis < 3; ++axis)
                corners(corner, axis) = geometry.positions[3 * std::size_t(indices[i + corner]) + axis] - middle[axis];
        volumes[pieces.of(indices[i])] += tov::math::volumeScaleOf(corners);
    }
    const bool positive = std::any_of(volumes.begin(), volumes.end(), [](double volume) { return volume > 0; });
    const bool negative = std::any_of(volumes.begin(), volumes.end(), [](double volume) { return volume < 0; });
    return positive == negative ? Winding::Unknown : positive ? Winding::Outward : Winding::Inward;
}

} // namespace

Winding windingOf(const Geometry& geometry)
{
    const std::size_t count = geometry.indices.size();
    if (geometry.kind != Geometry::Kind::Surfaces || count == 0 || count % 3 != 0 || count > 3 * MostTriangles)
        return Winding::Unknown;
    try {
        return look(geometry);
    } catch (const std::bad_alloc&) {
        return Winding::Unknown;
    }
}

} // namespace tov::scene
