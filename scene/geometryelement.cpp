#include "scene/geometryelement.h"

#include "scene/drawing/closedsurface.h"
#include "scene/drawing/drawbuffers.h"

#include <algorithm>
#include <cmath>
#include <future>
#include <limits>
#include <system_error>

namespace tov::scene {

namespace {

/// Indices of an element that is worth a thread of its own.
constexpr std::size_t LeastForThread = 30000;

/// Spreads the low 10 bits of a number to every third bit (Morton order).
std::uint32_t spread(std::uint32_t v)
{
    v &= 0x3ff;
    v = (v | (v << 16)) & 0x030000ff;
    v = (v | (v << 8)) & 0x0300f00f;
    v = (v | (v << 4)) & 0x030c30c3;
    v = (v | (v << 2)) & 0x09249249;
    return v;
}

struct Keyed
{
    std::uint32_t key;
    std::uint32_t primitive;
};

/// Sorts by the 30-bit key in three passes of 10 bits.
void radixSort(std::vector<Keyed>& items)
{
    std::vector<Keyed> other(items.size());
    for (int shift = 0; shift < 30; shift += 10) {
        std::size_t counts[1025] = {};
        for (const Keyed& item : items)
            ++counts[((item.key >> shift) & 0x3ff) + 1];
        for (int i = 1; i <= 1024; ++i)
            counts[i] += counts[i - 1];
        for (const Keyed& item : items)
            other[counts[(item.key >> shift) & 0x3ff]++] = item;
        items.swap(other);
    }
}

/// Smooth normals, weighted by area, for surfaces that came without.
void addNormals(Geometry& geometry)
{
    const auto& p = geometry.positions;
    geometry.normals.assign(p.size(), 0.0f);
    auto& n = geometry.normals;
    for (std::size_t i = 0; i + 2 < geometry.indices.size(); i += 3) {
        const std::size_t a = 3 * std::size_t(geometry.indices[i]), b = 3 * std::size_t(geometry.indices[i + 1]),
                          c = 3 * std::size_t(geometry.indices[i + 2]);
        const float ux = p[b] - p[a], uy = p[b + 1] - p[a + 1], uz = p[b + 2] - p[a + 2];
        const float vx = p[c] - p[a], vy = p[c + 1] - p[a + 1], vz = p[c + 2] - p[a + 2];
        const float x = uy * vz - uz * vy, y = uz * vx - ux * vz, z = ux * vy - uy * vx;
        for (const std::size_t at : {a, b, c}) {
            n[at] += x;
            n[at + 1] += y;
            n[at + 2] += z;
        }
    }
    for (std::size_t i = 0; i + 2 < n.size(); i += 3) {
        const float length = std::sqrt(n[i] * n[i] + n[i + 1] * n[i + 1] + n[i + 2] * n[i + 2]);
        if (length > 0 && std::isfinite(length)) {
            n[i] /= length;
            n[i + 1] /= length;
            n[i + 2] /= length;
        } else {
            n[i] = n[i + 1] = 0;
            n[i + 2] = 1;
        }
    }
}

} // namespace

GeometryElement::GeometryElement(const QString& name, Geometry geometry)
    : SceneElement(name), mp_Buffers(new Buffers), m_Kind(geometry.kind)
{
    // Takes about as long as everything else, and reads only what nobody changes meanwhile: positions and indices.
    std::future<Winding> winding;
    try {
        if (geometry.indices.size() > LeastForThread)
            winding = std::async(std::launch::async, [&geometry] { return windingOf(geometry); });
    } catch (const std::system_error&) {
        // No thread to be had: then one comes after the other.
    }
    if (m_Kind == Geometry::Kind::Surfaces && geometry.normals.size() != geometry.positions.size())
        addNormals(geometry);
    order(geometry);
    m_Winding = winding.valid() ? winding.get() : windingOf(geometry);
}

GeometryElement::~GeometryElement()
{
    mp_Buffers->abandon();
}

void GeometryElement::order(const Geometry& geometry)
{
    const std::size_t perPrimitive = std::size_t(m_Kind);
    const std::size_t primitives = geometry.indices.size() / perPrimitive;
    const auto& p = geometry.positions;
    for (std::size_t i = 0; i + 2 < p.size(); i += 3)
        m_Box.add(&p[i]);

    std::vector<Keyed> keyed(primitives);
    // In doubles: sums and extents of floats may leave the range of floats.
    double scale[3];
    for (int axis = 0; axis < 3; ++axis) {
        const double extent = double(m_Box.high[axis]) - m_Box.low[axis];
        scale[axis] = extent > 0 ? 1023 / extent : 0;
    }
    for (std::size_t i = 0; i < primitives; ++i) {
        double centre[3] = {};
        for (std::size_t k = 0; k < perPrimitive; ++k) {
            const std::size_t at = 3 * std::size_t(geometry.indices[i * perPrimitive + k]);
            for (int axis = 0; axis < 3; ++axis)
                centre[axis] += p[at + axis];
        }
        std::uint32_t key = 0;
        for (int axis = 0; axis < 3; ++axis) {
            const double at = (centre[axis] / double(perPrimitive) - m_Box.low[axis]) * scale[axis];
            key |= spread(std::uint32_t(std::clamp(at, 0.0, 1023.0))) << axis;
        }
        keyed[i] = {key, std::uint32_t(i)};
    }
    radixSort(keyed);

    constexpr std::uint32_t Unused = std::numeric_limits<std::uint32_t>::max();
    std::vector<std::uint32_t> placed(p.size() / 3, Unused);
    m_Indices.reserve(primitives * perPrimitive);
    m_Vertices.reserve(p.size() / 3);
    const std::uint8_t plain[4] = {std::uint8_t(geometry.color.red()), std::uint8_t(geometry.color.green()),
                                   std::uint8_t(geometry.color.blue()), std::uint8_t(geometry.color.alpha())};
    const bool colored = geometry.colors.size() == p.size() / 3 * 4;
    const bool shaded = geometry.normals.size() == p.size();
    for (std::size_t i = 0; i < primitives; ++i) {
        if (i % ChunkPrimitives == 0)
            m_Chunks.push_back({i * perPrimitive, 0, Box()});
        Chunk& chunk = m_Chunks.back();
        for (std::size_t k = 0; k < perPrimitive; ++k) {
            const std::uint32_t from = geometry.indices[std::size_t(keyed[i].primitive) * perPrimitive + k];
            if (placed[from] == Unused) {
                placed[from] = std::uint32_t(m_Vertices.size());
                Vertex vertex;
                for (int axis = 0; axis < 3; ++axis) {
                    vertex.position[axis] = p[3 * std::size_t(from) + axis];
                    vertex.normal[axis] = shaded ? geometry.normals[3 * std::size_t(from) + axis] : (axis == 2);
                }
                for (int c = 0; c < 4; ++c)
                    vertex.color[c] = colored ? geometry.colors[4 * std::size_t(from) + c] : plain[c];
                m_Transparent = m_Transparent || vertex.color[3] != 255;
                m_Vertices.push_back(vertex);
            }
            m_Indices.push_back(placed[from]);
            chunk.box.add(&p[3 * std::size_t(from)]);
            ++chunk.indexCount;
        }
    }
}

} // namespace tov::scene
