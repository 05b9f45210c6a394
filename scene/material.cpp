#include "scene/material.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tov::scene {

float linearFromSrgb(float encoded)
{
    return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
}

float srgbFromLinear(float linear)
{
    return linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}

std::uint16_t linear16(std::uint8_t encoded)
{
    static const auto table = [] {
        std::array<std::uint16_t, 256> values{};
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = std::uint16_t(std::lround(linearFromSrgb(float(i) / 255) * 65535));
        return values;
    }();
    return table[encoded];
}

std::array<const Texture*, 5> texturesOf(const Material& material)
{
    return {&material.baseColorTexture, &material.metallicRoughnessTexture, &material.normalTexture,
            &material.occlusionTexture, &material.emissiveTexture};
}

std::shared_ptr<const Material> makeMaterial(const QColor& color)
{
    auto material = std::make_shared<Material>();
    material->baseColor = {linearFromSrgb(float(color.redF())), linearFromSrgb(float(color.greenF())),
                           linearFromSrgb(float(color.blueF())), float(color.alphaF())};
    material->roughness = 0.6f;
    if (color.alpha() < 255)
        material->alphaMode = Material::AlphaMode::Blend;
    return material;
}

std::shared_ptr<const Material> defaultMaterial()
{
    static const auto material = makeMaterial(QColor(200, 200, 205));
    return material;
}

QColor displayColor(const Material& material)
{
    const auto encoded = [](float linear) {
        return std::isfinite(linear) ? double(srgbFromLinear(std::clamp(linear, 0.0f, 1.0f))) : 0.0;
    };
    const float alpha = material.baseColor[3];
    return QColor::fromRgbF(encoded(material.baseColor[0]), encoded(material.baseColor[1]),
                            encoded(material.baseColor[2]), std::isfinite(alpha) ? std::clamp(alpha, 0.0f, 1.0f) : 1.0);
}

} // namespace tov::scene
