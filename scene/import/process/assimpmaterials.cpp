#include "scene/import/process/assimpmaterials.h"

#include "scene/import/process/imagetools.h"

#include <assimp/GltfMaterial.h>
#include <assimp/material.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tov::importer {

struct AssimpMaterials::Slot
{
    std::string path;
    int uvSet = 0;
    aiUVTransform transform;
    aiTextureMapMode wrap[2] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
    aiTextureType type = aiTextureType_NONE;
};

namespace {

std::uint8_t wrapOf(aiTextureMapMode mode)
{
    return mode == aiTextureMapMode_Mirror ? 2 : mode == aiTextureMapMode_Wrap ? 0 : 1;
}

/// The library counts v from the bottom row, the stream from the top row; `MeshData` has v flipped.
void setTransform(const aiUVTransform& from, stream::TextureRecord& record)
{
    const double c = std::cos(double(from.mRotation)), s = std::sin(double(from.mRotation));
    // Scaling, then rotation about the centre, then translation.
    const double a = c * from.mScaling.x, b = -s * from.mScaling.y, d = s * from.mScaling.x, e = c * from.mScaling.y;
    const double x = 0.5 - 0.5 * c + 0.5 * s + from.mTranslation.x, y = 0.5 - 0.5 * s - 0.5 * c + from.mTranslation.y;
    const double transform[6] = {a, -b, b + x, -d, e, 1 - e - y};
    for (std::size_t i = 0; i < 6; ++i)
        record.transform[i] = std::isfinite(transform[i]) ? float(transform[i]) : record.transform[i];
}

template <typename Key>
bool getColor(const aiMaterial& from, const char* key, unsigned int type, unsigned int index, Key& color)
{
    return from.Get(key, type, index, color) == AI_SUCCESS && std::isfinite(color.r) && std::isfinite(color.g) &&
           std::isfinite(color.b);
}

bool getNumber(const aiMaterial& from, const char* key, unsigned int type, unsigned int index, float& value)
{
    ai_real number = 0;
    if (from.Get(key, type, index, number) != AI_SUCCESS || !std::isfinite(number))
        return false;
    value = float(number);
    return true;
}

/// Roughness of a Blinn-Phong exponent: the exponent n is that of a lobe of the width sqrt(2 / (n + 2)), which is the
/// square of the roughness (B. Karis, "Specular BRDF Reference").
float roughnessOf(float exponent)
{
    return std::clamp(std::pow(2 / (std::max(exponent, 0.0f) + 2), 0.25f), 0.05f, 1.0f);
}

/// True for the materials that the library generates if the file has none.
bool isMadeUp(const aiMaterial& material, const std::string& name)
{
    constexpr const char* NameIn3ds = "%%%DEFAULT";
    // The material of OFF files has neither a name nor a shading model.
    int shading = 0;
    const bool isBare = name.empty() && material.GetTextureCount(aiTextureType_DIFFUSE) == 0 &&
                        material.Get(AI_MATKEY_SHADING_MODEL, shading) != AI_SUCCESS && material.mNumProperties <= 2;
    return name == AI_DEFAULT_MATERIAL_NAME || name == NameIn3ds || isBare;
}

} // namespace

