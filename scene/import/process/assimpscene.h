#pragma once

#include "scene/import/process/assimpmaterials.h"
#include "scene/import/process/readers.h"

#include <assimp/scene.h>

#include <map>
#include <string>
#include <vector>

namespace tov::importer {

/// Writes a scene of the import library to the stream.
class AssimpScene
{
public:
    AssimpScene(const aiScene& scene, ImportJob& job)
        : m_Scene(scene), m_Job(job), m_Writer(job.writer), m_Images(job.writer, job.folder),
          m_Materials(scene, job.writer, m_Images, job.suffix != "dae" && job.suffix != "zae" && job.suffix != "fbx")
    {}

    /// `rootTransform`: row by row, applied after that of the root node.
    void write(const aiMatrix4x4& rootTransform);

private:
    struct MorphedNode
    {
        std::uint32_t index;
        std::size_t targets;
    };

    void writeNodes(const aiMatrix4x4& rootTransform);
    void writeMesh(const aiMesh& mesh, std::uint32_t node, const std::string& nodeName);
    void readVertices(const aiMesh& mesh, MeshData& data) const;
    void readBones(const aiMesh& mesh, MeshData& data);
    void readMorphs(const aiMesh& mesh, MeshData& data) const;
    void writeCameras();
    void writeLights();
    void writeAnimations();
    void writeNodeChannels(const aiNodeAnim& from, double perSecond, const std::string& place,
                           std::vector<ChannelData>& channels);
    void writeMorphChannel(const aiMeshMorphAnim& from, double perSecond, const std::string& place,
                           std::vector<ChannelData>& channels);
    std::uint32_t nodeOf(const aiString& name) const;

    const aiScene& m_Scene;
    ImportJob& m_Job;
    StreamWriter& m_Writer;
    ImageStore m_Images;
    AssimpMaterials m_Materials;
    std::vector<std::pair<const aiNode*, std::uint32_t>>
        m_Nodes; ///< with their parents; the index is that in the stream
    std::map<std::string, std::uint32_t> m_NodeByName;
    std::multimap<std::string, MorphedNode> m_MorphedNodes; ///< by node and by mesh name
};

} // namespace tov::importer
