#include "scene/import/process/streamwriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <unistd.h>

namespace tov::importer {

namespace {

constexpr std::size_t BufferBytes = 1 << 16;
constexpr std::size_t MaxWarnings = 100;

bool isTransparent(const std::uint8_t* pixels, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        if (pixels[4 * i + 3] != 255)
            return true;
    return false;
}

} // namespace

void writeAll(const void* data, std::size_t size)
{
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(stream::MeshDescriptor, at, std::min<std::size_t>(size, 1 << 30));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            throw std::bad_alloc();
        at += written;
        size -= std::size_t(written);
    }
}

StreamWriter::StreamWriter()
{
    m_Buffer.reserve(BufferBytes);
    stream::Header header{};
    std::memcpy(header.magic, stream::Magic, sizeof header.magic);
    header.version = stream::Version;
    put(&header, sizeof header);
}

void StreamWriter::flush()
{
    writeAll(m_Buffer.data(), m_Buffer.size());
    m_Buffer.clear();
}

void StreamWriter::put(const void* data, std::size_t size)
{
    if (size == 0)
        return;
    if (m_Buffer.size() + size > BufferBytes)
        flush();
    if (size > BufferBytes) {
        writeAll(data, size);
        return;
    }
    const char* bytes = static_cast<const char*>(data);
    m_Buffer.insert(m_Buffer.end(), bytes, bytes + size);
}

std::uint32_t StreamWriter::addImage(const std::string& name, std::uint32_t width, std::uint32_t height,
                                     const std::uint8_t* pixels)
{
    const std::size_t count = std::size_t(width) * height;
    const stream::ImageRecord record{width, height, std::uint32_t(name.size()), isTransparent(pixels, count)};
    begin(stream::Tag::Image, record, name);
    put(pixels, 4 * count);
    return m_Images++;
}

std::uint32_t StreamWriter::addMaterial(stream::MaterialRecord record, const std::string& name)
{
    record.nameLength = std::uint32_t(name.size());
    begin(stream::Tag::Material, record, name);
    return m_Materials++;
}

std::uint32_t StreamWriter::addNode(const std::string& name, std::uint32_t parent, const double* transform)
{
    stream::NodeRecord record{};
    std::copy(transform, transform + 16, record.transform);
    record.parent = parent;
    record.nameLength = std::uint32_t(name.size());
    begin(stream::Tag::Node, record, name);
    return m_Nodes++;
}

std::uint32_t StreamWriter::addSkin(const std::vector<std::uint32_t>& joints, const std::vector<double>& inverseBind)
{
    begin(stream::Tag::Skin, stream::SkinRecord{std::uint32_t(joints.size())});
    put(joints);
    put(inverseBind);
    return m_Skins++;
}

void StreamWriter::addMesh(const MeshData& mesh)
{
    stream::MeshRecord record;
    record.vertices = mesh.positions.size() / 3;
    record.indices = mesh.indices.size();
    std::copy(mesh.origin, mesh.origin + 3, record.origin);
    record.node = mesh.node;
    record.material = mesh.material;
    record.skin = mesh.skin;
    record.kind = mesh.kind;
    record.nameLength = std::uint32_t(mesh.name.size());
    record.jointGroups = mesh.jointGroups;
    record.morphTargets = std::uint32_t(mesh.morphs.size());
    record.hasNormals = !mesh.normals.empty();
    record.hasTangents = !mesh.tangents.empty();
    record.hasUv[0] = !mesh.uv[0].empty();
    record.hasUv[1] = !mesh.uv[1].empty();
    record.hasColors = !mesh.colors.empty();
    record.morphNormals = !mesh.morphs.empty() && !mesh.morphs.front().normals.empty();
    record.morphTangents = !mesh.morphs.empty() && !mesh.morphs.front().tangents.empty();
    begin(stream::Tag::Mesh, record, mesh.name);
    put(mesh.positions);
    put(mesh.normals);
    put(mesh.tangents);
    put(mesh.uv[0]);
    put(mesh.uv[1]);
    put(mesh.colors);
    put(mesh.joints);
    put(mesh.weights);
    for (const MeshData::Morph& morph : mesh.morphs) {
        put(morph.positions);
        if (record.morphNormals)
            put(morph.normals);
        if (record.morphTangents)
            put(morph.tangents);
    }
    put(mesh.morphWeights);
    put(mesh.indices);
}

void StreamWriter::addAnimation(const std::string& name, const std::vector<ChannelData>& channels)
{
    begin(stream::Tag::Animation, stream::AnimationRecord{std::uint32_t(channels.size()), std::uint32_t(name.size())},
          name);
    for (const ChannelData& channel : channels) {
        stream::ChannelRecord record{};
        record.keys = channel.times.size();
        record.values = channel.values.size();
        record.node = channel.node;
        record.path = channel.path;
        record.interpolation = channel.interpolation;
        put(&record, sizeof record);
        put(channel.times);
        put(channel.values);
    }
}

void StreamWriter::addCamera(stream::CameraRecord record, const std::string& name)
{
    record.nameLength = std::uint32_t(name.size());
    begin(stream::Tag::Camera, record, name);
}

void StreamWriter::addLight(stream::LightRecord record, const std::string& name)
{
    record.nameLength = std::uint32_t(name.size());
    begin(stream::Tag::Light, record, name);
}

void StreamWriter::addWarning(const std::string& text)
{
    if (std::find(m_Warnings.begin(), m_Warnings.end(), text) != m_Warnings.end())
        return;
    if (m_Warnings.size() >= MaxWarnings) {
        ++m_MoreWarnings;
        return;
    }
    m_Warnings.push_back(text);
    putWarning(text);
}

void StreamWriter::putWarning(const std::string& text)
{
    begin(stream::Tag::Warning, stream::WarningRecord{std::uint32_t(text.size())}, text);
}

void StreamWriter::finish()
{
    if (m_MoreWarnings > 0)
        putWarning(std::to_string(m_MoreWarnings) + " more warnings");
    const stream::Tag end = stream::Tag::End;
    put(&end, sizeof end);
    flush();
    const std::uint32_t complete = 1;
    if (pwrite(stream::MeshDescriptor, &complete, sizeof complete, offsetof(stream::Header, complete)) !=
        ssize_t(sizeof complete))
        throw std::bad_alloc();
}

} // namespace tov::importer
