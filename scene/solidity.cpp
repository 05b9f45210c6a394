#include "scene/solidity.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <optional>
#include <unordered_map>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace tov::scene {

namespace {

typedef GeometryElement::Solidity Solidity;
typedef GeometryElement::Vertex Vertex;
typedef std::array<double, 3> Point;
typedef std::array<std::uint32_t, 3> Corners;

constexpr std::size_t MostTriangles = 2000000;
/// Triangles per leaf of the box tree. Neighbours in drawing order are neighbours in space.
constexpr std::size_t LeafTriangles = 4;

Point operator-(const Point& a, const Point& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Point cross(const Point& a, const Point& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Point& a, const Point& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

struct PlaceHash
{
    std::size_t operator()(const std::array<float, 3>& place) const
    {
        std::uint32_t bits[3];
        std::memcpy(bits, place.data(), sizeof bits);
        return std::size_t(bits[0]) * 73856093u ^ std::size_t(bits[1]) * 19349663u ^ std::size_t(bits[2]) * 83492791u;
    }
};

/// The triangles with one number per place. Those with two equal corners are left out.
struct Mesh
{
    std::vector<Point> points;
    std::vector<Corners> triangles;
    std::vector<std::uint32_t> sources; ///< the number of each triangle in the element

    Mesh(const std::vector<Vertex>& vertices, const std::vector<std::uint32_t>& indices)
    {
        std::unordered_map<std::array<float, 3>, std::uint32_t, PlaceHash> numbers(vertices.size());
        std::vector<std::uint32_t> numberOf(vertices.size());
        for (std::size_t i = 0; i < vertices.size(); ++i) {
            std::array<float, 3> place;
            for (std::size_t axis = 0; axis < 3; ++axis)
                place[axis] = vertices[i].position[axis] + 0.0f; // -0 becomes 0
            const auto [known, isNew] = numbers.try_emplace(place, std::uint32_t(points.size()));
            numberOf[i] = known->second;
            if (isNew)
                points.push_back({place[0], place[1], place[2]});
        }
        for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
            const Corners c = {numberOf[indices[i]], numberOf[indices[i + 1]], numberOf[indices[i + 2]]};
            if (c[0] == c[1] || c[1] == c[2] || c[2] == c[0])
                continue;
            triangles.push_back(c);
            sources.push_back(std::uint32_t(i / 3));
        }
    }
    std::array<Point, 3> cornersOf(std::size_t triangle) const
    {
        const Corners& c = triangles[triangle];
        return {points[c[0]], points[c[1]], points[c[2]]};
    }
    /// Its length is twice the area.
    Point normalOf(std::size_t triangle) const
    {
        const auto c = cornersOf(triangle);
        return cross(c[1] - c[0], c[2] - c[0]);
    }
};

/// The directed edges of triangles, by the vertex where they begin.
class Edges
{
public:
    explicit Edges(const Mesh& mesh) : m_First(mesh.points.size() + 1), m_Edges(3 * mesh.triangles.size())
    {
        for (const Corners& corners : mesh.triangles)
            for (const std::uint32_t corner : corners)
                ++m_First[corner + 1];
        std::partial_sum(m_First.begin(), m_First.end(), m_First.begin());
        std::vector<std::uint32_t> next(m_First.begin(), m_First.end() - 1);
        for (std::size_t t = 0; t < mesh.triangles.size(); ++t)
            for (std::size_t i = 0; i < 3; ++i)
                m_Edges[next[mesh.triangles[t][i]]++] = {mesh.triangles[t][(i + 1) % 3], std::uint32_t(t)};
        for (std::size_t vertex = 0; vertex + 1 < m_First.size(); ++vertex)
            std::sort(begin(vertex), end(vertex), [](const Edge& a, const Edge& b) { return a.end < b.end; });
    }
    /// Whether each edge exists once in each direction.
    bool areClosed() const
    {
        const auto isSame = [](const Edge& a, const Edge& b) { return a.end == b.end; };
        for (std::size_t vertex = 0; vertex + 1 < m_First.size(); ++vertex) {
            if (std::adjacent_find(begin(vertex), end(vertex), isSame) != end(vertex))
                return false;
            for (auto edge = begin(vertex); edge != end(vertex); ++edge)
                if (find(edge->end, std::uint32_t(vertex)) == None)
                    return false;
        }
        return true;
    }
    static constexpr std::uint32_t None = std::numeric_limits<std::uint32_t>::max();
    /// The triangle with the edge from one vertex to another; `None`: there is no such edge.
    std::uint32_t find(std::uint32_t from, std::uint32_t to) const
    {
        const auto edge = std::lower_bound(begin(from), end(from), to,
                                           [](const Edge& e, std::uint32_t vertex) { return e.end < vertex; });
        return edge != end(from) && edge->end == to ? edge->triangle : None;
    }

private:
    struct Edge
    {
        std::uint32_t end;
        std::uint32_t triangle;
    };
    std::vector<Edge>::iterator begin(std::size_t vertex) { return m_Edges.begin() + std::ptrdiff_t(m_First[vertex]); }
    std::vector<Edge>::iterator end(std::size_t vertex) { return begin(vertex + 1); }
    std::vector<Edge>::const_iterator begin(std::size_t vertex) const
    {
        return m_Edges.begin() + std::ptrdiff_t(m_First[vertex]);
    }
    std::vector<Edge>::const_iterator end(std::size_t vertex) const { return begin(vertex + 1); }

    std::vector<std::uint32_t> m_First;
    std::vector<Edge> m_Edges;
};

/// Disjoint sets of numbers.
class Sets
{
public:
    explicit Sets(std::size_t count) : m_Above(count) { std::iota(m_Above.begin(), m_Above.end(), 0u); }
    std::uint32_t of(std::uint32_t number)
    {
        while (m_Above[number] != number)
            number = m_Above[number] = m_Above[m_Above[number]];
        return number;
    }
    void join(std::uint32_t a, std::uint32_t b) { m_Above[of(a)] = of(b); }

private:
    std::vector<std::uint32_t> m_Above;
};

/// For each triangle, the number of a triangle that stands for its connected piece. Triangles in `cuts` connect nothing
/// and are pieces of their own.
std::vector<std::uint32_t> piecesOf(const Mesh& mesh, const Edges& edges, const std::vector<bool>& cuts)
{
    Sets sets(mesh.triangles.size());
    for (std::uint32_t t = 0; t < mesh.triangles.size(); ++t)
        for (std::size_t i = 0; i < 3 && !cuts[t]; ++i) {
            const Corners& c = mesh.triangles[t];
            const std::uint32_t other = edges.find(c[(i + 1) % 3], c[i]);
            if (!cuts[other])
                sets.join(t, other);
        }
    std::vector<std::uint32_t> pieces;
    pieces.reserve(mesh.triangles.size());
    for (std::uint32_t t = 0; t < mesh.triangles.size(); ++t)
        pieces.push_back(sets.of(t));
    return pieces;
}

/// The side that all pieces turn outwards, by the sign of their volumes.
Solidity outerSide(const Mesh& mesh, const std::vector<std::uint32_t>& pieces)
{
    std::vector<double> volumes(mesh.triangles.size());
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        // From a corner of the piece, so that pieces far from the origin keep their precision.
        const Point& origin = mesh.points[mesh.triangles[pieces[t]][0]];
        const auto c = mesh.cornersOf(t);
        volumes[pieces[t]] += dot(c[0] - origin, cross(c[1] - origin, c[2] - origin));
    }
    bool isOutward = true, isInward = true;
    for (const std::uint32_t piece : pieces) {
        isOutward = isOutward && volumes[piece] > 0;
        isInward = isInward && volumes[piece] < 0;
    }
    return isOutward ? Solidity::Outward : isInward ? Solidity::Inward : Solidity::None;
}

/// Whether a plane across `axis` separates two triangles. Triangles with a common corner may touch.
bool isSeparating(const Point& axis, const std::array<Point, 3>& a, const std::array<Point, 3>& b, bool mayTouch)
{
    const auto range = [&axis](const std::array<Point, 3>& corners) {
        const double at[3] = {dot(axis, corners[0]), dot(axis, corners[1]), dot(axis, corners[2])};
        return std::array<double, 2>{std::min({at[0], at[1], at[2]}), std::max({at[0], at[1], at[2]})};
    };
    const auto [lowA, highA] = range(a);
    const auto [lowB, highB] = range(b);
    const double size = std::max({std::fabs(lowA), std::fabs(highA), std::fabs(lowB), std::fabs(highB)});
    const double extent = std::max(highA, highB) - std::min(lowA, lowB);
    // An axis across which both have no extent separates nothing.
    if (!(extent > 1e-12 * size))
        return false;
    const double gap = std::max(lowB - highA, lowA - highB);
    return mayTouch ? gap >= -1e-13 * size : gap > 1e-13 * size;
}

/// By separating axes (Gottschalk, Lin, Manocha, "OBBTree", SIGGRAPH 1996, for triangles).
bool doIntersect(const std::array<Point, 3>& a, const std::array<Point, 3>& b, bool mayTouch)
{
    const Point edgesA[3] = {a[1] - a[0], a[2] - a[1], a[0] - a[2]};
    const Point edgesB[3] = {b[1] - b[0], b[2] - b[1], b[0] - b[2]};
    const Point normalA = cross(edgesA[0], edgesA[1]), normalB = cross(edgesB[0], edgesB[1]);
    if (isSeparating(normalA, a, b, mayTouch) || isSeparating(normalB, a, b, mayTouch))
        return false;
    for (const Point& edgeA : edgesA)
        for (const Point& edgeB : edgesB)
            if (isSeparating(cross(edgeA, edgeB), a, b, mayTouch))
                return false;
    // Within a common plane.
    for (std::size_t i = 0; i < 3; ++i)
        if (isSeparating(cross(normalA, edgesA[i]), a, b, mayTouch) ||
            isSeparating(cross(normalB, edgesB[i]), a, b, mayTouch))
            return false;
    return true;
}

/// A box in single precision: the corners are exact.
struct Bounds
{
    std::array<float, 3> low = {Infinity, Infinity, Infinity};
    std::array<float, 3> high = {-Infinity, -Infinity, -Infinity};

