#include "scene/import/process/gltfdata.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace tov::importer::gltf {

namespace {

/// Elements of an accessor that has no data of its own.
constexpr std::size_t MaxEmptyElements = std::size_t(1) << 26;

[[noreturn]] void fail(const std::string& text)
{
    throw std::runtime_error(text);
}

template <typename T>
float numberAt(const std::uint8_t* at, bool normalized)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    if (!normalized || std::is_floating_point_v<T>)
        return float(value);
    return std::max(float(value) / float(std::numeric_limits<T>::max()), -1.0f);
}

float numberAt(const std::uint8_t* at, int type, bool normalized)
{
    switch (type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
        return numberAt<std::int8_t>(at, normalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return numberAt<std::uint8_t>(at, normalized);
    case TINYGLTF_COMPONENT_TYPE_SHORT:
        return numberAt<std::int16_t>(at, normalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        return numberAt<std::uint16_t>(at, normalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        return numberAt<std::uint32_t>(at, normalized);
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
        return numberAt<float>(at, normalized);
    case TINYGLTF_COMPONENT_TYPE_DOUBLE:
        return numberAt<double>(at, normalized);
    default:
        fail("an accessor has an unknown component type");
    }
}

std::uint32_t wholeAt(const std::uint8_t* at, int type)
{
    std::uint16_t half;
    std::uint32_t whole;
    switch (type) {
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return *at;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        std::memcpy(&half, at, sizeof half);
        return half;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        std::memcpy(&whole, at, sizeof whole);
        return whole;
    default:
        fail("indices have an unknown component type");
    }
}

std::size_t componentSize(int type)
{
    const int size = tinygltf::GetComponentSizeInBytes(std::uint32_t(type));
    if (size <= 0)
        fail("an accessor has an unknown component type");
    return std::size_t(size);
}

std::size_t componentCount(int type)
{
    const int count = tinygltf::GetNumComponentsInType(std::uint32_t(type));
    if (count <= 0)
        fail("an accessor has an unknown type");
    return std::size_t(count);
}

/// Throws unless `count` elements of `element` bytes, `stride` apart, lie in `bytes` from `offset` on.
void checkRange(const BufferReader::Bytes& bytes, std::size_t offset, std::size_t count, std::size_t element,
                std::size_t stride)
{
    if (count == 0)
        return;
    if (offset > bytes.size || element > bytes.size - offset ||
        (count - 1) > (bytes.size - offset - element) / std::max<std::size_t>(stride, 1))
        fail("an accessor exceeds its buffer view");
}

} // namespace

const tinygltf::Accessor& BufferReader::accessorAt(int index) const
{
    if (index < 0 || std::size_t(index) >= m_Model.accessors.size())
        fail("there is no accessor " + std::to_string(index));
    return m_Model.accessors[std::size_t(index)];
}

BufferReader::Bytes BufferReader::rawBytes(int buffer, std::size_t offset, std::size_t length,
                                           const std::string& what) const
{
    if (buffer < 0 || std::size_t(buffer) >= m_Model.buffers.size())
        fail(what + " refers to the buffer " + std::to_string(buffer) + ", which does not exist");
    const auto& data = m_Model.buffers[std::size_t(buffer)].data;
    if (offset > data.size() || length > data.size() - offset)
        fail(what + " exceeds its buffer");
    return {data.data() + offset, length, 0};
}

BufferReader::Bytes BufferReader::view(int index)
{
    if (index < 0 || std::size_t(index) >= m_Model.bufferViews.size())
        fail("there is no buffer view " + std::to_string(index));
    const tinygltf::BufferView& view = m_Model.bufferViews[std::size_t(index)];
    if (const auto* extension = extensionOf(view.extensions, "EXT_meshopt_compression"))
        return decompressed(index, *extension);
    Bytes bytes = rawBytes(view.buffer, view.byteOffset, view.byteLength, "the buffer view " + std::to_string(index));
    bytes.stride = view.byteStride;
    return bytes;
}

BufferReader::Bytes BufferReader::decompressed(int index, const tinygltf::Value& extension)
{
    const auto stride = std::size_t(std::max(indexOf(extension, "byteStride"), 0));
    const auto count = std::size_t(std::max(indexOf(extension, "count"), 0));
    auto found = m_Decompressed.find(index);
    if (found == m_Decompressed.end()) {
        const std::string what = "the compressed buffer view " + std::to_string(index);
        const Bytes from =
            rawBytes(indexOf(extension, "buffer"), std::size_t(std::max(indexOf(extension, "byteOffset"), 0)),
                     std::size_t(std::max(indexOf(extension, "byteLength"), 0)), what);
        const auto text = [&extension](const char* key) {
            return extension.Has(key) && extension.Get(key).IsString() ? extension.Get(key).Get<std::string>()
                                                                       : std::string();
        };
        if (stride == 0 || stride > 256 || count > (std::size_t(1) << 31) / stride)
            fail(what + " has a wrong size");
        std::vector<std::uint8_t> bytes(count * stride);
        const std::string mode = text("mode"), filter = text("filter");
        int error = -1;
        if (mode == "ATTRIBUTES" && stride % 4 == 0)
            error = meshopt_decodeVertexBuffer(bytes.data(), count, stride, from.data, from.size);
        else if (mode == "TRIANGLES" && count % 3 == 0 && (stride == 2 || stride == 4))
            error = meshopt_decodeIndexBuffer(bytes.data(), count, stride, from.data, from.size);
        else if (mode == "INDICES" && (stride == 2 || stride == 4))
            error = meshopt_decodeIndexSequence(bytes.data(), count, stride, from.data, from.size);
        if (error != 0)
            fail(what + " is damaged");
        if (filter == "OCTAHEDRAL" && (stride == 4 || stride == 8))
            meshopt_decodeFilterOct(bytes.data(), count, stride);
        else if (filter == "QUATERNION" && stride == 8)
            meshopt_decodeFilterQuat(bytes.data(), count, stride);
        else if (filter == "EXPONENTIAL" && stride % 4 == 0)
            meshopt_decodeFilterExp(bytes.data(), count, stride);
        found = m_Decompressed.emplace(index, std::move(bytes)).first;
    }
    return {found->second.data(), found->second.size(), stride};
}

Values BufferReader::values(int index)
{
    const tinygltf::Accessor& accessor = accessorAt(index);
    const std::size_t size = componentSize(accessor.componentType);
    Values values;
    values.components = componentCount(accessor.type);
    const std::size_t element = size * values.components;
    if (accessor.bufferView < 0) {
        if (accessor.count > MaxEmptyElements)
            fail("an accessor without data has too many elements");
        values.data.assign(accessor.count * values.components, 0.0f);
    } else {
        const Bytes bytes = view(accessor.bufferView);
        const std::size_t stride = bytes.stride == 0 ? element : bytes.stride;
        checkRange(bytes, accessor.byteOffset, accessor.count, element, stride);
        values.data.resize(accessor.count * values.components);
        const std::uint8_t* from = bytes.data + accessor.byteOffset;
        if (accessor.componentType == TINYGLTF_COMPONENT_TYPE_FLOAT && stride == element) {
            if (!values.data.empty())
                std::memcpy(values.data.data(), from, accessor.count * element);
        } else {
            float* to = values.data.data();
            for (std::size_t i = 0; i < accessor.count; ++i, from += stride)
                for (std::size_t c = 0; c < values.components; ++c)
                    *to++ = numberAt(from + c * size, accessor.componentType, accessor.normalized);
        }
    }
    if (accessor.sparse.isSparse)
        putSparse(accessor, values);
    return values;
}

void BufferReader::putSparse(const tinygltf::Accessor& accessor, Values& values)
{
    const auto& sparse = accessor.sparse;
    if (sparse.count < 0 || sparse.indices.byteOffset < 0 || sparse.values.byteOffset < 0)
        fail("a sparse accessor has a negative size");
    const auto count = std::size_t(sparse.count);
    const std::size_t size = componentSize(accessor.componentType), element = size * values.components;
    const std::size_t indexSize = componentSize(sparse.indices.componentType);
    const Bytes indices = view(sparse.indices.bufferView), data = view(sparse.values.bufferView);
    checkRange(indices, std::size_t(sparse.indices.byteOffset), count, indexSize, indexSize);
    checkRange(data, std::size_t(sparse.values.byteOffset), count, element, element);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at =
            wholeAt(indices.data + sparse.indices.byteOffset + i * indexSize, sparse.indices.componentType);
        if (at >= accessor.count)
            fail("a sparse accessor refers to a missing element");
        for (std::size_t c = 0; c < values.components; ++c)
            values.data[at * values.components + c] =
                numberAt(data.data + sparse.values.byteOffset + i * element + c * size, accessor.componentType,
                         accessor.normalized);
    }
}

std::vector<std::uint32_t> BufferReader::indices(int index)
{
    const tinygltf::Accessor& accessor = accessorAt(index);
    const std::size_t size = componentSize(accessor.componentType);
    if (accessor.type != TINYGLTF_TYPE_SCALAR)
        fail("indices are not single numbers");
    if (accessor.bufferView < 0 && accessor.count > MaxEmptyElements)
        fail("an accessor without data has too many elements");
    std::vector<std::uint32_t> result(accessor.bufferView < 0 ? accessor.count : 0);
    if (accessor.bufferView >= 0) {
        const Bytes bytes = view(accessor.bufferView);
        const std::size_t stride = bytes.stride == 0 ? size : bytes.stride;
        checkRange(bytes, accessor.byteOffset, accessor.count, size, stride);
        result.resize(accessor.count);
        for (std::size_t i = 0; i < accessor.count; ++i)
            result[i] = wholeAt(bytes.data + accessor.byteOffset + i * stride, accessor.componentType);
    }
    return result;
}

const tinygltf::Value* memberOf(const tinygltf::Value& object, const char* key)
{
    return object.IsObject() && object.Has(key) ? &object.Get(key) : nullptr;
}

const tinygltf::Value* extensionOf(const tinygltf::ExtensionMap& extensions, const char* name)
{
    const auto found = extensions.find(name);
    return found == extensions.end() ? nullptr : &found->second;
}

double numberOf(const tinygltf::Value& object, const char* key, double fallback)
{
    const tinygltf::Value* value = memberOf(object, key);
    return value && value->IsNumber() ? value->GetNumberAsDouble() : fallback;
}

int indexOf(const tinygltf::Value& object, const char* key)
{
    const double value = numberOf(object, key, -1);
    return value >= 0 && value <= std::numeric_limits<int>::max() ? int(value) : -1;
}

std::vector<double> numbersOf(const tinygltf::Value& object, const char* key, std::vector<double> fallback)
{
    const tinygltf::Value* value = memberOf(object, key);
    if (!value || !value->IsArray() || value->ArrayLen() < fallback.size())
        return fallback;
    for (std::size_t i = 0; i < fallback.size(); ++i)
        if (value->Get(int(i)).IsNumber())
            fallback[i] = value->Get(int(i)).GetNumberAsDouble();
    return fallback;
}

std::string label(const char* kind, int index, const std::string& name)
{
    return name.empty() ? std::string(kind) + " " + std::to_string(index) : std::string(kind) + " '" + name + "'";
}

} // namespace tov::importer::gltf
