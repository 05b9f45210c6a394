#include "scene/import/process/gltfsource.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace tov::importer::gltf {

namespace {

using nlohmann::json;

constexpr std::size_t HeaderBytes = 12, ChunkHeaderBytes = 8;

constexpr std::array<std::string_view, 16> SupportedExtensions = {
    "KHR_texture_transform",
    "KHR_materials_unlit",
    "KHR_materials_emissive_strength",
    "KHR_materials_clearcoat",
    "KHR_materials_transmission",
    "KHR_materials_ior",
    "KHR_materials_pbrSpecularGlossiness",
    "KHR_materials_specular",
    "KHR_materials_volume",
    "KHR_materials_sheen",
    "KHR_mesh_quantization",
    "KHR_lights_punctual",
    "KHR_draco_mesh_compression",
    "EXT_meshopt_compression",
    "EXT_texture_webp",
    "KHR_materials_variants",
};

std::uint32_t wordAt(const std::vector<std::uint8_t>& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    if (bytes.size() >= at + sizeof value)
        std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

void setWord(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t value)
{
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

std::string firstLine(std::string text)
{
    const std::size_t begin = text.find_first_not_of(" \n");
    text = begin == std::string::npos ? std::string() : text.substr(begin);
    return text.substr(0, text.find('\n'));
}

/// Where the description of a file is.
struct Description
{
    std::size_t begin = 0;
    std::size_t size = 0;
    bool isBinary = false;
};

Description findDescription(const std::vector<std::uint8_t>& bytes)
{
    if (bytes.size() < 4 || std::memcmp(bytes.data(), "glTF", 4) != 0)
        return {0, bytes.size(), false};
    const std::size_t size = wordAt(bytes, HeaderBytes);
    if (bytes.size() < HeaderBytes + ChunkHeaderBytes || size > bytes.size() - HeaderBytes - ChunkHeaderBytes)
        throw std::runtime_error("the file ends in the middle of its data");
    return {HeaderBytes + ChunkHeaderBytes, size, true};
}

/// Buffers that only declare how large the decompressed data would be have no data, which tinygltf refuses. They get a
/// byte.
bool fillFallbackBuffers(json& document)
{
    bool changed = false;
    if (!document.contains("buffers") || !document["buffers"].is_array())
        return false;
    for (json& buffer : document["buffers"]) {
        if (!buffer.is_object() || buffer.contains("uri") || !buffer.contains("extensions"))
            continue;
        const json& extensions = buffer["extensions"];
        if (!extensions.is_object() || !extensions.contains("EXT_meshopt_compression"))
            continue;
        buffer["uri"] = "data:application/octet-stream;base64,AA==";
        buffer["byteLength"] = 1;
        changed = true;
    }
    return changed;
}

/// tinygltf wants indices to have data, which those of Draco meshes do not need. The decoder supplies them.
bool dropDracoIndices(json& document)
{
    bool changed = false;
    if (!document.contains("meshes") || !document["meshes"].is_array())
        return false;
    for (json& mesh : document["meshes"]) {
        if (!mesh.is_object() || !mesh.contains("primitives") || !mesh["primitives"].is_array())
            continue;
        for (json& primitive : mesh["primitives"]) {
            const bool isDraco = primitive.is_object() && primitive.contains("extensions") &&
                                 primitive["extensions"].is_object() &&
                                 primitive["extensions"].contains("KHR_draco_mesh_compression");
            changed = (isDraco && primitive.erase("indices") > 0) || changed;
        }
    }
    return changed;
}

void replaceDescription(std::vector<std::uint8_t>& bytes, const Description& where, std::string text)
{
    if (where.isBinary)
        text.append((4 - text.size() % 4) % 4, ' ');
    const auto begin = bytes.begin() + std::ptrdiff_t(where.begin);
    std::vector<std::uint8_t> changed(bytes.begin(), begin);
    changed.insert(changed.end(), text.begin(), text.end());
    changed.insert(changed.end(), begin + std::ptrdiff_t(where.size), bytes.end());
    if (where.isBinary) {
        setWord(changed, 8, std::uint32_t(changed.size()));
        setWord(changed, HeaderBytes, std::uint32_t(text.size()));
    }
    bytes.swap(changed);
}

bool keepEncoded(tinygltf::Image* image, int, std::string*, std::string*, int, int, const unsigned char* bytes,
                 int size, void*)
{
    image->image.assign(bytes, bytes + std::max(size, 0));
    return true;
}

tinygltf::FsCallbacks callbacksFor(const ModelFolder& folder)
{
    tinygltf::FsCallbacks callbacks{};
    callbacks.FileExists = [](const std::string& name, void* user) {
        return static_cast<const ModelFolder*>(user)->isInside(name);
    };
    callbacks.ExpandFilePath = [](const std::string& name, void*) { return name; };
    callbacks.ReadWholeFile = [](std::vector<unsigned char>* bytes, std::string*, const std::string& name, void* user) {
        if (!static_cast<const ModelFolder*>(user)->isInside(name))
            return false;
        *bytes = readWholeFile(name);
        return !bytes->empty();
    };
    callbacks.WriteWholeFile = [](std::string*, const std::string&, const std::vector<unsigned char>&, void*) {
        return false;
    };
    callbacks.user_data = const_cast<ModelFolder*>(&folder);
    return callbacks;
}

/// Finds indices that tinygltf would truncate to 32 bits, so that they would refer to the wrong object.
struct IndexCheck : json::json_sax_t
{
    bool number_unsigned(std::uint64_t value) override
    {
        static constexpr std::array<std::string_view, 16> keys = {
            "bufferView", "buffer", "mesh",  "skin",   "camera", "material", "indices",  "sampler",
            "source",     "index",  "input", "output", "node",   "scene",    "POSITION", "inverseBindMatrices"};
        if (value <= std::uint64_t(std::numeric_limits<int>::max()) ||
            std::find(keys.begin(), keys.end(), lastKey) == keys.end())
            return true;
        throw std::runtime_error("the index " + std::to_string(value) + " of '" + lastKey + "' is too large");
    }
    bool key(std::string& name) override
    {
        lastKey = name;
        return true;
    }
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(std::int64_t) override { return true; }
    bool number_float(double, const std::string&) override { return true; }
    bool string(std::string&) override { return true; }
    bool binary(json::binary_t&) override { return true; }
    bool start_object(std::size_t) override { return true; }
    bool end_object() override { return true; }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t, const std::string&, const json::exception&) override { return false; }

    std::string lastKey;
};

void checkExtensions(const tinygltf::Model& model)
{
    for (const std::string& name : model.extensionsRequired)
        if (std::find(SupportedExtensions.begin(), SupportedExtensions.end(), name) == SupportedExtensions.end())
            throw std::runtime_error("it requires the extension " + name.substr(0, 100) + ", which is not supported");
}

} // namespace

bool load(std::vector<std::uint8_t> bytes, const ModelFolder& folder, tinygltf::Model& model)
{
    const Description where = findDescription(bytes);
    if (where.isBinary && wordAt(bytes, 4) == 1)
        return false;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()) + where.begin, where.size);
    IndexCheck check;
    json::sax_parse(text.begin(), text.end(), &check); // tinygltf reports all other problems
    const bool isCompressed = text.find("EXT_meshopt_compression") != std::string_view::npos ||
                              text.find("KHR_draco_mesh_compression") != std::string_view::npos;
    // The version of a text file is in its first member or its last; only old files are parsed for it.
    const bool mayBeOld = !where.isBinary && text.find("\"2.") == std::string_view::npos;
    if (isCompressed || mayBeOld) {
        json document = json::parse(text.begin(), text.end(), nullptr, false);
        if (document.is_object()) {
            if (mayBeOld && document.value("/asset/version"_json_pointer, json("2.0")).dump().find('1') == 1)
                return false;
            const bool isFilled = fillFallbackBuffers(document);
            if (dropDracoIndices(document) || isFilled)
                replaceDescription(bytes, where, document.dump());
        }
    }
    tinygltf::TinyGLTF loader;
    loader.SetImageLoader(&keepEncoded, nullptr);
    loader.SetFsCallbacks(callbacksFor(folder));
    std::string error, warning;
    const std::string base = folder.path().string();
    const bool loaded =
        where.isBinary
            ? loader.LoadBinaryFromMemory(&model, &error, &warning, bytes.data(), unsigned(bytes.size()), base)
            : loader.LoadASCIIFromString(&model, &error, &warning, reinterpret_cast<const char*>(bytes.data()),
                                         unsigned(bytes.size()), base);
    if (!loaded)
        throw std::runtime_error(firstLine(error.empty() ? "it is damaged" : error));
    checkExtensions(model);
    return true;
}

} // namespace tov::importer::gltf