    void add(const Point& point)
    {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], float(point[axis]));
            high[axis] = std::max(high[axis], float(point[axis]));
        }
    }
    void add(const Bounds& other)
    {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], other.low[axis]);
            high[axis] = std::max(high[axis], other.high[axis]);
        }
    }
    bool overlaps(const Bounds& other) const
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (low[axis] > other.high[axis] || other.low[axis] > high[axis])
                return false;
        return true;
    }

private:
    static constexpr float Infinity = std::numeric_limits<float>::infinity();
};

/// A tree of boxes over the triangles in their order, as a heap: the children of node n are 2n and 2n + 1.
class BoxTree
{
public:
    BoxTree(const Mesh& mesh, const std::vector<std::uint32_t>& pieces) : m_Mesh(mesh), m_Pieces(pieces)
    {
        const std::size_t leaves = (mesh.triangles.size() + LeafTriangles - 1) / LeafTriangles;
        while (m_Leaves < leaves)
            m_Leaves *= 2;
        m_Boxes.resize(2 * m_Leaves);
        for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
            m_Boxes[m_Leaves + i / LeafTriangles].add(boundsOf(i));
        for (std::size_t node = m_Leaves - 1; node > 0; --node) {
            m_Boxes[node].add(m_Boxes[2 * node]);
            m_Boxes[node].add(m_Boxes[2 * node + 1]);
        }
    }