float linearOf(float value)
{
    if (!std::isfinite(value))
        return 1;
    value = std::clamp(value, 0.0f, 1.0f);
    return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

void AssimpMaterials::convertColors(const aiMaterial& from, stream::MaterialRecord& to) const
{
    aiColor4D color;
    float alpha = 1;
    if (getColor(from, AI_MATKEY_BASE_COLOR, color) || getColor(from, AI_MATKEY_COLOR_DIFFUSE, color)) {
        for (unsigned int i = 0; i < 3; ++i)
            to.baseColor[i] = linearOf(color[i]);
        alpha = color.a;
    }
    float opacity = 1;
    if (getNumber(from, AI_MATKEY_OPACITY, opacity))
        alpha = opacity;
    // Some exporters write 0 for "opaque"; nobody models an invisible part.
    to.baseColor[3] = alpha > 0 && alpha <= 1 ? alpha : 1;
    if (getColor(from, AI_MATKEY_COLOR_EMISSIVE, color))
        for (unsigned int i = 0; i < 3; ++i)
            to.emissive[i] = linearOf(color[i]);
    float exponent = 0;
    aiColor4D specular(0, 0, 0, 1);
    const bool isGlossy = getNumber(from, AI_MATKEY_SHININESS, exponent) && exponent > 1 &&
                          getColor(from, AI_MATKEY_COLOR_SPECULAR, specular);
    if (isGlossy) {
        const float strength = std::clamp(std::max({specular.r, specular.g, specular.b}), 0.0f, 1.0f);
        to.roughness = 1 + (roughnessOf(exponent) - 1) * strength;
    }
    getNumber(from, AI_MATKEY_METALLIC_FACTOR, to.metallic);
    getNumber(from, AI_MATKEY_ROUGHNESS_FACTOR, to.roughness);
    int shading = 0;
    if (from.Get(AI_MATKEY_SHADING_MODEL, shading) == AI_SUCCESS && shading == aiShadingMode_Unlit)
        to.unlit = 1;
}

bool AssimpMaterials::find(const aiMaterial& from, const std::vector<aiTextureType>& types, Slot& slot) const
{
    for (const aiTextureType type : types) {
        aiString path;
        unsigned int uvSet = 0;
        if (from.GetTexture(type, 0, &path, nullptr, &uvSet, nullptr, nullptr, slot.wrap) != AI_SUCCESS ||
            path.length == 0)
            continue;
        slot.path = path.C_Str();
        slot.uvSet = int(std::min(uvSet, 1u));
        slot.type = type;
        from.Get(AI_MATKEY_UVTRANSFORM(type, 0), slot.transform);
        return true;
    }
    return false;
}

DecodedImage AssimpMaterials::decode(const Slot& slot, const std::string& place)
{
    const aiTexture* embedded = m_Scene.GetEmbeddedTexture(slot.path.c_str());
    if (!embedded)
        return m_Images.decodeFile(slot.path, place);
    if (embedded->mHeight == 0)
        return m_Images.decode(slot.path, reinterpret_cast<const std::uint8_t*>(embedded->pcData), embedded->mWidth,
                               place);
    DecodedImage image;
    image.width = embedded->mWidth;
    image.height = embedded->mHeight;
    image.pixels.reset(static_cast<std::uint8_t*>(std::malloc(image.bytes())));
    if (!image.pixels)
        throw std::bad_alloc();
    for (std::size_t i = 0; i < std::size_t(image.width) * image.height; ++i) {
        const aiTexel& texel = embedded->pcData[i];
        const std::uint8_t pixel[4] = {texel.r, texel.g, texel.b, texel.a};
        std::memcpy(image.pixels.get() + 4 * i, pixel, 4);
    }
    return image;
}

template <typename Convert>
stream::TextureRecord AssimpMaterials::texture(const Slot& slot, const std::string& use, const std::string& place,
                                               const Convert& convert)
{
    stream::TextureRecord record;
    const std::string key = use + '\n' + slot.path;
    auto known = m_KnownImages.find(key);
    if (known == m_KnownImages.end()) {
        DecodedImage image = decode(slot, place);
        if (image.pixels)
            convert(image);
        bool hasAlpha = false;
        for (std::size_t i = 3; image.pixels && i < image.bytes() && !hasAlpha; i += 4)
            hasAlpha = image.pixels.get()[i] != 255;
        m_HasAlpha[key] = hasAlpha;
        const std::uint32_t index = image.pixels ? m_Images.addDecoded(slot.path, std::move(image)) : stream::None;
        known = m_KnownImages.emplace(key, index).first;
    }
    record.image = known->second;
    record.uvSet = std::uint32_t(slot.uvSet);
    record.wrapU = wrapOf(slot.wrap[0]);
    record.wrapV = wrapOf(slot.wrap[1]);
    setTransform(slot.transform, record);
    return record;
}

void AssimpMaterials::convertColor(const aiMaterial& from, const std::string& place, stream::MaterialRecord& to)
{
    Slot color, opacity;
    const bool hasColor = find(from, {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE}, color);
    const bool hasOpacity = find(from, {aiTextureType_OPACITY}, opacity) && opacity.path != color.path;
    if (!hasColor && !hasOpacity)
        return;
    const std::string use = hasOpacity ? "alpha " + opacity.path : "color";
    const Slot& base = hasColor ? color : opacity;
    to.baseColorTexture = texture(base, use, place, [&](DecodedImage& image) {
        if (!hasOpacity)
            return;
        DecodedImage mask = decode(opacity, place);
        if (!hasColor)
            image = whitePixel();
        if (mask.pixels)
            setAlpha(image, mask);
    });
    if (m_HasAlpha[use + '\n' + base.path])
        to.alphaMode = 2;
}

void AssimpMaterials::convertNormal(const aiMaterial& from, const std::string& place, stream::MaterialRecord& to)
{
    Slot normal;
    if (find(from, {aiTextureType_NORMALS, aiTextureType_NORMAL_CAMERA}, normal))
        to.normalTexture = texture(normal, "normal", place, [](DecodedImage&) {});
    else if (find(from, {aiTextureType_HEIGHT}, normal))
        to.normalTexture = texture(normal, "bump", place, [](DecodedImage& image) {
            if (!looksLikeNormalMap(image))
                image = normalsFromHeights(image);
        });
}

void AssimpMaterials::convertMetallicRoughness(const aiMaterial& from, const std::string& place,
                                               stream::MaterialRecord& to)
{
    Slot metallic, roughness;
    const bool hasMetallic = find(from, {aiTextureType_METALNESS}, metallic);
    const bool hasRoughness = find(from, {aiTextureType_DIFFUSE_ROUGHNESS}, roughness);
    if (!hasMetallic && !hasRoughness)
        return;
    const Slot& first = hasMetallic ? metallic : roughness;
    to.metallicRoughnessTexture =
        texture(first, "metal " + metallic.path + '\n' + roughness.path, place, [&](DecodedImage& image) {
            DecodedImage other;
            if (hasMetallic && hasRoughness && roughness.path != metallic.path)
                other = decode(roughness, place);
            if (hasMetallic && hasRoughness && roughness.path == metallic.path)
                return; // packed as in glTF
            image = metallicRoughness(hasMetallic ? &image : nullptr,
                                      hasMetallic ? (other.pixels ? &other : nullptr) : &image);
        });
    if (hasMetallic && to.metallic <= 0)
        to.metallic = 1;
}

void AssimpMaterials::convertTextures(const aiMaterial& from, const std::string& place, stream::MaterialRecord& to)
{
    const auto keep = [](DecodedImage&) {};
    convertColor(from, place, to);
    convertNormal(from, place, to);
    Slot emissive, occlusion;
    if (find(from, {aiTextureType_EMISSION_COLOR, aiTextureType_EMISSIVE}, emissive)) {
        to.emissiveTexture = texture(emissive, "color", place, keep);
        if (to.emissive[0] + to.emissive[1] + to.emissive[2] <= 0)
            std::fill(to.emissive, to.emissive + 3, 1.0f);
    } else if (m_TexturesEmission)
        to.emissiveTexture = to.baseColorTexture;
    if (find(from, {aiTextureType_AMBIENT_OCCLUSION}, occlusion))
        to.occlusionTexture = texture(occlusion, "color", place, keep);
    convertMetallicRoughness(from, place, to);
}

stream::MaterialRecord AssimpMaterials::convert(const aiMaterial& from, const std::string& place)
{
    stream::MaterialRecord to;
    convertColors(from, to);
    convertTextures(from, place, to);
    // Where there is a texture, black means that the exporter left the colour out.
    if (to.baseColorTexture.image != stream::None && to.baseColor[0] + to.baseColor[1] + to.baseColor[2] <= 0)
        std::fill(to.baseColor, to.baseColor + 3, 1.0f);
    if (to.baseColor[3] < 1)
        to.alphaMode = 2;
    aiString mode;
    if (from.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == AI_SUCCESS)
        to.alphaMode = std::strcmp(mode.C_Str(), "MASK") == 0 ? 1 : std::strcmp(mode.C_Str(), "BLEND") == 0 ? 2 : 0;
    return to;
}

std::uint32_t AssimpMaterials::material(unsigned int index)
{
    if (index >= m_Scene.mNumMaterials)
        return stream::None;
    const auto known = m_Known.find(index);
    if (known != m_Known.end())
        return known->second;
    const aiMaterial& from = *m_Scene.mMaterials[index];
    aiString name;
    from.Get(AI_MATKEY_NAME, name);
    const std::string place =
        name.length > 0 ? "material '" + std::string(name.C_Str()) + "'" : "material " + std::to_string(index);
    const std::uint32_t result =
        isMadeUp(from, name.C_Str()) ? stream::None : m_Writer.addMaterial(convert(from, place), name.C_Str());
    m_Known.emplace(index, result);
    return result;
}

} // namespace tov::importer
