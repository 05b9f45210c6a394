#pragma once

#include <cstdint>

/// What the importer process hands to the program in shared memory: a `Header`, then records up to `Tag::End`. A record
/// is its tag, its struct, its name, and its arrays in the order given below. Indices refer to earlier records of that
/// kind. Both sides are from one build, so numbers are in the machine's byte order. The program trusts no value in it.
namespace tov::scene::stream {

constexpr char Magic[8] = {'t', 'o', 'v', 'm', 'o', 'd', 'e', 'l'};
constexpr std::uint32_t Version = 2;
/// No parent, no image, no material, no skin.
constexpr std::uint32_t None = 0xffffffffu;
/// File descriptors of the importer process: shared memory, the pipe for reports, and a list of images.
constexpr int MeshDescriptor = 3;
constexpr int ReportDescriptor = 4;
constexpr int ListDescriptor = 5; ///< a list of images; empty for models
/// Images are scaled down until neither side is larger.
constexpr std::uint32_t MaxImageSide = 16384;
/// Bytes of all images of a file after scaling; the largest are scaled down further.
constexpr std::uint64_t MaxImageBytes = std::uint64_t(1) << 30;

/// Reports, one byte each: a percentage up to 100, or one of these. `Problem` and `Done` end the reports; the text of a
/// problem follows.
enum Report : std::uint8_t
{
    Done = 200,
    Problem = 201,  ///< the file is wrong
    NoMemory = 202, ///< the limit on memory was reached
};

enum class Tag : std::uint32_t
{
    End,
    Image,
    Material,
    Node,
    Skin,
    Mesh,
    Animation,
    Camera,
    Light,
    Warning,
};

struct Header
{
    char magic[8];
    std::uint32_t version;
    std::uint32_t complete; ///< 1 once everything has been written
};

/// All that the importer process writes for an environment picture, instead of a stream. Then `width` x `height` x 3
/// floats: linear red, green, blue, top row first.
struct PanoramaHeader
{
    std::uint32_t width;
    std::uint32_t height;
};
/// The most pixels of an environment picture.
constexpr std::uint64_t MaxPanoramaPixels = std::uint64_t(64) << 20;

/// Then the name and `width` x `height` x 4 bytes: red, green, blue, alpha, top row first. An image that cannot be
/// decoded has the size 0 x 0.
struct ImageRecord
{
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t nameLength;
    std::uint32_t hasAlpha;
};

/// See `scene::Texture`.
struct TextureRecord
{
    std::uint32_t image = None;
    std::uint32_t uvSet = 0;
    float transform[6] = {1, 0, 0, 0, 1, 0};
    std::uint8_t wrapU = 0;
    std::uint8_t wrapV = 0;
    std::uint8_t minFilter = 5; ///< linear, linear between mipmaps
    std::uint8_t magFilter = 1; ///< linear
};

/// Then the name. See `scene::Material`.
struct MaterialRecord
{
    float baseColor[4] = {1, 1, 1, 1};
    float emissive[3] = {0, 0, 0};
    float metallic = 0;
    float roughness = 1;
    float normalScale = 1;
    float occlusionStrength = 1;
    float alphaCutoff = 0.5f;
    float clearcoat = 0;
    float clearcoatRoughness = 0;
    float transmission = 0;
    float indexOfRefraction = 1.5f;
    TextureRecord baseColorTexture;
    TextureRecord metallicRoughnessTexture;
    TextureRecord normalTexture;
    TextureRecord occlusionTexture;
    TextureRecord emissiveTexture;
    std::uint8_t alphaMode = 0;
    std::uint8_t doubleSided = 1;
    std::uint8_t unlit = 0;
    std::uint8_t reserved = 0;
    std::uint32_t nameLength = 0;
};

/// Then the name. The first node has no parent; the parent of every other node precedes it.
struct NodeRecord
{
    double transform[16]; ///< row by row
    std::uint32_t parent;
    std::uint32_t nameLength;
};

/// Then the nodes of the joints (32 bits each) and 16 doubles per joint, row by row.
struct SkinRecord
{
    std::uint32_t joints;
};

/// Then the name, positions, normals, tangents (4 floats), both sets of texture coordinates, colours (4 x 16 bits),
/// joints (16 bits) and weights (4 x `jointGroups` per vertex), the morph targets, their weights at rest, indices (32
/// bits). A morph target: positions, then normals and tangents (3 floats) where `morphNormals` and `morphTangents` are
/// set.
struct MeshRecord
{
    std::uint64_t vertices = 0;
    std::uint64_t indices = 0;
    double origin[3] = {0, 0, 0};
    std::uint32_t node = 0;
    std::uint32_t material = None;
    std::uint32_t skin = None;
    std::uint32_t kind = 3; ///< corners of a primitive: 1, 2 or 3
    std::uint32_t nameLength = 0;
    std::uint32_t jointGroups = 0;
    std::uint32_t morphTargets = 0;
    std::uint8_t hasNormals = 0;
    std::uint8_t hasTangents = 0;
    std::uint8_t hasUv[2] = {0, 0};
    std::uint8_t hasColors = 0;
    std::uint8_t morphNormals = 0;
    std::uint8_t morphTangents = 0;
    std::uint8_t reserved = 0;
};

/// Then the name, then `channels` times a `ChannelRecord`.
struct AnimationRecord
{
    std::uint32_t channels;
    std::uint32_t nameLength;
};

/// Then the times (doubles, seconds) and the values (floats).
struct ChannelRecord
{
    std::uint64_t keys;
    std::uint64_t values;
    std::uint32_t node;
    std::uint8_t path;
    std::uint8_t interpolation;
    std::uint8_t reserved[2];
};

/// Then the name. See `scene::FileCamera`.
struct CameraRecord
{
    double fieldOfView;
    double halfHeight;
    std::uint32_t node;
    std::uint32_t orthographic;
    std::uint32_t nameLength;
};

/// Then the name. See `scene::FileLight`.
struct LightRecord
{
    std::uint32_t node;
    std::uint32_t kind;
    float color[3];
    float intensity;
    std::uint32_t nameLength;
};

/// Then the text: one line.
struct WarningRecord
{
    std::uint32_t nameLength;
};

} // namespace tov::scene::stream
