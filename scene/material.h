#pragma once

#include "kernel/main/export.h"

#include <QColor>
#include <QString>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace tov::scene {

/// A decoded picture for textures. Never changed once it is shared; one upload per image and share group.
struct Image
{
    QString name; ///< for messages: file name, or "image 3" of an embedded one
    int width = 0;
    int height = 0;
    /// Red, green, blue, alpha, 8 bits each, not premultiplied, top row first; `width` x `height` x 4 bytes.
    std::vector<std::uint8_t> pixels;
    bool hasAlpha = false; ///< any pixel below 255
};

/// A texture as a material uses it: an image and how it is sampled. Field values are those of glTF 2.0.
struct Texture
{
    enum class Wrap : std::uint8_t
    {
        Repeat,
        ClampToEdge,
        MirroredRepeat,
    };
    enum class Filter : std::uint8_t
    {
        Nearest,
        Linear,
        NearestMipmapNearest,
        LinearMipmapNearest,
        NearestMipmapLinear,
        LinearMipmapLinear,
    };
    std::shared_ptr<const Image> image; ///< null: no texture
    int uvSet = 0;                      ///< 0 or 1
    /// u' = m[0] u + m[1] v + m[2], v' = m[3] u + m[4] v + m[5]. v = 0 is the top row of the image, as in glTF; readers
    /// of formats that count from the bottom flip v.
    std::array<float, 6> transform = {1, 0, 0, 0, 1, 0};
    Wrap wrapU = Wrap::Repeat;
    Wrap wrapV = Wrap::Repeat;
    Filter minFilter = Filter::LinearMipmapLinear;
    Filter magFilter = Filter::Linear; ///< `Nearest` or `Linear`

    /// False when there is no texture.
    explicit operator bool() const { return image != nullptr; }
};

/// The appearance of a surface: the metallic-roughness model of glTF 2.0 (Khronos Group, "glTF 2.0 Specification",
/// section 3.9 and appendix B). Other formats are converted when they are read. Factors are linear; colour textures
/// (base colour, emissive) are sRGB, all others linear. Never changed once it is shared.
struct Material
{
    enum class AlphaMode : std::uint8_t
    {
        Opaque, ///< alpha is ignored
        Mask,   ///< visible where alpha is at least `alphaCutoff`
        Blend,
    };
    QString name;
    std::array<float, 4> baseColor = {1, 1, 1, 1}; ///< red, green, blue, alpha
    Texture baseColorTexture;
    float metallic = 0;
    float roughness = 1;
    Texture metallicRoughnessTexture; ///< green: roughness, blue: metallic
    Texture normalTexture;            ///< tangent space, +Y up
    float normalScale = 1;
    Texture occlusionTexture; ///< red
    float occlusionStrength = 1;
    std::array<float, 3> emissive = {0, 0, 0}; ///< times KHR_materials_emissive_strength
    Texture emissiveTexture;
    AlphaMode alphaMode = AlphaMode::Opaque;
    float alphaCutoff = 0.5f;
    bool doubleSided = true;
    bool unlit = false;
    float clearcoat = 0;
    float clearcoatRoughness = 0;
    float transmission = 0; ///< approximated by blending
    float indexOfRefraction = 1.5f;
};

/// The textures of a material, in the order of their texture units; never null. Thread: any.
TOV_EXPORT std::array<const Texture*, 5> texturesOf(const Material& material);

/// A dielectric material of that sRGB colour; blended when the colour is translucent. Thread: any.
TOV_EXPORT std::shared_ptr<const Material> makeMaterial(const QColor& color);

/// The material of geometry that has none: light grey. Thread: any.
TOV_EXPORT std::shared_ptr<const Material> defaultMaterial();

/// The base colour factor as an sRGB colour. Thread: any.
TOV_EXPORT QColor displayColor(const Material& material);

/// The sRGB transfer function (IEC 61966-2-1), for values from 0 to 1. Thread: any.
TOV_EXPORT float linearFromSrgb(float encoded);
/// The inverse of `linearFromSrgb`. Thread: any.
TOV_EXPORT float srgbFromLinear(float linear);

/// An 8-bit sRGB value as a linear one of 16 bits, for `Geometry::colors`. Thread: any.
TOV_EXPORT std::uint16_t linear16(std::uint8_t encoded);

} // namespace tov::scene