    /// For each triangle, whether it intersects another one of its piece. No value when the boxes of too many triangles
    /// overlap to compare them all: thousands of slivers around one vertex, for example.
    std::optional<std::vector<bool>> findIntersecting() const
    {
        std::vector<bool> found(m_Mesh.triangles.size());
        std::size_t work = std::max(LeastWork, MostWorkPerLeaf * m_Leaves);
        for (std::size_t leaf = 0; leaf < m_Leaves && work > 0; ++leaf)
            comparePairs(leaf, 1, found, work);
        return work > 0 ? std::optional(found) : std::nullopt;
    }

private:
    /// Boxes and triangles that are compared with a leaf, several times as many as a crumpled surface needs. A small
    /// tree may need `LeastWork` in all, which takes less than a second.
    static constexpr std::size_t MostWorkPerLeaf = 2000;
    static constexpr std::size_t LeastWork = 40000000;

    Bounds boundsOf(std::size_t triangle) const
    {
        Bounds bounds;
        for (const std::uint32_t corner : m_Mesh.triangles[triangle])
            bounds.add(m_Mesh.points[corner]);
        return bounds;
    }
    /// Compares the triangles of a leaf with those under a node that are in the same leaf or in later ones.
    /// Reduces `work`, and stops when it is 0.
    void comparePairs(std::size_t leaf, std::size_t node, std::vector<bool>& found, std::size_t& work) const
    {
        if (work == 0 || lastLeafOf(node) < leaf || !m_Boxes[node].overlaps(m_Boxes[m_Leaves + leaf]))
            return;
        work -= std::min(work, node < m_Leaves ? 1 : LeafTriangles * LeafTriangles);
        if (node < m_Leaves) {
            comparePairs(leaf, 2 * node, found, work);
            comparePairs(leaf, 2 * node + 1, found, work);
            return;
        }
        const std::size_t count = m_Mesh.triangles.size(), others = (node - m_Leaves) * LeafTriangles;
        for (std::size_t a = leaf * LeafTriangles; a < std::min((leaf + 1) * LeafTriangles, count); ++a) {
            const Bounds bounds = boundsOf(a);
            if (!m_Boxes[node].overlaps(bounds))
                continue;
            for (std::size_t b = std::max(others, a + 1); b < std::min(others + LeafTriangles, count); ++b)
                if (m_Pieces[a] == m_Pieces[b] && boundsOf(b).overlaps(bounds) &&
                    doIntersect(m_Mesh.cornersOf(a), m_Mesh.cornersOf(b), haveCommonCorner(a, b)))
                    found[a] = found[b] = true;
        }
    }
    bool haveCommonCorner(std::size_t a, std::size_t b) const
    {
        const Corners &first = m_Mesh.triangles[a], &second = m_Mesh.triangles[b];
        return std::find_first_of(first.begin(), first.end(), second.begin(), second.end()) != first.end();
    }
    std::size_t lastLeafOf(std::size_t node) const
    {
        while (node < m_Leaves)
            node = 2 * node + 1;
        return node - m_Leaves;
    }

