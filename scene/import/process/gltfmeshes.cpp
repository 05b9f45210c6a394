#include "scene/import/process/gltfmeshes.h"

#include "scene/import/process/flatnormals.h"

#include <draco/compression/decode.h>
#include <draco/core/decoder_buffer.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

namespace tov::importer::gltf {

namespace {

[[noreturn]] void fail(const std::string& text)
{
    throw std::runtime_error(text);
}

/// Strips, fans and loops become single primitives; `kind`: corners of each.
std::vector<std::uint32_t> singlePrimitives(const std::vector<std::uint32_t>& from, int mode, std::uint32_t& kind)
{
    std::vector<std::uint32_t> to;
    const std::size_t count = from.size();
    switch (mode) {
    case TINYGLTF_MODE_POINTS:
        kind = 1;
        return from;
    case TINYGLTF_MODE_LINE:
        kind = 2;
        to.assign(from.begin(), from.begin() + std::ptrdiff_t(count / 2 * 2));
        break;
    case TINYGLTF_MODE_LINE_LOOP:
    case TINYGLTF_MODE_LINE_STRIP:
        kind = 2;
        for (std::size_t i = 1; i < count; ++i)
            to.insert(to.end(), {from[i - 1], from[i]});
        if (mode == TINYGLTF_MODE_LINE_LOOP && count > 2)
            to.insert(to.end(), {from.back(), from.front()});
        break;
    case TINYGLTF_MODE_TRIANGLE_STRIP:
        for (std::size_t i = 2; i < count; ++i)
            to.insert(to.end(), {from[i - 2], from[i - 1 + i % 2], from[i - i % 2]});
        break;
    case TINYGLTF_MODE_TRIANGLE_FAN:
        for (std::size_t i = 2; i < count; ++i)
            to.insert(to.end(), {from[i - 1], from[i], from[0]});
        break;
    default:
        to.assign(from.begin(), from.begin() + std::ptrdiff_t(count / 3 * 3));
    }
    return to;
}

std::uint16_t toUnit16(float value)
{
    return std::uint16_t(std::lround(std::clamp(std::isfinite(value) ? value : 1.0f, 0.0f, 1.0f) * 65535));
}

} // namespace

void MeshReader::decodeDraco(Source& source, const tinygltf::Value& extension)
{
    const BufferReader::Bytes bytes = m_Buffers.view(indexOf(extension, "bufferView"));
    draco::DecoderBuffer buffer;
    buffer.Init(reinterpret_cast<const char*>(bytes.data), bytes.size);
    draco::Decoder decoder;
    auto decoded = decoder.DecodeMeshFromBuffer(&buffer);
    if (!decoded.ok())
        fail("the Draco data of a mesh is damaged");
    const draco::Mesh& mesh = *decoded.value();
    const tinygltf::Value* attributes = memberOf(extension, "attributes");
    if (!attributes || !attributes->IsObject())
        fail("a Draco mesh has no attributes");
    for (const std::string& name : attributes->Keys()) {
        const draco::PointAttribute* attribute =
            mesh.GetAttributeByUniqueId(std::uint32_t(std::max(indexOf(*attributes, name.c_str()), 0)));
        if (!attribute || attribute->num_components() < 1 || attribute->num_components() > 4)
            fail("a Draco mesh has no attribute " + name);
        Values& values = source.draco[name];
        values.components = std::size_t(attribute->num_components());
        values.data.resize(values.components * mesh.num_points());
        for (draco::PointIndex i(0); i < mesh.num_points(); ++i)
            if (!attribute->ConvertValue<float>(attribute->mapped_index(i), attribute->num_components(),
                                                values.data.data() + i.value() * values.components))
                fail("the Draco data of a mesh is damaged");
    }
    for (draco::FaceIndex i(0); i < mesh.num_faces(); ++i)
        for (const draco::PointIndex& corner : mesh.face(i))
            source.dracoIndices.push_back(corner.value());
    source.isDraco = true;
}

Values MeshReader::attribute(const Source& source, const std::string& name, std::size_t vertices,
                             std::size_t components)
{
    Values values;
    const auto decoded = source.draco.find(name);
    if (decoded != source.draco.end()) {
        values = decoded->second;
    } else {
        const auto found = source.primitive.attributes.find(name);
        if (found == source.primitive.attributes.end())
            return values;
        values = m_Buffers.values(found->second);
    }
    if (vertices > 0 && values.count() != vertices)
        fail("the attribute " + name + " of a mesh has " + std::to_string(values.count()) + " entries for " +
             std::to_string(vertices) + " vertices");
    if (components > 0 && values.components != components)
        fail("the attribute " + name + " of a mesh has " + std::to_string(values.components) +
             " components instead of " + std::to_string(components));
    return values;
}

void MeshReader::readColors(const Source& source, MeshData& data)
{
    const Values colors = attribute(source, "COLOR_0", data.positions.size() / 3, 0);
    if (colors.components != 3 && colors.components != 4)
        return;
    data.colors.resize(colors.count() * 4);
    for (std::size_t i = 0; i < colors.count(); ++i)
        for (std::size_t c = 0; c < 4; ++c)
            data.colors[4 * i + c] = c < colors.components ? toUnit16(colors.data[i * colors.components + c]) : 65535;
}

void MeshReader::readJoints(const Source& source, MeshData& data)
{
    constexpr int MaxGroups = 4;
    const std::size_t vertices = data.positions.size() / 3;
    std::vector<Values> joints, weights;
    for (int group = 0; group < MaxGroups; ++group) {
        Values joint = attribute(source, "JOINTS_" + std::to_string(group), vertices, 4);
        Values weight = attribute(source, "WEIGHTS_" + std::to_string(group), vertices, 4);
        if (joint.data.empty() || weight.data.empty())
            break;
        joints.push_back(std::move(joint));
        weights.push_back(std::move(weight));
    }
    data.jointGroups = std::uint32_t(joints.size());
    data.joints.reserve(4 * vertices * joints.size());
    data.weights.reserve(4 * vertices * joints.size());
    for (std::size_t vertex = 0; vertex < vertices; ++vertex)
        for (std::size_t group = 0; group < joints.size(); ++group)
            for (std::size_t i = 4 * vertex; i < 4 * vertex + 4; ++i) {
                data.joints.push_back(std::uint16_t(std::clamp(joints[group].data[i], 0.0f, 65535.0f)));
                data.weights.push_back(weights[group].data[i]);
            }
}

void MeshReader::readAttributes(const Source& source, MeshData& data)
{
    data.positions = attribute(source, "POSITION", 0, 3).data;
    const std::size_t vertices = data.positions.size() / 3;
    if (vertices == 0)
        return;
    data.normals = attribute(source, "NORMAL", vertices, 3).data;
    data.tangents = attribute(source, "TANGENT", vertices, 4).data;
    data.uv[0] = attribute(source, "TEXCOORD_0", vertices, 2).data;
    data.uv[1] = attribute(source, "TEXCOORD_1", vertices, 2).data;
    readColors(source, data);
    if (data.skin != stream::None)
        readJoints(source, data);
    if (data.jointGroups == 0)
        data.skin = stream::None;
}

void MeshReader::readMorphs(const Source& source, const tinygltf::Mesh& mesh, MeshData& data)
{
    const auto& targets = source.primitive.targets;
    const auto has = [&targets](const char* name) {
        return std::any_of(targets.begin(), targets.end(),
                           [name](const auto& target) { return target.count(name) > 0; });
    };
    const auto read = [&](const std::map<std::string, int>& target, const char* name) {
        const auto found = target.find(name);
        if (found == target.end())
            return std::vector<float>(data.positions.size(), 0.0f);
        Values values = m_Buffers.values(found->second);
        if (values.data.size() != data.positions.size() || values.components != 3)
            fail("a morph target does not fit its mesh");
        return std::move(values.data);
    };
    const bool hasNormals = has("NORMAL"), hasTangents = has("TANGENT");
    for (const auto& target : targets) {
        MeshData::Morph morph;
        morph.positions = read(target, "POSITION");
        if (hasNormals)
            morph.normals = read(target, "NORMAL");
        if (hasTangents)
            morph.tangents = read(target, "TANGENT");
        data.morphs.push_back(std::move(morph));
    }
    if (data.morphWeights.empty())
        data.morphWeights.assign(mesh.weights.begin(), mesh.weights.end());
    data.morphWeights.resize(targets.size(), 0.0f);
}

void MeshReader::readIndices(const Source& source, MeshData& data)
{
    std::vector<std::uint32_t> indices;
    int mode = source.primitive.mode;
    if (source.isDraco) {
        indices = source.dracoIndices;
        mode = TINYGLTF_MODE_TRIANGLES;
    } else if (source.primitive.indices >= 0) {
        indices = m_Buffers.indices(source.primitive.indices);
    } else {
        indices.resize(data.positions.size() / 3);
        std::iota(indices.begin(), indices.end(), 0u);
    }
    data.indices = singlePrimitives(indices, mode, data.kind);
}

void MeshReader::writePrimitive(const Source& source, const tinygltf::Mesh& mesh, MeshData data)
{
    readAttributes(source, data);
    if (data.positions.empty())
        return;
    readMorphs(source, mesh, data);
    readIndices(source, data);
    if (data.indices.empty())
        return;
    if (data.kind == 3 && data.normals.empty())
        makeFlat(data);
    m_Writer.addMesh(data);
}

void MeshReader::write(const tinygltf::Node& from, std::uint32_t node, std::uint32_t skin)
{
    if (from.mesh < 0)
        return;
    if (std::size_t(from.mesh) >= m_Model.meshes.size())
        fail("a node refers to the mesh " + std::to_string(from.mesh) + ", which does not exist");
    const tinygltf::Mesh& mesh = m_Model.meshes[std::size_t(from.mesh)];
    for (const tinygltf::Primitive& primitive : mesh.primitives) {
        Source source{primitive, {}, {}, false};
        if (const auto* draco = extensionOf(primitive.extensions, "KHR_draco_mesh_compression"))
            decodeDraco(source, *draco);
        MeshData data;
        data.name = mesh.name.empty() ? from.name : mesh.name;
        data.node = node;
        data.skin = skin;
        data.material = m_Materials.material(primitive.material);
        data.morphWeights.assign(from.weights.begin(), from.weights.end());
        writePrimitive(source, mesh, std::move(data));
    }
}

} // namespace tov::importer::gltf
