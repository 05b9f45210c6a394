#include "scene/import/process/gltfmaterials.h"

#include <algorithm>
#include <cmath>

namespace tov::importer::gltf {

namespace {

std::uint8_t wrapOf(int mode)
{
    switch (mode) {
    case TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE:
        return 1;
    case TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT:
        return 2;
    default:
        return 0;
    }
}

std::uint8_t minFilterOf(int filter)
{
    switch (filter) {
    case TINYGLTF_TEXTURE_FILTER_NEAREST:
        return 0;
    case TINYGLTF_TEXTURE_FILTER_LINEAR:
        return 1;
    case TINYGLTF_TEXTURE_FILTER_NEAREST_MIPMAP_NEAREST:
        return 2;
    case TINYGLTF_TEXTURE_FILTER_LINEAR_MIPMAP_NEAREST:
        return 3;
    case TINYGLTF_TEXTURE_FILTER_NEAREST_MIPMAP_LINEAR:
        return 4;
    default:
        return 5;
    }
}

/// KHR_texture_transform: scale, then counter-clockwise rotation of the texture, then offset.
void applyTransform(const tinygltf::Value& extension, stream::TextureRecord& record)
{
    const auto offset = numbersOf(extension, "offset", {0, 0}), scale = numbersOf(extension, "scale", {1, 1});
    const double angle = numberOf(extension, "rotation", 0);
    const double c = std::cos(angle), s = std::sin(angle);
    const double transform[6] = {c * scale[0], s * scale[1], offset[0], -s * scale[0], c * scale[1], offset[1]};
    std::copy(transform, transform + 6, record.transform);
    const int uvSet = indexOf(extension, "texCoord");
    if (uvSet >= 0)
        record.uvSet = std::uint32_t(uvSet);
}

void copyNumbers(const std::vector<double>& from, float* to, std::size_t count)
{
    for (std::size_t i = 0; i < std::min(count, from.size()); ++i)
        to[i] = float(from[i]);
}

float largest(const std::vector<double>& values)
{
    return float(std::max({values[0], values[1], values[2]}));
}

} // namespace

int MaterialReader::imageIndexOf(const tinygltf::Texture& texture) const
{
    if (const auto* webp = extensionOf(texture.extensions, "EXT_texture_webp"))
        if (indexOf(*webp, "source") >= 0)
            return indexOf(*webp, "source");
    return texture.source;
}

std::uint32_t MaterialReader::image(int index, const std::string& place)
{
    if (index < 0 || std::size_t(index) >= m_Model.images.size()) {
        m_Writer.addWarning("a texture of " + place + " has no image that can be read");
        return stream::None;
    }
    const auto known = m_KnownImages.find(index);
    if (known != m_KnownImages.end())
        return known->second;
    const tinygltf::Image& image = m_Model.images[std::size_t(index)];
    const std::string name = image.uri.empty() ? label("image", index, image.name) : image.uri;
    const std::uint32_t result = image.image.empty()
                                     ? m_Images.addFile(name, place)
                                     : m_Images.addEncoded(name, image.image.data(), image.image.size(), place);
    m_KnownImages.emplace(index, result);
    return result;
}

stream::TextureRecord MaterialReader::textureAt(int index, int uvSet, const tinygltf::Value* transform,
                                                const std::string& place)
{
    stream::TextureRecord record;
    if (index < 0)
        return record;
    if (std::size_t(index) >= m_Model.textures.size()) {
        m_Writer.addWarning(place + " refers to the texture " + std::to_string(index) + ", which does not exist");
        return record;
    }
    const tinygltf::Texture& texture = m_Model.textures[std::size_t(index)];
    record.image = image(imageIndexOf(texture), place);
    record.uvSet = std::uint32_t(std::max(uvSet, 0));
    if (transform)
        applyTransform(*transform, record);
    if (record.uvSet > 1) {
        m_Writer.addWarning(place + " uses the texture coordinates " + std::to_string(record.uvSet) +
                            "; only the first two sets are supported");
        record.uvSet = 0;
    }
    if (texture.sampler >= 0 && std::size_t(texture.sampler) < m_Model.samplers.size()) {
        const tinygltf::Sampler& sampler = m_Model.samplers[std::size_t(texture.sampler)];
        record.wrapU = wrapOf(sampler.wrapS);
        record.wrapV = wrapOf(sampler.wrapT);
        record.minFilter = minFilterOf(sampler.minFilter);
        record.magFilter = sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST ? 0 : 1;
    }
    return record;
}

template <typename Info>
stream::TextureRecord MaterialReader::texture(const Info& info, const std::string& place)
{
    return textureAt(info.index, info.texCoord, extensionOf(info.extensions, "KHR_texture_transform"), place);
}

stream::TextureRecord MaterialReader::textureOf(const tinygltf::Value& object, const char* key,
                                                const std::string& place)
{
    const tinygltf::Value* info = memberOf(object, key);
    if (!info)
        return {};
    const tinygltf::Value* extensions = memberOf(*info, "extensions");
    return textureAt(indexOf(*info, "index"), indexOf(*info, "texCoord"),
                     extensions ? memberOf(*extensions, "KHR_texture_transform") : nullptr, place);
}

void MaterialReader::convertSpecularGlossiness(const tinygltf::Value& from, const std::string& place,
                                               stream::MaterialRecord& to)
{
    const auto diffuse = numbersOf(from, "diffuseFactor", {1, 1, 1, 1});
    const auto specular = numbersOf(from, "specularFactor", {1, 1, 1});
    to.roughness = float(1 - std::clamp(numberOf(from, "glossinessFactor", 1), 0.0, 1.0));
    to.baseColorTexture = textureOf(from, "diffuseTexture", place);
    // Anything that reflects more than a dielectric (4 %) is treated as metal.
    constexpr float Dielectric = 0.04f;
    const bool hasMap = memberOf(from, "specularGlossinessTexture") != nullptr;
    const float strength = hasMap ? 0 : largest(specular);
    to.metallic = largest(diffuse) < strength ? std::clamp((strength - Dielectric) / (1 - Dielectric), 0.0f, 1.0f) : 0;
    for (std::size_t i = 0; i < 3; ++i)
        to.baseColor[i] = float(diffuse[i] * (1 - double(to.metallic)) + specular[i] * double(to.metallic));
    to.baseColor[3] = float(diffuse[3]);
    if (hasMap)
        to.roughness = std::max(to.roughness, 0.5f);
}

void MaterialReader::convertExtensions(const tinygltf::Material& from, const std::string& place,
                                       stream::MaterialRecord& to)
{
    const auto get = [&from](const char* name) { return extensionOf(from.extensions, name); };
    if (const auto* value = get("KHR_materials_pbrSpecularGlossiness"))
        convertSpecularGlossiness(*value, place, to);
    to.unlit = get("KHR_materials_unlit") != nullptr;
    if (const auto* value = get("KHR_materials_emissive_strength"))
        for (float& channel : to.emissive)
            channel *= float(numberOf(*value, "emissiveStrength", 1));
    if (const auto* value = get("KHR_materials_clearcoat")) {
        to.clearcoat = float(numberOf(*value, "clearcoatFactor", 0));
        to.clearcoatRoughness = float(numberOf(*value, "clearcoatRoughnessFactor", 0));
    }
    if (const auto* value = get("KHR_materials_transmission"))
        to.transmission = float(numberOf(*value, "transmissionFactor", 0));
    if (const auto* value = get("KHR_materials_ior"))
        to.indexOfRefraction = float(numberOf(*value, "ior", 1.5));
}

void MaterialReader::warnAboutTextures(const tinygltf::Material& from, const std::string& place)
{
    static const std::pair<const char*, std::vector<const char*>> unsupported[] = {
        {"KHR_materials_clearcoat", {"clearcoatTexture", "clearcoatRoughnessTexture", "clearcoatNormalTexture"}},
        {"KHR_materials_transmission", {"transmissionTexture"}},
        {"KHR_materials_pbrSpecularGlossiness", {"specularGlossinessTexture"}}};
    for (const auto& [name, textures] : unsupported) {
        const auto* extension = extensionOf(from.extensions, name);
        if (extension && std::any_of(textures.begin(), textures.end(),
                                     [extension](const char* key) { return memberOf(*extension, key) != nullptr; }))
            m_Writer.addWarning(place + ": textures of " + name + " are not supported, only its factors");
    }
}

stream::MaterialRecord MaterialReader::convert(const tinygltf::Material& from, const std::string& place)
{
    stream::MaterialRecord to;
    const tinygltf::PbrMetallicRoughness& pbr = from.pbrMetallicRoughness;
    copyNumbers(pbr.baseColorFactor, to.baseColor, 4);
    to.metallic = float(pbr.metallicFactor);
    to.roughness = float(pbr.roughnessFactor);
    copyNumbers(from.emissiveFactor, to.emissive, 3);
    to.baseColorTexture = texture(pbr.baseColorTexture, place);
    to.metallicRoughnessTexture = texture(pbr.metallicRoughnessTexture, place);
    to.normalTexture = texture(from.normalTexture, place);
    to.normalScale = float(from.normalTexture.scale);
    to.occlusionTexture = texture(from.occlusionTexture, place);
    to.occlusionStrength = float(from.occlusionTexture.strength);
    to.emissiveTexture = texture(from.emissiveTexture, place);
    to.alphaMode = from.alphaMode == "BLEND" ? 2 : from.alphaMode == "MASK" ? 1 : 0;
    to.alphaCutoff = float(from.alphaCutoff);
    to.doubleSided = from.doubleSided;
    convertExtensions(from, place, to);
    warnAboutTextures(from, place);
    return to;
}

std::uint32_t MaterialReader::material(int index)
{
    if (index < 0)
        return stream::None;
    const auto known = m_Known.find(index);
    if (known != m_Known.end())
        return known->second;
    std::uint32_t result = stream::None;
    if (std::size_t(index) < m_Model.materials.size()) {
        const tinygltf::Material& from = m_Model.materials[std::size_t(index)];
        result = m_Writer.addMaterial(convert(from, label("material", index, from.name)), from.name);
    } else {
        m_Writer.addWarning("a mesh refers to the material " + std::to_string(index) + ", which does not exist");
    }
    m_Known.emplace(index, result);
    return result;
}

} // namespace tov::importer::gltf
