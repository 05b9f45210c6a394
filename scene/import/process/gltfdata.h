#pragma once

#include "scene/import/process/streamwriter.h"

#include <tiny_gltf.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tov::importer::gltf {

/// Elements of an accessor, converted to numbers.
struct Values
{
    std::vector<float> data;
    std::size_t components = 0; ///< per element
    /// The number of elements.
    std::size_t count() const { return components == 0 ? 0 : data.size() / components; }
};

/// Access to the buffers of a model. All values of the file are checked; throws `std::runtime_error` with one line.
class BufferReader
{
public:
    explicit BufferReader(const tinygltf::Model& model) : m_Model(model) {}

    /// Normalised integers become fractions; sparse values are substituted.
    Values values(int accessor);
    /// The values of an accessor of integers.
    std::vector<std::uint32_t> indices(int accessor);

    struct Bytes
    {
        const std::uint8_t* data = nullptr;
        std::size_t size = 0;
        std::size_t stride = 0; ///< 0: tightly packed
    };
    /// The bytes of a buffer view, decompressed where EXT_meshopt_compression is used.
    Bytes view(int index);

private:
    const tinygltf::Accessor& accessorAt(int index) const;
    Bytes rawBytes(int buffer, std::size_t offset, std::size_t length, const std::string& what) const;
    Bytes decompressed(int index, const tinygltf::Value& extension);
    void putSparse(const tinygltf::Accessor& accessor, Values& values);

    const tinygltf::Model& m_Model;
    std::map<int, std::vector<std::uint8_t>> m_Decompressed; ///< by buffer view
};

/// Members of an extension, with defaults for what is missing or of another type.
double numberOf(const tinygltf::Value& object, const char* key, double fallback);
/// The member as an index; -1 when it is missing.
int indexOf(const tinygltf::Value& object, const char* key);
/// The member as a list of numbers.
std::vector<double> numbersOf(const tinygltf::Value& object, const char* key, std::vector<double> fallback);
/// The member as an object; null if it is missing.
const tinygltf::Value* memberOf(const tinygltf::Value& object, const char* key);
/// An extension of a part of the file; null when it does not use it.
const tinygltf::Value* extensionOf(const tinygltf::ExtensionMap& extensions, const char* name);

/// How messages name a part of the file: "material 'wood'", "mesh 3".
std::string label(const char* kind, int index, const std::string& name);

} // namespace tov::importer::gltf
