#include "scene/import/process/assimpscene.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tov::importer {

namespace {

constexpr std::size_t MaxJointGroups = 4;

std::array<double, 16> rowsOf(const aiMatrix4x4& from)
{
    std::array<double, 16> to;
    for (unsigned int row = 0; row < 4; ++row)
        for (unsigned int column = 0; column < 4; ++column)
            to[4 * row + column] = double(from[row][column]);
    return to;
}

template <typename T>
void append(std::vector<float>& to, const T& vector)
{
    to.insert(to.end(), {float(vector.x), float(vector.y), float(vector.z)});
}

std::uint16_t unit16(float value)
{
    return std::uint16_t(std::lround(std::clamp(value, 0.0f, 1.0f) * 65535));
}

/// Some readers of the library create colours for every mesh; all are 0 if the file has none.
bool hasColors(const aiMesh& mesh)
{
    const aiColor4D* colors = mesh.mColors[0];
    return mesh.HasVertexColors(0) && std::any_of(colors, colors + mesh.mNumVertices, [](const aiColor4D& color) {
               return std::max({color.r, color.g, color.b, color.a}) > 0;
           });
}

/// Vertex colours whose alpha is 0 everywhere have no alpha.
void readColors(const aiMesh& mesh, MeshData& data)
{
    const aiColor4D* colors = mesh.mColors[0];
    const bool hasAlpha =
        std::any_of(colors, colors + mesh.mNumVertices, [](const aiColor4D& color) { return color.a > 0; });
    data.colors.reserve(4 * std::size_t(mesh.mNumVertices));
    for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
        for (unsigned int c = 0; c < 3; ++c)
            data.colors.push_back(unit16(linearOf(colors[i][c])));
        data.colors.push_back(hasAlpha && std::isfinite(colors[i].a) ? unit16(colors[i].a) : 65535);
    }
}

/// A frame of a camera or light: -Z along `forward`.
aiMatrix4x4 lookingAlong(aiVector3D position, aiVector3D forward, aiVector3D up)
{
    forward.NormalizeSafe();
    aiVector3D right = forward ^ up;
    if (right.SquareLength() < 1e-12f)
        right = forward ^ (std::abs(forward.y) < 0.9f ? aiVector3D(0, 1, 0) : aiVector3D(1, 0, 0));
    right.NormalizeSafe();
    up = right ^ forward;
    return aiMatrix4x4(right.x, up.x, -forward.x, position.x, right.y, up.y, -forward.y, position.y, right.z, up.z,
                       -forward.z, position.z, 0, 0, 0, 1);
}

} // namespace

std::uint32_t AssimpScene::nodeOf(const aiString& name) const
{
    const auto found = m_NodeByName.find(name.C_Str());
    return found == m_NodeByName.end() ? 0 : found->second;
}

void AssimpScene::writeNodes(const aiMatrix4x4& rootTransform)
{
    m_Nodes.emplace_back(m_Scene.mRootNode, stream::None);
    for (std::size_t i = 0; i < m_Nodes.size(); ++i) {
        const auto [node, parent] = m_Nodes[i];
        const aiMatrix4x4 transform = i == 0 ? rootTransform * node->mTransformation : node->mTransformation;
        m_Writer.addNode(node->mName.C_Str(), parent, rowsOf(transform).data());
        m_NodeByName.emplace(node->mName.C_Str(), std::uint32_t(i));
        for (unsigned int k = 0; k < node->mNumChildren; ++k)
            m_Nodes.emplace_back(node->mChildren[k], std::uint32_t(i));
    }
}

void AssimpScene::readVertices(const aiMesh& mesh, MeshData& data) const
{
    const unsigned int count = mesh.mNumVertices;
    data.positions.reserve(3 * std::size_t(count));
    for (unsigned int i = 0; i < count; ++i)
        append(data.positions, mesh.mVertices[i]);
    // The library smooths the normals of .blend files over every edge; the creases are found later.
    const bool hasNormals = mesh.HasNormals() && m_Job.suffix != "blend";
    for (unsigned int i = 0; hasNormals && i < count; ++i)
        append(data.normals, mesh.mNormals[i]);
    for (unsigned int set = 0; set < 2; ++set)
        for (unsigned int i = 0; mesh.HasTextureCoords(set) && i < count; ++i)
            data.uv[set].insert(data.uv[set].end(),
                                {float(mesh.mTextureCoords[set][i].x), 1 - float(mesh.mTextureCoords[set][i].y)});
    if (hasColors(mesh))
        readColors(mesh, data);
}

void AssimpScene::readBones(const aiMesh& mesh, MeshData& data)
{
    struct Influence
    {
        std::uint16_t joint;
        float weight;
    };
    std::vector<std::uint32_t> joints;
    std::vector<double> inverseBind;
    std::vector<std::vector<Influence>> influences(mesh.mNumVertices);
    for (unsigned int i = 0; i < mesh.mNumBones && i < 65536; ++i) {
        const aiBone& bone = *mesh.mBones[i];
        const auto rows = rowsOf(bone.mOffsetMatrix);
        inverseBind.insert(inverseBind.end(), rows.begin(), rows.end());
        if (m_NodeByName.count(bone.mName.C_Str()) == 0)
            m_Writer.addWarning(std::string("the joint '") + bone.mName.C_Str() + "' is missing");
        joints.push_back(nodeOf(bone.mName));
        for (unsigned int k = 0; k < bone.mNumWeights; ++k)
            if (bone.mWeights[k].mVertexId < mesh.mNumVertices && bone.mWeights[k].mWeight > 0)
                influences[bone.mWeights[k].mVertexId].push_back({std::uint16_t(i), bone.mWeights[k].mWeight});
    }
    std::size_t most = 1;
    for (const auto& list : influences)
        most = std::max(most, list.size());
    const std::size_t groups = std::min((most + 3) / 4, MaxJointGroups);
    data.jointGroups = std::uint32_t(groups);
    for (auto& list : influences) {
        std::stable_sort(list.begin(), list.end(),
                         [](const Influence& a, const Influence& b) { return a.weight > b.weight; });
        list.resize(4 * groups, {0, 0});
        for (const Influence& influence : list) {
            data.joints.push_back(influence.joint);
            data.weights.push_back(influence.weight);
        }
    }
    data.skin = m_Writer.addSkin(joints, inverseBind);
}

