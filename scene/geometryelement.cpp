#include "scene/geometryelement.h"

#include "scene/normals.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tov::scene {

namespace {

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

/// `values` in the order of `sources`, `perVertex` values for each; empty when the array does not fit.
template <typename T>
std::vector<T> reordered(const std::vector<T>& values, std::size_t perVertex, std::size_t vertexCount,
                         const std::vector<std::uint32_t>& sources)
{
    std::vector<T> result;
    if (perVertex == 0 || values.empty() || values.size() != perVertex * vertexCount)
        return result;
    result.reserve(perVertex * sources.size());
    for (const std::uint32_t source : sources)
        result.insert(result.end(), &values[perVertex * source], &values[perVertex * source] + perVertex);
    return result;
}

} // namespace

/// Puts a geometry into drawing order.
class GeometryElement::Ordering
{
public:
    Ordering(GeometryElement& element, const Geometry& geometry)
        : m_Element(element), m_Geometry(geometry), m_PerPrimitive(std::size_t(geometry.kind))
    {}

    void run()
    {
        sortPrimitives();
        placeVertices();
        copyVertices();
        copyOptional();
        copyDeformation();
    }

private:
    void sortPrimitives()
    {
        Box box;
        const auto& p = m_Geometry.positions;
        for (std::size_t i = 0; i + 2 < p.size(); i += 3)
            box.add(&p[i]);
        double scale[3];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double extent = box.high[axis] - box.low[axis];
            scale[axis] = extent > 0 ? 1023 / extent : 0;
        }
        m_Order.resize(m_Geometry.indices.size() / m_PerPrimitive);
        for (std::size_t i = 0; i < m_Order.size(); ++i) {
            double centre[3] = {};
            for (std::size_t k = 0; k < m_PerPrimitive; ++k) {
                const std::size_t at = 3 * std::size_t(m_Geometry.indices[i * m_PerPrimitive + k]);
                for (std::size_t axis = 0; axis < 3; ++axis)
                    centre[axis] += p[at + axis];
            }
            std::uint32_t key = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double at = (centre[axis] / double(m_PerPrimitive) - box.low[axis]) * scale[axis];
                key |= spread(std::uint32_t(std::clamp(at, 0.0, 1023.0))) << axis;
            }
            m_Order[i] = {key, std::uint32_t(i)};
        }
        radixSort(m_Order);
    }
    /// Numbers the vertices in order of first use.
    void placeVertices()
    {
        constexpr std::uint32_t Unused = std::numeric_limits<std::uint32_t>::max();
        std::vector<std::uint32_t> placed(m_Geometry.vertexCount(), Unused);
        m_Element.m_Indices.reserve(m_Order.size() * m_PerPrimitive);
        m_Sources.reserve(m_Geometry.vertexCount());
        for (std::size_t i = 0; i < m_Order.size(); ++i) {
            if (i % ChunkPrimitives == 0)
                m_Element.m_Chunks.push_back({i * m_PerPrimitive, 0, m_Sources.size(), 0, Box()});
            Chunk& chunk = m_Element.m_Chunks.back();
            for (std::size_t k = 0; k < m_PerPrimitive; ++k) {
                const std::uint32_t from = m_Geometry.indices[std::size_t(m_Order[i].primitive) * m_PerPrimitive + k];
                if (placed[from] == Unused) {
                    placed[from] = std::uint32_t(m_Sources.size());
                    m_Sources.push_back(from);
                    ++chunk.vertexCount;
                }
                m_Element.m_Indices.push_back(placed[from]);
                ++chunk.indexCount;
            }
        }
    }
    void copyVertices()
    {
        const auto& p = m_Geometry.positions;
        const bool hasNormals = m_Geometry.normals.size() == p.size();
        const bool hasColors = m_Geometry.colors.size() == p.size() / 3 * 4;
        m_Element.m_Vertices.resize(m_Sources.size());
        for (std::size_t i = 0; i < m_Sources.size(); ++i) {
            Vertex& vertex = m_Element.m_Vertices[i];
            const std::size_t from = m_Sources[i];
            for (std::size_t axis = 0; axis < 3; ++axis) {
                vertex.position[axis] = p[3 * from + axis];
                vertex.normal[axis] = hasNormals ? m_Geometry.normals[3 * from + axis] : float(axis == 2);
            }
            for (std::size_t c = 0; c < 4; ++c) {
                vertex.color[c] = hasColors ? m_Geometry.colors[4 * from + c] : std::uint16_t(65535);
                m_Element.m_HasColors = m_Element.m_HasColors || vertex.color[c] != 65535;
            }
        }
    }
    void copyOptional()
    {
        const std::size_t count = m_Geometry.vertexCount();
        for (int set = 0; set < 2; ++set)
            m_Element.m_Uv[set] = reordered(m_Geometry.uv[set], 2, count, m_Sources);
        m_Element.m_Tangents = reordered(m_Geometry.tangents, 4, count, m_Sources);
    }
    void copyDeformation()
    {
        const std::size_t count = m_Geometry.vertexCount();
        auto result = std::make_unique<Deformation>();
        const auto perVertex = 4 * std::size_t(std::max(0, m_Geometry.jointGroups));
        result->joints = reordered(m_Geometry.joints, perVertex, count, m_Sources);
        result->weights = reordered(m_Geometry.weights, perVertex, count, m_Sources);
        const bool isSkinned = !result->joints.empty() && !result->weights.empty();
        result->jointGroups = isSkinned ? m_Geometry.jointGroups : 0;
        result->skin = isSkinned ? m_Geometry.skin : nullptr;
        for (const auto& target : m_Geometry.morphTargets)
            result->morphTargets.push_back({reordered(target.positions, 3, count, m_Sources),
                                            reordered(target.normals, 3, count, m_Sources),
                                            reordered(target.tangents, 3, count, m_Sources)});
        result->morphWeights = m_Geometry.morphWeights;
        result->morphWeights.resize(result->morphTargets.size());
        m_Element.m_MorphWeights = result->morphWeights;
        if (isSkinned || !result->morphTargets.empty())
            m_Element.mp_Deformation = std::move(result);
    }

    GeometryElement& m_Element;
    const Geometry& m_Geometry;
    const std::size_t m_PerPrimitive;
    std::vector<Keyed> m_Order;
    std::vector<std::uint32_t> m_Sources; ///< for each vertex in drawing order: its number in the geometry
};

