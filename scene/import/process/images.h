#pragma once

#include "scene/import/process/folder.h"
#include "scene/import/process/streamwriter.h"

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include <cstdlib>

namespace tov::importer {

/// The problem of an image, in one line.
struct ImageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

struct FreeDeleter
{
    /// Frees what stb_image or another C library has allocated.
    void operator()(void* data) const { std::free(data); }
};

/// Red, green, blue, alpha; top row first.
struct DecodedImage
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::unique_ptr<std::uint8_t, FreeDeleter> pixels;

    /// The size of the pixels in bytes.
    std::uint64_t bytes() const { return std::uint64_t(4) * width * height; }
};

/// Decodes PNG, JPEG, WebP, and the other formats that stb_image supports. The size in the header is checked before
/// memory is allocated. Throws `ImageError`.
DecodedImage decodeImage(const std::uint8_t* bytes, std::size_t size);
/// Halves the sides until neither is larger than `maxSide` and the pixels take at most `maxBytes`.
void scaleDown(DecodedImage& image, std::uint32_t maxSide, std::uint64_t maxBytes);

/// The images of a model: each is decoded once and written to the stream at once. An image that cannot be read gives a
/// warning.
class ImageStore
{
public:
    ImageStore(StreamWriter& writer, const ModelFolder& folder) : m_Writer(writer), m_Folder(folder) {}

    /// The index in the stream, or `stream::None`. `place` says where the file names the image: "material 'x'".
    std::uint32_t addFile(const std::string& name, const std::string& place);
    /// The same for an image in memory; `name` is for warnings.
    std::uint32_t addEncoded(const std::string& name, const std::uint8_t* bytes, std::size_t size,
                             const std::string& place);
    /// As above, without writing it; without pixels when it cannot be read.
    DecodedImage decodeFile(const std::string& name, const std::string& place);
    /// The same for an image in memory.
    DecodedImage decode(const std::string& name, const std::uint8_t* bytes, std::size_t size, const std::string& place);
    /// Takes pixels as they are; the caller has checked the size.
    std::uint32_t addDecoded(const std::string& name, DecodedImage image);

private:
    StreamWriter& m_Writer;
    const ModelFolder& m_Folder;
    std::map<std::string, std::uint32_t> m_Files; ///< by path
    std::uint64_t m_Bytes = 0;
};

} // namespace tov::importer