void AssimpScene::readMorphs(const aiMesh& mesh, MeshData& data) const
{
    bool hasNormals = !data.normals.empty();
    for (unsigned int i = 0; i < mesh.mNumAnimMeshes; ++i)
        hasNormals = hasNormals && mesh.mAnimMeshes[i]->HasNormals();
    for (unsigned int i = 0; i < mesh.mNumAnimMeshes; ++i) {
        const aiAnimMesh& target = *mesh.mAnimMeshes[i];
        MeshData::Morph morph;
        morph.positions.resize(data.positions.size());
        if (hasNormals)
            morph.normals.resize(data.normals.size());
        if (target.mNumVertices == mesh.mNumVertices)
            for (unsigned int k = 0; k < mesh.mNumVertices; ++k)
                for (unsigned int axis = 0; axis < 3; ++axis) {
                    if (target.HasPositions())
                        morph.positions[3 * k + axis] = float(target.mVertices[k][axis] - mesh.mVertices[k][axis]);
                    if (hasNormals)
                        morph.normals[3 * k + axis] = float(target.mNormals[k][axis] - mesh.mNormals[k][axis]);
                }
        data.morphs.push_back(std::move(morph));
        data.morphWeights.push_back(std::isfinite(target.mWeight) ? target.mWeight : 0.0f);
    }
}

void AssimpScene::writeMesh(const aiMesh& mesh, std::uint32_t node, const std::string& nodeName)
{
    MeshData data;
    data.name = mesh.mName.length > 0 ? mesh.mName.C_Str() : nodeName;
    data.node = node;
    data.material = m_Materials.material(mesh.mMaterialIndex);
    readVertices(mesh, data);
    if (mesh.HasBones())
        readBones(mesh, data);
    readMorphs(mesh, data);
    if (!data.morphs.empty()) {
        m_MorphedNodes.emplace(nodeName, MorphedNode{node, data.morphs.size()});
        if (mesh.mName.C_Str() != nodeName)
            m_MorphedNodes.emplace(mesh.mName.C_Str(), MorphedNode{node, data.morphs.size()});
    }
    // Surfaces, lines and points may share one mesh; each kind becomes a part.
    for (const unsigned int corners : {3u, 2u, 1u}) {
        data.kind = corners;
        data.indices.clear();
        for (unsigned int i = 0; i < mesh.mNumFaces; ++i)
            if (mesh.mFaces[i].mNumIndices == corners)
                data.indices.insert(data.indices.end(), mesh.mFaces[i].mIndices, mesh.mFaces[i].mIndices + corners);
        if (!data.indices.empty())
            m_Writer.addMesh(data);
    }
}

void AssimpScene::writeCameras()
{
    for (unsigned int i = 0; i < m_Scene.mNumCameras; ++i) {
        const aiCamera& camera = *m_Scene.mCameras[i];
        const aiMatrix4x4 frame = lookingAlong(camera.mPosition, camera.mLookAt, camera.mUp);
        stream::CameraRecord record{};
        record.node = m_Writer.addNode(camera.mName.C_Str(), nodeOf(camera.mName), rowsOf(frame).data());
        const double aspect = std::isfinite(camera.mAspect) && camera.mAspect > 0 ? double(camera.mAspect) : 1;
        record.orthographic = camera.mOrthographicWidth > 0;
        record.fieldOfView = 2 * std::atan(std::tan(double(camera.mHorizontalFOV) / 2) / aspect);
        record.halfHeight = double(camera.mOrthographicWidth) / aspect;
        m_Writer.addCamera(record, camera.mName.C_Str());
    }
}

void AssimpScene::writeLights()
{
    for (unsigned int i = 0; i < m_Scene.mNumLights; ++i) {
        const aiLight& light = *m_Scene.mLights[i];
        if (light.mType != aiLightSource_DIRECTIONAL && light.mType != aiLightSource_POINT &&
            light.mType != aiLightSource_SPOT)
            continue;
        stream::LightRecord record{};
        record.node = nodeOf(light.mName);
        record.kind = light.mType == aiLightSource_SPOT ? 2 : light.mType == aiLightSource_POINT ? 1 : 0;
        record.intensity = 1;
        for (unsigned int c = 0; c < 3; ++c)
            record.color[c] = float(light.mColorDiffuse[c]);
        m_Writer.addLight(record, light.mName.C_Str());
    }
}

void AssimpScene::write(const aiMatrix4x4& rootTransform)
{
    writeNodes(rootTransform);
    for (std::size_t i = 0; i < m_Nodes.size(); ++i)
        for (unsigned int k = 0; k < m_Nodes[i].first->mNumMeshes; ++k)
            writeMesh(*m_Scene.mMeshes[m_Nodes[i].first->mMeshes[k]], std::uint32_t(i),
                      m_Nodes[i].first->mName.C_Str());
    writeAnimations();
    writeCameras();
    writeLights();
}

} // namespace tov::importer
