// Reads glTF 2.0 (Khronos Group, "glTF 2.0 Specification").

#include "scene/import/process/gltfmeshes.h"
#include "scene/import/process/gltfsource.h"
#include "scene/import/process/readers.h"
#include "scene/import/process/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace tov::importer {

namespace {

using namespace gltf;

using Transform = std::array<double, 16>; ///< row by row

constexpr Transform Identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// Column by column to row by row.
template <typename T>
Transform transposed(const T* from)
{
    Transform to;
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 4; ++column)
            to[4 * row + column] = double(from[4 * column + row]);
    return to;
}

Transform transformOf(const tinygltf::Node& node)
{
    if (node.matrix.size() == 16)
        return transposed(node.matrix.data());
    const std::vector<double> t = node.translation.size() == 3 ? node.translation : std::vector<double>{0, 0, 0};
    const std::vector<double> s = node.scale.size() == 3 ? node.scale : std::vector<double>{1, 1, 1};
    std::vector<double> q = node.rotation.size() == 4 ? node.rotation : std::vector<double>{0, 0, 0, 1};
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if (length > 0)
        for (double& value : q)
            value /= length;
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    return {(1 - 2 * (y * y + z * z)) * s[0],
            2 * (x * y - z * w) * s[1],
            2 * (x * z + y * w) * s[2],
            t[0],
            2 * (x * y + z * w) * s[0],
            (1 - 2 * (x * x + z * z)) * s[1],
            2 * (y * z - x * w) * s[2],
            t[1],
            2 * (x * z - y * w) * s[0],
            2 * (y * z + x * w) * s[1],
            (1 - 2 * (x * x + y * y)) * s[2],
            t[2],
            0,
            0,
            0,
            1};
}

class Reader
{
public:
    Reader(ImportJob& job, const tinygltf::Model& model)
        : m_Job(job), m_Model(model), m_Buffers(model), m_Images(job.writer, job.folder),
          m_Materials(model, job.writer, m_Images), m_Meshes(model, job.writer, m_Buffers, m_Materials),
          m_Nodes(model.nodes.size(), stream::None), m_Skins(model.skins.size(), stream::None)
    {}

    void read()
    {
        writeNodes();
        for (std::size_t i = 0; i < m_Shown.size(); ++i) {
            reportProgress(double(i) / double(m_Shown.size()));
            writeContent(m_Model.nodes[std::size_t(m_Shown[i])], m_Nodes[std::size_t(m_Shown[i])]);
        }
        for (std::size_t i = 0; i < m_Model.animations.size(); ++i)
            writeAnimation(m_Model.animations[i], label("animation", int(i), m_Model.animations[i].name));
    }

private:
    void writeNodes();
    void addTree(int node, bool isShown);
    void writeContent(const tinygltf::Node& node, std::uint32_t element);
    std::uint32_t skin(int index);
    void writeCamera(const tinygltf::Node& node, std::uint32_t element);
    void writeLight(const tinygltf::Node& node, std::uint32_t element);
    void writeAnimation(const tinygltf::Animation& animation, const std::string& place);
    bool readChannel(const tinygltf::Animation& animation, const tinygltf::AnimationChannel& channel,
                     const std::string& place, ChannelData& data);

    ImportJob& m_Job;
    const tinygltf::Model& m_Model;
    BufferReader m_Buffers;
    ImageStore m_Images;
    MaterialReader m_Materials;
    MeshReader m_Meshes;
    std::vector<std::uint32_t> m_Nodes; ///< nodes of the file to those of the stream
    std::vector<std::uint32_t> m_Skins;
    std::vector<int> m_Shown; ///< nodes of the scene, parents first
};