    const Mesh& m_Mesh;
    const std::vector<std::uint32_t>& m_Pieces;
    std::size_t m_Leaves = 1;
    std::vector<Bounds> m_Boxes;
};

/// The winding number of a piece around a point, by solid angles (Van Oosterom and Strackee, "The Solid Angle of a
/// Plane Triangle", IEEE Transactions on Biomedical Engineering 30(2), 1983).
double windingNumber(const Mesh& mesh, const std::vector<std::uint32_t>& pieces, std::uint32_t piece, const Point& at)
{
    double sum = 0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        if (pieces[t] != piece)
            continue;
        const auto corners = mesh.cornersOf(t);
        const Point a = corners[0] - at, b = corners[1] - at, c = corners[2] - at;
        const double la = std::sqrt(dot(a, a)), lb = std::sqrt(dot(b, b)), lc = std::sqrt(dot(c, c));
        sum += std::atan2(dot(a, cross(b, c)), la * lb * lc + dot(a, b) * lc + dot(b, c) * la + dot(c, a) * lb);
    }
    constexpr double HalfTurns = 6.283185307179586; // the arc tangent is half the angle
    return sum / HalfTurns;
}

/// Finds the triangles whose inner side may be seen from outside: those that intersect others, and the parts of the
/// surface that intersections cut off and that are turned inside out. Such a part has the same winding number
/// everywhere on its outer side, and that is negative.
class Exceptions
{
public:
    Exceptions(const Mesh& mesh, const std::vector<std::uint32_t>& pieces, std::vector<bool> intersecting, double sign)
        : m_Mesh(mesh), m_Pieces(pieces), m_Found(std::move(intersecting)), m_Sign(sign)
    {}

