#pragma once

#include "scene/import/process/gltfdata.h"
#include "scene/import/process/images.h"

#include <map>
#include <vector>

namespace tov::importer::gltf {

/// Converts the materials of a glTF file; images are decoded when a material first needs them.
class MaterialReader
{
public:
    MaterialReader(const tinygltf::Model& model, StreamWriter& writer, ImageStore& images)
        : m_Model(model), m_Writer(writer), m_Images(images)
    {}

    /// The index in the stream; `stream::None` for none.
    std::uint32_t material(int index);

private:
    stream::MaterialRecord convert(const tinygltf::Material& from, const std::string& place);
    void convertExtensions(const tinygltf::Material& from, const std::string& place, stream::MaterialRecord& to);
    void warnAboutTextures(const tinygltf::Material& from, const std::string& place);
    void convertSpecularGlossiness(const tinygltf::Value& from, const std::string& place, stream::MaterialRecord& to);
    /// A texture of the core format, or of an extension (where it is a plain object).
    template <typename Info>
    stream::TextureRecord texture(const Info& info, const std::string& place);
    stream::TextureRecord textureOf(const tinygltf::Value& object, const char* key, const std::string& place);
    stream::TextureRecord textureAt(int index, int uvSet, const tinygltf::Value* transform, const std::string& place);
    std::uint32_t image(int index, const std::string& place);
    int imageIndexOf(const tinygltf::Texture& texture) const;

    const tinygltf::Model& m_Model;
    StreamWriter& m_Writer;
    ImageStore& m_Images;
    std::map<int, std::uint32_t> m_Known;       ///< materials
    std::map<int, std::uint32_t> m_KnownImages; ///< images
};

} // namespace tov::importer::gltf
