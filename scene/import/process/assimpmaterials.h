#pragma once

#include "scene/import/process/images.h"
#include "scene/import/process/streamwriter.h"

#include <assimp/scene.h>

#include <map>
#include <string>
#include <vector>

namespace tov::importer {

/// Converts the materials of the import library to the metallic-roughness model; images are decoded when a material
/// first needs them.
class AssimpMaterials
{
public:
    /// `texturesEmission`: the format is of fixed-function lighting, where the texture multiplies all of the light.
    AssimpMaterials(const aiScene& scene, StreamWriter& writer, ImageStore& images, bool texturesEmission)
        : m_Scene(scene), m_Writer(writer), m_Images(images), m_TexturesEmission(texturesEmission)
    {}

    /// The index in the stream; `stream::None` for none.
    std::uint32_t material(unsigned int index);

private:
    struct Slot; ///< a texture of the import library

    stream::MaterialRecord convert(const aiMaterial& from, const std::string& place);
    void convertColors(const aiMaterial& from, stream::MaterialRecord& to) const;
    void convertColor(const aiMaterial& from, const std::string& place, stream::MaterialRecord& to);
    void convertNormal(const aiMaterial& from, const std::string& place, stream::MaterialRecord& to);
    void convertMetallicRoughness(const aiMaterial& from, const std::string& place, stream::MaterialRecord& to);
    void convertTextures(const aiMaterial& from, const std::string& place, stream::MaterialRecord& to);
    bool find(const aiMaterial& from, const std::vector<aiTextureType>& types, Slot& slot) const;
    DecodedImage decode(const Slot& slot, const std::string& place);
    /// `convert`: makes the final image from the decoded one. Images are kept by name and use.
    template <typename Convert>
    stream::TextureRecord texture(const Slot& slot, const std::string& use, const std::string& place,
                                  const Convert& convert);

    const aiScene& m_Scene;
    StreamWriter& m_Writer;
    ImageStore& m_Images;
    const bool m_TexturesEmission;
    std::map<unsigned int, std::uint32_t> m_Known;
    std::map<std::string, std::uint32_t> m_KnownImages; ///< by use and path
    std::map<std::string, bool> m_HasAlpha;
};

/// The linear value of an sRGB one (IEC 61966-2-1).
float linearOf(float value);

} // namespace tov::importer