    /// False when there are too many parts to examine, or one is unclear.
    bool find(const Edges& edges)
    {
        const auto parts = piecesOf(m_Mesh, edges, m_Found);
        std::vector<bool> isCut(m_Mesh.triangles.size());
        for (std::size_t t = 0; t < parts.size(); ++t)
            if (m_Found[t])
                isCut[m_Pieces[t]] = true;
        // Each part by its largest triangle.
        std::unordered_map<std::uint32_t, std::size_t> largest;
        for (std::size_t t = 0; t < parts.size(); ++t) {
            if (m_Found[t] || !isCut[m_Pieces[t]])
                continue;
            const auto [known, isNew] = largest.try_emplace(parts[t], t);
            if (!isNew && area(t) > area(known->second))
                known->second = t;
        }
        if (largest.size() * m_Mesh.triangles.size() > MostSolidAngles)
            return false;
        std::unordered_map<std::uint32_t, bool> isInsideOut;
        for (const auto& [part, triangle] : largest) {
            const double winding = outerWinding(triangle);
            if (!(std::fabs(winding - std::round(winding)) < 0.01))
                return false;
            isInsideOut[part] = std::round(winding) < 0;
        }
        for (std::size_t t = 0; t < parts.size(); ++t)
            if (!m_Found[t] && isCut[m_Pieces[t]] && isInsideOut[parts[t]])
                m_Found[t] = true;
        return true;
    }
    const std::vector<bool>& get() const { return m_Found; }

private:
    /// About a second.
    static constexpr std::size_t MostSolidAngles = 20000000;

    double area(std::size_t triangle) const
    {
        const Point normal = m_Mesh.normalOf(triangle);
        return dot(normal, normal);
    }
    double outerWinding(std::size_t triangle) const
    {
        const auto corners = m_Mesh.cornersOf(triangle);
        const Point normal = m_Mesh.normalOf(triangle);
        // A millionth of the triangle's size away from its middle.
        const double step = m_Sign * 1e-6 / std::sqrt(std::sqrt(dot(normal, normal)));
        Point at;
        for (std::size_t axis = 0; axis < 3; ++axis)
            at[axis] = (corners[0][axis] + corners[1][axis] + corners[2][axis]) / 3 + step * normal[axis];
        return m_Sign * windingNumber(m_Mesh, m_Pieces, m_Pieces[triangle], at);
    }

    const Mesh& m_Mesh;
    const std::vector<std::uint32_t>& m_Pieces;
    std::vector<bool> m_Found;
    const double m_Sign; ///< 1: normals point outwards, -1: inwards
};

SolidSurface examine(const std::vector<Vertex>& vertices, const std::vector<std::uint32_t>& indices)
{
    const Mesh mesh(vertices, indices);
    const Edges edges(mesh);
    if (mesh.triangles.empty() || !edges.areClosed())
        return {};
    const auto pieces = piecesOf(mesh, edges, std::vector<bool>(mesh.triangles.size()));
    const Solidity side = outerSide(mesh, pieces);
    if (side == Solidity::None)
        return {};
    std::optional<std::vector<bool>> intersecting = BoxTree(mesh, pieces).findIntersecting();
    if (!intersecting)
        return {};
    Exceptions exceptions(mesh, pieces, std::move(*intersecting), side == Solidity::Outward ? 1 : -1);
    if (!exceptions.find(edges))
        return {};
    SolidSurface result{side, {}};
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t)
        if (exceptions.get()[t])
            result.exceptions.push_back(mesh.sources[t]);
    return result;
}

} // namespace

SolidSurface findSolidSurface(const std::vector<Vertex>& vertices, const std::vector<std::uint32_t>& indices)
{
    if (indices.empty() || indices.size() % 3 != 0 || indices.size() > 3 * MostTriangles)
        return {};
    const bool isFinite = std::all_of(vertices.begin(), vertices.end(), [](const Vertex& vertex) {
        return std::isfinite(vertex.position[0] + vertex.position[1] + vertex.position[2]);
    });
    try {
        return isFinite ? examine(vertices, indices) : SolidSurface{};
    } catch (const std::bad_alloc&) {
        return {};
    }
}

void GeometryElement::examineSolidity() const
{
    if (m_Solidity != Solidity::Unknown)
        return;
    const std::lock_guard<std::mutex> lock(m_SolidityMutex);
    if (m_Solidity != Solidity::Unknown)
        return;
    const bool isRigidSurface = m_Kind == Geometry::Kind::Surfaces && !mp_Deformation && m_Revision == 0;
    const SolidSurface solid = isRigidSurface ? findSolidSurface(m_Vertices, m_Indices) : SolidSurface{};
    m_TwoSidedChunks.assign(m_Chunks.size(), false);
    for (const std::uint32_t triangle : solid.exceptions)
        m_TwoSidedChunks[triangle / ChunkPrimitives] = true;
    m_Solidity = solid.side;
#ifdef __GLIBC__
    // The examination needs several times the memory of the triangles.
    malloc_trim(0);
#endif
}

} // namespace tov::scene
