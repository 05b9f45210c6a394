#include "scene/import/process/panorama.h"

#include "scene/import/meshstream.h"
#include "scene/import/process/folder.h"
#include "scene/import/process/streamwriter.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The only unit with this decoder: images.cpp leaves out high dynamic range.
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_HDR
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 16384
#include <stb/stb_image.h>

namespace tov::importer {

namespace {

constexpr std::size_t MaxFileBytes = std::size_t(256) << 20;

typedef std::vector<std::uint8_t> Bytes;

/// The end of a row of run-length coded pixels that begins at `at`; no value if the data end earlier.
std::optional<std::size_t> endOfRow(const Bytes& bytes, std::size_t at, int width)
{
    at += 4;
    for (int component = 0; component < 4; ++component)
        for (int x = 0; x < width;) {
            if (at >= bytes.size())
                return std::nullopt;
            const int count = bytes[at];
            const bool isRun = count > 128;
            x += isRun ? count - 128 : std::max(count, 1);
            at += isRun ? 2 : 1 + std::size_t(count);
        }
    return at <= bytes.size() ? std::optional(at) : std::nullopt;
}

/// Whether a file holds all its rows. They follow the line with the size, which follows an empty line. The decoder
/// itself does not detect the end of the data.
bool isWhole(const Bytes& bytes, int width, int height)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::size_t header = text.find("\n\n");
    const std::size_t line = header == text.npos ? header : text.find('\n', header + 2);
    if (line == text.npos)
        return false;
    std::optional<std::size_t> at = line + 1;
    const auto isCoded = [&bytes, width](std::size_t row) {
        return row + 4 <= bytes.size() && bytes[row] == 2 && bytes[row + 1] == 2 &&
               bytes[row + 2] * 256 + bytes[row + 3] == width;
    };
    if (width < 8 || width >= 32768 || !isCoded(*at))
        return bytes.size() - *at >= std::size_t(4) * std::size_t(width) * std::size_t(height);
    for (int row = 0; row < height && at; ++row)
        at = isCoded(*at) ? endOfRow(bytes, *at, width) : std::nullopt;
    return at.has_value();
}

} // namespace

void readPanorama(const std::filesystem::path& file)
{
    const Bytes bytes = readWholeFile(file);
    if (bytes.size() > MaxFileBytes)
        throw std::runtime_error("it is larger than " + std::to_string(MaxFileBytes >> 20) + " MB");
    const int size = int(bytes.size());
    int width = 0, height = 0, channels = 0;
    if (!stbi_is_hdr_from_memory(bytes.data(), size) ||
        !stbi_info_from_memory(bytes.data(), size, &width, &height, &channels))
        throw std::runtime_error("it is not a Radiance picture");
    if (width < 2 || height < 1 || std::uint64_t(width) * std::uint64_t(height) > tov::scene::stream::MaxPanoramaPixels)
        throw std::runtime_error("its size is out of range: " + std::to_string(width) + " x " + std::to_string(height) +
                                 " pixels");
    if (!isWhole(bytes, width, height))
        throw std::runtime_error("it is truncated");
    const std::unique_ptr<float, void (*)(void*)> pixels(
        stbi_loadf_from_memory(bytes.data(), size, &width, &height, &channels, 3), &stbi_image_free);
    if (!pixels)
        throw std::runtime_error("it is damaged");
    const tov::scene::stream::PanoramaHeader header{std::uint32_t(width), std::uint32_t(height)};
    writeAll(&header, sizeof header);
    writeAll(pixels.get(), std::size_t(width) * std::size_t(height) * 3 * sizeof(float));
}

} // namespace tov::importer
