#include "scene/drawing/batcher.h"

#include "scene/sceneview.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tov::scene {

using tov::math::Matrix4;

namespace {

/// A part with more triangles is drawn by its own call.
constexpr std::size_t MostIndices = 3 * 256;
/// Fewer parts are not worth merging.
constexpr std::size_t LeastParts = 32;

typedef std::vector<const DrawItem*> Parts;

bool isSmall(const GeometryElement& element)
{
    return element.getKind() == Geometry::Kind::Surfaces && element.getIndices().size() <= MostIndices &&
           !element.isTransparent();
}

std::uint64_t mixed(std::uint64_t hash, std::uint64_t value)
{
    hash = (hash ^ value) * 0x9e3779b97f4a7c15u;
    return hash ^ (hash >> 29);
}

std::uint64_t signatureOf(const Parts& parts)
{
    std::uint64_t hash = parts.size();
    for (const DrawItem* part : parts) {
        hash = mixed(mixed(hash, part->element->getId()), part->element->getRevision());
        // Colours go into the vertices, and materials may be exchanged.
        hash = mixed(hash, reinterpret_cast<std::uintptr_t>(part->element->getMaterial().get()));
        std::uint64_t values[16];
        static_assert(sizeof values == sizeof part->toScene);
        std::memcpy(values, part->toScene.data(), sizeof values);
        for (const std::uint64_t value : values)
            hash = mixed(hash, value);
    }
    return hash;
}

std::array<float, 3> turned(const Matrix4& m, const float* v, double sign)
{
    std::array<double, 3> result{};
    double square = 0;
    for (unsigned int r = 0; r < 3; ++r) {
        for (unsigned int c = 0; c < 3; ++c)
            result[r] += sign * m(r, c) * v[c];
        square += result[r] * result[r];
    }
    const double scale = square > 0 ? 1 / std::sqrt(square) : 0;
    return {float(result[0] * scale), float(result[1] * scale), float(result[2] * scale)};
}

/// Cofactors: the transposed inverse times the determinant.
Matrix4 forNormals(const Matrix4& m)
{
    Matrix4 result;
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c)
            result(r, c) = m((r + 1) % 3, (c + 1) % 3) * m((r + 2) % 3, (c + 2) % 3) -
                           m((r + 1) % 3, (c + 2) % 3) * m((r + 2) % 3, (c + 1) % 3);
    return result;
}

/// Whether the material is a colour and a few numbers, and the colour fits into vertices.
bool isBakeable(const Material& material)
{
    const auto isShare = [](float value) { return value >= 0 && value <= 1; };
    const auto textures = texturesOf(material);
    return material.alphaMode == Material::AlphaMode::Opaque &&
           std::none_of(textures.begin(), textures.end(), [](const Texture* texture) { return bool(*texture); }) &&
           std::all_of(material.baseColor.begin(), material.baseColor.begin() + 3, isShare);
}

/// The properties of such a material, except its colour.
std::array<float, 10> numbersOf(const Material& material)
{
    return {material.metallic,           material.roughness,   material.emissive[0],        material.emissive[1],
            material.emissive[2],        material.clearcoat,   material.clearcoatRoughness, material.indexOfRefraction,
            float(material.doubleSided), float(material.unlit)};
}