void Reader::addTree(int root, bool isShown)
{
    std::vector<std::pair<int, std::uint32_t>> open{{root, 0}};
    while (!open.empty()) {
        const auto [index, parent] = open.back();
        open.pop_back();
        if (index < 0 || std::size_t(index) >= m_Model.nodes.size())
            throw std::runtime_error("the node " + std::to_string(index) + " does not exist");
        std::uint32_t& element = m_Nodes[std::size_t(index)];
        const tinygltf::Node& node = m_Model.nodes[std::size_t(index)];
        if (element != stream::None) {
            m_Job.writer.addWarning(label("node", index, node.name) +
                                    " has more than one parent or is its own; only the first counts");
            continue;
        }
        const std::string name = node.name.empty() ? "node " + std::to_string(index) : node.name;
        element = m_Job.writer.addNode(name, parent, transformOf(node).data());
        if (isShown)
            m_Shown.push_back(index);
        for (auto child = node.children.rbegin(); child != node.children.rend(); ++child)
            open.emplace_back(*child, element);
    }
}

void Reader::writeNodes()
{
    m_Job.writer.addNode(std::string(), stream::None, Identity.data());
    std::vector<int> roots;
    if (!m_Model.scenes.empty()) {
        const int scene = std::clamp(m_Model.defaultScene, 0, int(m_Model.scenes.size()) - 1);
        roots = m_Model.scenes[std::size_t(scene)].nodes;
    } else {
        // Without a scene, every root node is shown.
        std::vector<bool> isChild(m_Model.nodes.size());
        for (const tinygltf::Node& node : m_Model.nodes)
            for (const int child : node.children)
                if (child >= 0 && std::size_t(child) < isChild.size())
                    isChild[std::size_t(child)] = true;
        for (std::size_t i = 0; i < isChild.size(); ++i)
            if (!isChild[i])
                roots.push_back(int(i));
    }
    for (const int root : roots)
        addTree(root, true);
    // Joints may be outside of the scene.
    for (const tinygltf::Skin& skin : m_Model.skins)
        for (const int joint : skin.joints)
            if (joint >= 0 && std::size_t(joint) < m_Nodes.size() && m_Nodes[std::size_t(joint)] == stream::None)
                addTree(joint, false);
}

std::uint32_t Reader::skin(int index)
{
    if (index < 0)
        return stream::None;
    if (std::size_t(index) >= m_Model.skins.size())
        throw std::runtime_error("the skin " + std::to_string(index) + " does not exist");
    std::uint32_t& known = m_Skins[std::size_t(index)];
    if (known != stream::None)
        return known;
    const tinygltf::Skin& from = m_Model.skins[std::size_t(index)];
    std::vector<std::uint32_t> joints;
    for (const int joint : from.joints) {
        if (joint < 0 || std::size_t(joint) >= m_Nodes.size())
            throw std::runtime_error("a joint of " + label("skin", index, from.name) + " does not exist");
        joints.push_back(m_Nodes[std::size_t(joint)]);
    }
    std::vector<double> inverseBind;
    Values matrices;
    if (from.inverseBindMatrices >= 0)
        matrices = m_Buffers.values(from.inverseBindMatrices);
    if (from.inverseBindMatrices >= 0 && (matrices.components != 16 || matrices.count() < joints.size()))
        throw std::runtime_error("the matrices of " + label("skin", index, from.name) + " do not fit its joints");
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const Transform matrix = matrices.data.empty() ? Identity : transposed(matrices.data.data() + 16 * i);
        inverseBind.insert(inverseBind.end(), matrix.begin(), matrix.end());
    }
    known = m_Job.writer.addSkin(joints, inverseBind);
    return known;
}

void Reader::writeContent(const tinygltf::Node& node, std::uint32_t element)
{
    m_Meshes.write(node, element, node.mesh >= 0 ? skin(node.skin) : stream::None);
    writeCamera(node, element);
    writeLight(node, element);
}

