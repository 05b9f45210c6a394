#include "scene/import/objmaterials.h"

#include <QList>

#include <algorithm>
#include <cmath>

namespace tov::scene {

namespace {

/// A number of a library; `fallback` if it is not a finite number.
float numberOf(const QByteArray& word, float fallback)
{
    bool ok = false;
    const float value = word.toFloat(&ok);
    return ok && std::isfinite(value) ? value : fallback;
}

float unit(const QByteArray& word, float fallback)
{
    return std::clamp(numberOf(word, fallback), 0.0f, 1.0f);
}

/// Colours of libraries are meant for the screen, so they are sRGB. A single number is used for all three.
std::array<float, 3> colorOf(const QList<QByteArray>& words, const std::array<float, 3>& fallback)
{
    std::array<float, 3> color = fallback;
    if (words.isEmpty() || words[0].isEmpty() || (words.size() > 1 && words.size() < 3))
        return color;
    for (std::size_t i = 0; i < 3; ++i)
        color[i] = linearFromSrgb(unit(words[words.size() >= 3 ? int(i) : 0], srgbFromLinear(fallback[i])));
    return color;
}

/// Options of map statements and how many words follow; some numbers of vectors may be left out.
int optionWords(const QByteArray& option)
{
    if (option == "-o" || option == "-s" || option == "-t")
        return 3;
    if (option == "-mm")
        return 2;
    return option == "-blendu" || option == "-blendv" || option == "-bm" || option == "-boost" || option == "-cc" ||
                   option == "-clamp" || option == "-imfchan" || option == "-texres" || option == "-type"
               ? 1
               : 0;
}

bool isNumber(const QByteArray& word)
{
    bool ok = false;
    word.toFloat(&ok);
    return ok;
}

/// Converts a Blinn-Phong exponent n to a roughness: its lobe has the width sqrt(2 / (n + 2)), which is the square of
/// the roughness (B. Karis, "Specular BRDF Reference").
float roughnessOf(float exponent)
{
    return std::clamp(std::pow(2 / (std::max(exponent, 0.0f) + 2), 0.25f), 0.05f, 1.0f);
}

} // namespace

ObjMaterials::Map ObjMaterials::readMap(const QByteArray& rest)
{
    Map map;
    QList<QByteArray> words = rest.split(' ');
    // The last word is always part of the file name.
    while (words.size() > 1 && optionWords(words.first().toLower()) > 0) {
        const QByteArray option = words.takeFirst().toLower();
        const bool isVector = option == "-o" || option == "-s" || option == "-t";
        std::array<float, 2>* target = option == "-o" ? &map.offset : option == "-s" ? &map.scale : nullptr;
        for (int i = 0; i < optionWords(option) && words.size() > 1; ++i) {
            if (isVector && !isNumber(words.first()))
                break;
            const QByteArray word = words.takeFirst();
            if (target && i < 2)
                (*target)[std::size_t(i)] = numberOf(word, (*target)[std::size_t(i)]);
            if (option == "-bm")
                map.factor = numberOf(word, 1);
            if (option == "-clamp")
                map.clamp = word.toLower() == "on";
        }
    }
    map.file = QString::fromUtf8(words.join(' '));
    if (map.file.size() > 1 && map.file.startsWith(QLatin1Char('"')) && map.file.endsWith(QLatin1Char('"')))
        map.file = map.file.mid(1, map.file.size() - 2);
    return map;
}

void ObjMaterials::readStatement(const QByteArray& keyword, const QByteArray& rest, Definition& definition)
{
    Material& material = definition.material;
    const QList<QByteArray> words = rest.split(' ');
    if (keyword == "kd") {
        const auto color = colorOf(words, {material.baseColor[0], material.baseColor[1], material.baseColor[2]});
        std::copy(color.begin(), color.end(), material.baseColor.begin());
    } else if (keyword == "ks") {
        definition.specular = colorOf(words, definition.specular);
    } else if (keyword == "ke") {
        material.emissive = colorOf(words, material.emissive);
    } else if (keyword == "ns") {
        definition.exponent = numberOf(words[0], 0);
    } else if (keyword == "d") {
        material.baseColor[3] = unit(words[0] == "-halo" && words.size() > 1 ? words[1] : words[0], 1);
    } else if (keyword == "tr") {
        material.baseColor[3] = 1 - unit(words[0], 0);
    } else if (keyword == "ni") {
        material.indexOfRefraction = std::clamp(numberOf(words[0], 1.5f), 1.0f, 10.0f);
    } else if (keyword == "pr") {
        material.roughness = unit(words[0], 1);
        definition.hasRoughness = true;
    } else if (keyword == "pm") {
        material.metallic = unit(words[0], 0);
    } else if (keyword == "pc") {
        material.clearcoat = unit(words[0], 0);
    } else if (keyword == "pcr") {
        material.clearcoatRoughness = unit(words[0], 0);
    } else if (keyword.startsWith("map_") || keyword == "bump" || keyword == "norm" || keyword == "disp") {
        definition.maps[keyword] = readMap(rest);
    }
}

void ObjMaterials::read(const QByteArray& library)
{
    Definition* definition = nullptr;
    for (const QByteArray& raw : library.split('\n')) {
        const QByteArray line = raw.simplified();
        const int space = line.indexOf(' ');
        const QByteArray keyword = line.left(space).toLower(), rest = space < 0 ? QByteArray() : line.mid(space + 1);
        if (keyword == "newmtl") {
            definition = &m_Materials[QString::fromUtf8(rest)];
            *definition = Definition();
            definition->material.name = QString::fromUtf8(rest);
            const float grey = linearFromSrgb(0.8f);
            definition->material.baseColor = {grey, grey, grey, 1};
        } else if (definition && !rest.isEmpty()) {
            readStatement(keyword, rest, *definition);
        }
    }
}

void ObjMaterials::use(const QString& name)
{
    const auto found = m_Materials.find(name);
    if (found != m_Materials.end())
        found->second.isUsed = true;
}

void ObjMaterials::request(const QString& name, Definition& definition, TextureList& textures)
{
    const QString place = QStringLiteral("material '%1'").arg(name);
    const auto file = [&definition](const char* statement) {
        const auto found = definition.maps.find(statement);
        return found == definition.maps.end() ? QString() : found->second.file;
    };
    const QString color = file("map_kd"), alpha = file("map_d");
    if (!alpha.isEmpty() && alpha != color)
        definition.images["color"] = textures.add(TextureList::Use::ColorWithAlpha, color, alpha, place);
    else if (!color.isEmpty())
        definition.images["color"] = textures.add(TextureList::Use::Color, color, QString(), place);
    if (!file("norm").isEmpty())
        definition.images["normal"] = textures.add(TextureList::Use::Color, file("norm"), QString(), place);
    for (const char* statement : {"map_bump", "bump"})
        if (!file(statement).isEmpty() && definition.images.count("normal") == 0)
            definition.images["normal"] = textures.add(TextureList::Use::Bump, file(statement), QString(), place);
    if (!file("map_pm").isEmpty() || !file("map_pr").isEmpty())
        definition.images["metal"] =
            textures.add(TextureList::Use::MetallicRoughness, file("map_pm"), file("map_pr"), place);
    if (!file("map_ke").isEmpty())
        definition.images["emissive"] = textures.add(TextureList::Use::Color, file("map_ke"), QString(), place);
}

Texture ObjMaterials::texture(const Definition& definition, const QByteArray& use, const QByteArray& statement,
                              const TextureList& textures)
{
    Texture texture;
    const auto number = definition.images.find(use);
    if (number == definition.images.end())
        return texture;
    texture.image = textures.image(number->second);
    const auto map = definition.maps.find(statement);
    if (map == definition.maps.end())
        return texture;
    // The reader has flipped v: 1 - (s (1 - v) + o) = s v + 1 - s - o.
    const auto& [s, o] = std::tie(map->second.scale, map->second.offset);
    texture.transform = {s[0], 0, o[0], 0, s[1], 1 - s[1] - o[1]};
    if (map->second.clamp)
        texture.wrapU = texture.wrapV = Texture::Wrap::ClampToEdge;
    return texture;
}

void ObjMaterials::finish(Definition& definition, const TextureList& textures)
{
    auto material = std::make_shared<Material>(definition.material);
    const auto has = [&definition](const char* statement) { return definition.maps.count(statement) > 0; };
    material->baseColorTexture = texture(definition, "color", has("map_kd") ? "map_kd" : "map_d", textures);
    material->normalTexture = texture(definition, "normal",
                                      has("norm")       ? "norm"
                                      : has("map_bump") ? "map_bump"
                                                        : "bump",
                                      textures);
    if (has("map_bump"))
        material->normalScale = definition.maps["map_bump"].factor;
    material->metallicRoughnessTexture = texture(definition, "metal", has("map_pm") ? "map_pm" : "map_pr", textures);
    material->emissiveTexture = texture(definition, "emissive", "map_ke", textures);
    if (material->emissiveTexture && material->emissive == std::array<float, 3>{0, 0, 0})
        material->emissive = {1, 1, 1};
    // With a texture, black means that the exporter left the colour out.
    auto& base = material->baseColor;
    if (material->baseColorTexture && base[0] + base[1] + base[2] <= 0)
        base[0] = base[1] = base[2] = 1;
    const float strength = std::max({definition.specular[0], definition.specular[1], definition.specular[2]});
    if (!definition.hasRoughness && definition.exponent > 1)
        material->roughness = 1 + (roughnessOf(definition.exponent) - 1) * strength;
    if (material->metallicRoughnessTexture) {
        material->roughness = definition.hasRoughness || !has("map_pr") ? material->roughness : 1;
        material->metallic = has("map_pm") && material->metallic <= 0 ? 1 : material->metallic;
    }
    // Some exporters write 0 for "opaque"; nobody models an invisible part.
    if (base[3] <= 0)
        base[3] = 1;
    if (base[3] < 1 || (material->baseColorTexture && material->baseColorTexture.image->hasAlpha))
        material->alphaMode = Material::AlphaMode::Blend;
    definition.converted = std::move(material);
}

void ObjMaterials::convert(const ReadSource& source, QStringList& warnings)
{
    TextureList textures;
    for (auto& [name, definition] : m_Materials)
        if (definition.isUsed)
            request(name, definition, textures);
    textures.decode(source, warnings);
    for (auto& [name, definition] : m_Materials)
        if (definition.isUsed)
            finish(definition, textures);
}

std::shared_ptr<const Material> ObjMaterials::material(const QString& name) const
{
    const auto found = m_Materials.find(name);
    return found == m_Materials.end() ? nullptr : found->second.converted;
}

} // namespace tov::scene
