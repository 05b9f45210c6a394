#pragma once

#include "scene/import/meshstream.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tov::importer {

namespace stream = tov::scene::stream;

/// One surface, point set or line set, as it goes into the stream. Empty arrays: the mesh has none.
struct MeshData
{
    std::string name;
    std::uint32_t node = 0;
    std::uint32_t material = stream::None;
    std::uint32_t skin = stream::None;
    std::uint32_t kind = 3; ///< corners of a primitive
    double origin[3] = {0, 0, 0};
    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<float> tangents;
    std::vector<float> uv[2];
    std::vector<std::uint16_t> colors;
    std::uint32_t jointGroups = 0;
    std::vector<std::uint16_t> joints;
    std::vector<float> weights;
    struct Morph
    {
        std::vector<float> positions, normals, tangents;
    };
    std::vector<Morph> morphs;
    std::vector<float> morphWeights;
    std::vector<std::uint32_t> indices;
};

struct ChannelData
{
    std::uint32_t node = 0;
    std::uint8_t path = 0;          ///< `AnimationChannel::Path`
    std::uint8_t interpolation = 1; ///< `AnimationChannel::Interpolation`
    std::vector<double> times;
    std::vector<float> values;
};

/// Writes to the shared memory. Throws `std::bad_alloc` when it is full.
void writeAll(const void* data, std::size_t size);

/// Writes the stream into the shared memory. Throws `std::bad_alloc` when it is full.
class StreamWriter
{
public:
    StreamWriter();
    StreamWriter(const StreamWriter&) = delete;
    StreamWriter& operator=(const StreamWriter&) = delete;

    /// Each returns the index that later records refer to.
    std::uint32_t addImage(const std::string& name, std::uint32_t width, std::uint32_t height,
                           const std::uint8_t* pixels);
    /// Adds a material; the textures of `record` refer to images that were added before.
    std::uint32_t addMaterial(stream::MaterialRecord record, const std::string& name);
    /// `transform`: row by row.
    std::uint32_t addNode(const std::string& name, std::uint32_t parent, const double* transform);
    /// Adds a skin; `inverseBind`: 16 numbers per joint, row by row.
    std::uint32_t addSkin(const std::vector<std::uint32_t>& joints, const std::vector<double>& inverseBind);

    /// Adds a mesh to its node.
    void addMesh(const MeshData& mesh);
    /// Adds an animation; its channels refer to nodes that were added before.
    void addAnimation(const std::string& name, const std::vector<ChannelData>& channels);
    /// Adds a camera to the node that `record` names.
    void addCamera(stream::CameraRecord record, const std::string& name);
    /// Adds a light to the node that `record` names.
    void addLight(stream::LightRecord record, const std::string& name);
    /// A text is written once; after 100 warnings the rest is only counted.
    void addWarning(const std::string& text);
    /// Marks the stream as complete.
    void finish();

private:
    void put(const void* data, std::size_t size);
    template <typename T>
    void put(const std::vector<T>& values)
    {
        put(values.data(), values.size() * sizeof(T));
    }
    template <typename Record>
    void begin(stream::Tag tag, const Record& record, const std::string& name = std::string())
    {
        put(&tag, sizeof tag);
        put(&record, sizeof record);
        put(name.data(), name.size());
    }
    void putWarning(const std::string& text);
    void flush();

    std::vector<char> m_Buffer;
    std::uint32_t m_Images = 0, m_Materials = 0, m_Nodes = 0, m_Skins = 0;
    std::vector<std::string> m_Warnings;
    std::size_t m_MoreWarnings = 0;
};

} // namespace tov::importer