void Reader::writeCamera(const tinygltf::Node& node, std::uint32_t element)
{
    if (node.camera < 0 || std::size_t(node.camera) >= m_Model.cameras.size())
        return;
    const tinygltf::Camera& camera = m_Model.cameras[std::size_t(node.camera)];
    stream::CameraRecord record{};
    record.node = element;
    record.orthographic = camera.type == "orthographic";
    record.fieldOfView = camera.perspective.yfov;
    record.halfHeight = camera.orthographic.ymag;
    m_Job.writer.addCamera(record, node.name.empty() ? camera.name : node.name);
}

void Reader::writeLight(const tinygltf::Node& node, std::uint32_t element)
{
    const auto* extension = extensionOf(node.extensions, "KHR_lights_punctual");
    const int index = extension ? indexOf(*extension, "light") : -1;
    if (index < 0 || std::size_t(index) >= m_Model.lights.size())
        return;
    const tinygltf::Light& light = m_Model.lights[std::size_t(index)];
    stream::LightRecord record{};
    record.node = element;
    record.kind = light.type == "spot" ? 2 : light.type == "point" ? 1 : 0;
    for (std::size_t i = 0; i < 3; ++i)
        record.color[i] = i < light.color.size() ? float(light.color[i]) : 1;
    record.intensity = float(light.intensity);
    m_Job.writer.addLight(record, node.name.empty() ? light.name : node.name);
}

bool Reader::readChannel(const tinygltf::Animation& animation, const tinygltf::AnimationChannel& channel,
                         const std::string& place, ChannelData& data)
{
    if (channel.sampler < 0 || std::size_t(channel.sampler) >= animation.samplers.size() || channel.target_node < 0)
        return false;
    if (std::size_t(channel.target_node) >= m_Nodes.size())
        throw std::runtime_error(place + " moves a missing node");
    data.node = m_Nodes[std::size_t(channel.target_node)];
    if (data.node == stream::None)
        return false; // not part of the scene
    static const std::array<const char*, 4> paths = {"translation", "rotation", "scale", "weights"};
    const auto path = std::find(paths.begin(), paths.end(), channel.target_path);
    if (path == paths.end()) {
        m_Job.writer.addWarning(place + ": the property '" + channel.target_path.substr(0, 40) +
                                "' cannot be animated");
        return false;
    }
    data.path = std::uint8_t(path - paths.begin());
    const tinygltf::AnimationSampler& sampler = animation.samplers[std::size_t(channel.sampler)];
    data.interpolation = sampler.interpolation == "STEP" ? 0 : sampler.interpolation == "CUBICSPLINE" ? 2 : 1;
    const Values times = m_Buffers.values(sampler.input);
    Values values = m_Buffers.values(sampler.output);
    data.times.assign(times.data.begin(), times.data.end());
    data.values = std::move(values.data);
    std::size_t perKey = data.path == 1 ? 4 : 3;
    if (data.path == 3) {
        const int mesh = m_Model.nodes[std::size_t(channel.target_node)].mesh;
        if (mesh < 0 || std::size_t(mesh) >= m_Model.meshes.size() ||
            m_Model.meshes[std::size_t(mesh)].primitives.empty())
            return false;
        perKey = m_Model.meshes[std::size_t(mesh)].primitives.front().targets.size();
    }
    return cleanKeys(data, data.interpolation == 2 ? 3 * perKey : perKey, place, m_Job.writer);
}

void Reader::writeAnimation(const tinygltf::Animation& animation, const std::string& place)
{
    std::vector<ChannelData> channels;
    for (const tinygltf::AnimationChannel& channel : animation.channels) {
        ChannelData data;
        try {
            if (readChannel(animation, channel, place, data))
                channels.push_back(std::move(data));
        } catch (const std::runtime_error& error) {
            m_Job.writer.addWarning(place + ": " + error.what());
        }
    }
    m_Job.writer.addAnimation(animation.name, channels);
}

} // namespace

void readGltf(ImportJob& job)
{
    tinygltf::Model model;
    if (!load(job.content(), job.folder, model)) {
        readWithAssimp(job);
        return;
    }
    Reader(job, model).read();
}

} // namespace tov::importer