GeometryElement::GeometryElement(const QString& name, Geometry geometry)
    : SceneElement(name), m_Kind(geometry.kind), m_Origin(geometry.origin)
{
    // Vertex colours without a material are drawn unchanged.
    setMaterial(!geometry.material && !geometry.colors.empty() ? makeMaterial(Qt::white) : geometry.material);
    if (m_Kind == Geometry::Kind::Surfaces && geometry.normals.size() != geometry.positions.size())
        addNormals(geometry);
    Ordering(*this, geometry).run();
    computeBoxes();
    compareNormals();
}

GeometryElement::~GeometryElement() = default;

void GeometryElement::setMaterial(std::shared_ptr<const Material> material)
{
    auto& kept = m_Color ? mp_FileMaterial : mp_Material;
    kept = material ? std::move(material) : defaultMaterial();
}

void GeometryElement::setColor(const std::optional<QColor>& color)
{
    if (m_Color)
        mp_Material = std::exchange(mp_FileMaterial, nullptr);
    m_Color = color && color->isValid() ? std::optional<QColor>(color->rgb()) : std::nullopt;
    if (m_Color)
        mp_FileMaterial = std::exchange(mp_Material, makeMaterial(*m_Color));
}

void GeometryElement::setOpacity(float opacity)
{
    m_Opacity = opacity >= 0 ? std::min(opacity, 1.0f) : 0;
}

bool GeometryElement::isTransparent() const
{
    return mp_Material->alphaMode == Material::AlphaMode::Blend || mp_Material->transmission > 0 || m_Opacity < 1;
}

void GeometryElement::changeVertices(const std::function<void(std::vector<Vertex>&)>& change)
{
    const std::size_t count = m_Vertices.size();
    change(m_Vertices);
    m_Vertices.resize(count);
    ++m_Revision;
    computeBoxes();
}

void GeometryElement::compareNormals()
{
    if (m_Kind != Geometry::Kind::Surfaces)
        return;
    std::size_t against = 0;
    for (std::size_t i = 0; i + 2 < m_Indices.size(); i += 3) {
        const Vertex &a = m_Vertices[m_Indices[i]], &b = m_Vertices[m_Indices[i + 1]],
                     &c = m_Vertices[m_Indices[i + 2]];
        float u[3], v[3], n[3];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            u[axis] = b.position[axis] - a.position[axis];
            v[axis] = c.position[axis] - a.position[axis];
            n[axis] = a.normal[axis] + b.normal[axis] + c.normal[axis];
        }
        const float agreement = n[0] * (u[1] * v[2] - u[2] * v[1]) + n[1] * (u[2] * v[0] - u[0] * v[2]) +
                                n[2] * (u[0] * v[1] - u[1] * v[0]);
        against += agreement < 0;
    }
    m_NormalsFollowWinding = against <= m_Indices.size() / 3 / 100;
}

void GeometryElement::changeVertices(const std::function<void(std::vector<Vertex>&, std::vector<float>&)>& change)
{
    changeVertices([&](std::vector<Vertex>& vertices) {
        const std::size_t count = m_Tangents.size();
        change(vertices, m_Tangents);
        m_Tangents.resize(count);
    });
}

void GeometryElement::computeBoxes()
{
    m_Box = Box();
    for (Chunk& chunk : m_Chunks) {
        chunk.box = Box();
        for (std::size_t i = chunk.firstIndex; i < chunk.firstIndex + chunk.indexCount; ++i)
            chunk.box.add(m_Vertices[m_Indices[i]].position);
        if (!chunk.box.isEmpty()) {
            m_Box.add(chunk.box.low.data());
            m_Box.add(chunk.box.high.data());
        }
    }
}

GeometryElement::Solidity GeometryElement::getSolidity() const
{
    return m_Revision == 0 ? m_Solidity.load() : Solidity::None;
}

} // namespace tov::scene
