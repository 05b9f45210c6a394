#include "scene/normals.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace tov::scene {

namespace {

typedef std::array<float, 3> Vector;

/// Around a vertex with more triangles than this, the pairwise comparison is too slow; each triangle keeps its own
/// normal.
constexpr std::size_t MaxFan = 2048;

float dot(const Vector& a, const Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector operator+(const Vector& a, const Vector& b)
{
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

/// Of unit length; (0, 0, 1) where there is no direction.
Vector normalized(const Vector& v)
{
    const float length = std::sqrt(dot(v, v));
    if (!(length > 0) || !std::isfinite(length))
        return {0, 0, 1};
    return {v[0] / length, v[1] / length, v[2] / length};
}

/// For each vertex the first one at the same place.
std::vector<std::uint32_t> weld(const std::vector<float>& positions)
{
    constexpr std::uint32_t Free = std::numeric_limits<std::uint32_t>::max();
    const std::size_t count = positions.size() / 3;
    std::size_t slots = 16;
    while (slots < 2 * count)
        slots *= 2;
    std::vector<std::uint32_t> table(slots, Free), first(count);
    for (std::size_t i = 0; i < count; ++i) {
        // Adding 0 turns -0 into 0, so that equal numbers have equal bits.
        const Vector at = {positions[3 * i] + 0.0f, positions[3 * i + 1] + 0.0f, positions[3 * i + 2] + 0.0f};
        std::uint32_t bits[3];
        std::memcpy(bits, at.data(), sizeof bits);
        std::uint64_t hash = bits[0] * 0x9e3779b97f4a7c15u;
        hash = (hash ^ (hash >> 29) ^ bits[1]) * 0xbf58476d1ce4e5b9u;
        hash = (hash ^ (hash >> 31) ^ bits[2]) * 0x94d049bb133111ebu;
        std::size_t slot = std::size_t(hash >> 20) & (slots - 1);
        const auto differs = [&](std::uint32_t other) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                if (positions[3 * std::size_t(other) + axis] != positions[3 * i + axis])
                    return true;
            return false;
        };
        while (table[slot] != Free && differs(table[slot]))
            slot = (slot + 1) & (slots - 1);
        if (table[slot] == Free)
            table[slot] = std::uint32_t(i);
        first[i] = table[slot];
    }
    return first;
}

class NormalMaker
{
public:
    NormalMaker(Geometry& geometry, double creaseDegrees)
        : m_Geometry(geometry), m_CosCrease(float(std::cos(creaseDegrees * 3.14159265358979323846 / 180))),
          m_CosHalf(float(std::cos(creaseDegrees * 3.14159265358979323846 / 360)))
    {
        findFaceNormals();
        findCorners();
    }

    void run()
    {
        m_Normals.assign(m_Geometry.positions.size(), std::numeric_limits<float>::quiet_NaN());
        for (std::size_t place = 0; place + 1 < m_First.size(); ++place)
            if (m_First[place] < m_First[place + 1])
                makeNormalsAt(place);
        // Vertices without a triangle.
        for (std::size_t i = 0; i < m_Normals.size(); i += 3)
            if (std::isnan(m_Normals[i]))
                m_Normals[i] = m_Normals[i + 1] = 0, m_Normals[i + 2] = 1;
        m_Geometry.normals = std::move(m_Normals);
    }

private:
    void findFaceNormals()
    {
        const auto& p = m_Geometry.positions;
        const auto& indices = m_Geometry.indices;
        m_Areas.reserve(indices.size() / 3);
        for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
            const float *a = &p[3 * std::size_t(indices[i])], *b = &p[3 * std::size_t(indices[i + 1])],
                        *c = &p[3 * std::size_t(indices[i + 2])];
            const float ux = b[0] - a[0], uy = b[1] - a[1], uz = b[2] - a[2];
            const float vx = c[0] - a[0], vy = c[1] - a[1], vz = c[2] - a[2];
            m_Areas.push_back({uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx});
        }
    }
    /// Whether three numbers have the bits of a vector; unlike ==, true for the same NaN.
    bool hasBitsOf(const float* numbers, const Vector& vector)
    {
        std::array<std::uint32_t, 3> a, b;
        static_assert(sizeof a == sizeof vector);
        std::memcpy(a.data(), numbers, sizeof a);
        std::memcpy(b.data(), vector.data(), sizeof b);
        return a == b;
    }

    /// The corners of triangles, grouped by place.
    void findCorners()
    {
        const auto first = weld(m_Geometry.positions);
        const auto& indices = m_Geometry.indices;
        m_First.assign(first.size() + 1, 0);
        const std::size_t corners = 3 * m_Areas.size();
        for (std::size_t i = 0; i < corners; ++i)
            ++m_First[first[indices[i]] + 1];
        std::partial_sum(m_First.begin(), m_First.end(), m_First.begin());
        std::vector<std::uint32_t> next(m_First.begin(), m_First.end() - 1);
        m_Corners.resize(corners);
        for (std::size_t i = 0; i < corners; ++i)
            m_Corners[next[first[indices[i]]]++] = std::uint32_t(i);
    }
    void makeNormalsAt(std::size_t place)
    {
        const std::uint32_t* begin = &m_Corners[m_First[place]];
        const std::size_t count = m_First[place + 1] - m_First[place];
        Vector sum = {0, 0, 0};
        for (std::size_t i = 0; i < count; ++i)
            sum = sum + m_Areas[begin[i] / 3];
        const Vector mean = normalized(sum);
        m_Units.clear();
        bool isSmooth = true;
        for (std::size_t i = 0; i < count; ++i) {
            const Vector& area = m_Areas[begin[i] / 3];
            m_Units.push_back(normalized(area));
            isSmooth = isSmooth && (dot(m_Units.back(), mean) >= m_CosHalf || dot(area, area) == 0);
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (isSmooth)
                assign(begin[i], mean);
            else if (count > MaxFan)
                assign(begin[i], m_Units[i]);
            else
                assign(begin[i], normalOfCorner(begin, count, i));
        }
    }
    Vector normalOfCorner(const std::uint32_t* corners, std::size_t count, std::size_t corner) const
    {
        Vector sum = {0, 0, 0};
        for (std::size_t i = 0; i < count; ++i)
            if (dot(m_Units[i], m_Units[corner]) >= m_CosCrease)
                sum = sum + m_Areas[corners[i] / 3];
        return normalized(sum);
    }
    /// Gives a corner its normal: uses its vertex, or a copy of the vertex that has no normal or the same one.
    void assign(std::uint32_t corner, const Vector& normal)
    {
        const std::uint32_t vertex = m_Geometry.indices[corner];
        std::uint32_t at = vertex;
        while (true) {
            float* own = &m_Normals[3 * std::size_t(at)];
            if (std::isnan(own[0]))
                std::memcpy(own, normal.data(), sizeof normal);
            if (hasBitsOf(own, normal))
                break;
            const auto next = m_Copies.size() > at ? m_Copies[at] : 0;
            at = next != 0 ? next : copyVertex(at, vertex);
        }
        m_Geometry.indices[corner] = at;
    }
    std::uint32_t copyVertex(std::uint32_t last, std::uint32_t vertex)
    {
        const auto copy = std::uint32_t(m_Geometry.vertexCount());
        const auto append = [vertex](auto& values, std::size_t perVertex) {
            if (values.empty())
                return;
            for (std::size_t i = 0; i < perVertex; ++i) {
                const auto value = values[perVertex * vertex + i];
                values.push_back(value);
            }
        };
        append(m_Geometry.tangents, 4);
        append(m_Geometry.uv[0], 2);
        append(m_Geometry.uv[1], 2);
        append(m_Geometry.colors, 4);
        append(m_Geometry.joints, 4 * std::size_t(m_Geometry.jointGroups));
        append(m_Geometry.weights, 4 * std::size_t(m_Geometry.jointGroups));
        for (auto& target : m_Geometry.morphTargets) {
            append(target.positions, 3);
            append(target.normals, 3);
            append(target.tangents, 3);
        }
        append(m_Geometry.positions, 3);
        m_Normals.resize(m_Geometry.positions.size(), std::numeric_limits<float>::quiet_NaN());
        m_Copies.resize(copy + 1, 0);
        m_Copies[last] = copy;
        return copy;
    }

    Geometry& m_Geometry;
    const float m_CosCrease;
    const float m_CosHalf;
    std::vector<Vector> m_Areas;          ///< per triangle: its normal, with twice its area as length
    std::vector<std::uint32_t> m_First;   ///< per place: its first entry in `m_Corners`
    std::vector<std::uint32_t> m_Corners; ///< numbers in `Geometry::indices`
    std::vector<Vector> m_Units;          ///< of the current place
    std::vector<float> m_Normals;
    std::vector<std::uint32_t> m_Copies; ///< per vertex: the next copy of it, 0: none
};

} // namespace

void addNormals(Geometry& geometry, double creaseDegrees)
{
    NormalMaker(geometry, creaseDegrees).run();
}

} // namespace tov::scene