void append(Geometry& geometry, const DrawItem& part, bool isBaked)
{
    std::array<float, 3> factor = {1, 1, 1};
    if (isBaked)
        std::copy_n(part.element->getMaterial()->baseColor.begin(), 3, factor.begin());
    const auto& element = *part.element;
    constexpr std::uint16_t White = 65535;
    const bool hasColors = element.hasVertexColors();
    const auto first = std::uint32_t(geometry.vertexCount());
    const bool isMirrored = tov::math::volumeScaleOf(part.toScene) < 0;
    const Matrix4 normals = forNormals(part.toScene);
    for (const auto& vertex : element.getVertices()) {
        const auto at = transformed(part.toScene, vertex.position[0], vertex.position[1], vertex.position[2]);
        for (std::size_t axis = 0; axis < 3; ++axis)
            geometry.positions.push_back(float(at[axis] - geometry.origin[axis]));
        const auto normal = turned(normals, vertex.normal, isMirrored ? -1 : 1);
        geometry.normals.insert(geometry.normals.end(), normal.begin(), normal.end());
        for (std::size_t c = 0; c < 3; ++c)
            geometry.colors.push_back(
                std::uint16_t(std::lround(float(hasColors ? vertex.color[c] : White) * factor[c])));
        geometry.colors.push_back(hasColors ? vertex.color[3] : White);
    }
    for (int set = 0; set < 2; ++set) {
        const auto& uv = element.getTextureCoordinates(set);
        geometry.uv[set].insert(geometry.uv[set].end(), uv.begin(), uv.end());
    }
    const auto& tangents = element.getTangents();
    for (std::size_t i = 0; i + 3 < tangents.size(); i += 4) {
        const auto tangent = turned(part.toScene, &tangents[i], 1);
        geometry.tangents.insert(geometry.tangents.end(), tangent.begin(), tangent.end());
        geometry.tangents.push_back(isMirrored ? -tangents[i + 3] : tangents[i + 3]);
    }
    const auto& indices = element.getIndices();
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        geometry.indices.push_back(first + indices[i]);
        geometry.indices.push_back(first + indices[isMirrored ? i + 2 : i + 1]);
        geometry.indices.push_back(first + indices[isMirrored ? i + 1 : i + 2]);
    }
}

} // namespace

std::unique_ptr<GeometryElement> Batcher::mergedElement(const Parts& parts, bool isBaked)
{
    Geometry geometry;
    geometry.origin = transformed(parts.front()->toScene, 0, 0, 0);
    for (const DrawItem* part : parts)
        append(geometry, *part, isBaked);
    geometry.material = parts.front()->element->getMaterial();
    if (isBaked) {
        auto white = std::make_shared<Material>(*geometry.material);
        white->baseColor = {1, 1, 1, 1};
        geometry.material = std::move(white);
    }
    return std::make_unique<GeometryElement>(QString(), std::move(geometry));
}

Batcher::Key Batcher::keyOf(const GeometryElement& element)
{
    Key key;
    key.lacks = {element.getTextureCoordinates(0).empty(), element.getTextureCoordinates(1).empty(),
                 element.getTangents().empty()};
    const Material& material = *element.getMaterial();
    const auto numbers = numbersOf(material);
    // NaN has no order.
    const bool areNumbers =
        std::all_of(numbers.begin(), numbers.end(), [](float value) { return std::isfinite(value); });
    if (isBakeable(material) && areNumbers)
        key.numbers = numbers;
    else
        key.material = &material;
    return key;
}

std::vector<DrawItem> Batcher::merged(const std::vector<DrawItem>& items)
{
    // Groups keep the order of the scene: keys hold addresses, whose order differs from run to run.
    std::map<Key, std::size_t> numbers;
    std::vector<std::pair<Key, Parts>> groups;
    std::vector<DrawItem> result;
    for (const DrawItem& item : items) {
        const auto& element = *item.element;
        if (!isSmall(element)) {
            result.push_back(item);
            continue;
        }
        const Key key = keyOf(element);
        const auto [found, isNew] = numbers.try_emplace(key, groups.size());
        if (isNew)
            groups.push_back({key, {}});
        groups[found->second].second.push_back(&item);
    }
    std::map<Key, Batch> kept;
    for (const auto& [key, parts] : groups) {
        if (parts.size() < LeastParts) {
            for (const DrawItem* part : parts)
                result.push_back(*part);
            continue;
        }
        Batch batch = std::move(m_Batches[key]);
        const std::uint64_t signature = signatureOf(parts);
        if (!batch.element || batch.signature != signature)
            batch.element = mergedElement(parts, !key.material);
        batch.signature = signature;
        result.push_back({batch.element.get(), translation(batch.element->getOrigin())});
        kept[key] = std::move(batch);
    }
    m_Batches = std::move(kept);
    return result;
}

} // namespace tov::scene
