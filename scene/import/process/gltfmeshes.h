#pragma once

#include "scene/import/process/gltfdata.h"
#include "scene/import/process/gltfmaterials.h"

namespace tov::importer::gltf {

/// Writes the meshes of a glTF file to the stream, one part per primitive.
class MeshReader
{
public:
    MeshReader(const tinygltf::Model& model, StreamWriter& writer, BufferReader& buffers, MaterialReader& materials)
        : m_Model(model), m_Writer(writer), m_Buffers(buffers), m_Materials(materials)
    {}

    /// The mesh of `from`, which is node `node` of the stream; `skin` is its index in the stream.
    void write(const tinygltf::Node& from, std::uint32_t node, std::uint32_t skin);

private:
    /// Where the attributes of a primitive are.
    struct Source
    {
        const tinygltf::Primitive& primitive;
        std::map<std::string, Values> draco;
        std::vector<std::uint32_t> dracoIndices;
        bool isDraco = false;
    };
    void writePrimitive(const Source& source, const tinygltf::Mesh& mesh, MeshData data);
    void decodeDraco(Source& source, const tinygltf::Value& extension);
    Values attribute(const Source& source, const std::string& name, std::size_t vertices, std::size_t components);
    void readAttributes(const Source& source, MeshData& data);
    void readColors(const Source& source, MeshData& data);
    void readJoints(const Source& source, MeshData& data);
    void readMorphs(const Source& source, const tinygltf::Mesh& mesh, MeshData& data);
    void readIndices(const Source& source, MeshData& data);

    const tinygltf::Model& m_Model;
    StreamWriter& m_Writer;
    BufferReader& m_Buffers;
    MaterialReader& m_Materials;
};

} // namespace tov::importer::gltf
