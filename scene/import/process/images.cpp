#include "scene/import/process/images.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include <spng.h>
#include <stb/stb_image.h>
#include <turbojpeg.h>
#include <webp/decode.h>

namespace tov::importer {

namespace {

/// Pixels of an image before it is scaled down: 1 GiB.
constexpr std::uint64_t MaxPixels = std::uint64_t(1) << 28;

/// Allocates memory for an image whose header has been read.
DecodedImage allocate(std::uint64_t width, std::uint64_t height)
{
    const std::string size = std::to_string(width) + " x " + std::to_string(height);
    if (width == 0 || height == 0)
        throw ImageError("it is empty (" + size + ")");
    if (width > MaxPixels || height > MaxPixels || width * height > MaxPixels)
        throw ImageError("it is too large (" + size + ")");
    DecodedImage image;
    image.width = std::uint32_t(width);
    image.height = std::uint32_t(height);
    image.pixels.reset(static_cast<std::uint8_t*>(std::malloc(image.bytes())));
    if (!image.pixels)
        throw ImageError("there is not enough memory for it (" + size + ")");
    return image;
}

DecodedImage decodePng(const std::uint8_t* bytes, std::size_t size)
{
    const std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> context(spng_ctx_new(0), &spng_ctx_free);
    if (!context)
        throw std::bad_alloc();
    // Text and profiles in the file are not needed, so a small limit is enough.
    spng_set_chunk_limits(context.get(), 1 << 24, 1 << 26);
    spng_set_crc_action(context.get(), SPNG_CRC_USE, SPNG_CRC_USE);
    spng_ihdr header;
    int error = spng_set_png_buffer(context.get(), bytes, size);
    if (error == 0)
        error = spng_get_ihdr(context.get(), &header);
    if (error != 0)
        throw ImageError(spng_strerror(error));
    DecodedImage image = allocate(header.width, header.height);
    error = spng_decode_image(context.get(), image.pixels.get(), image.bytes(), SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
    if (error != 0)
        throw ImageError(spng_strerror(error));
    return image;
}

DecodedImage decodeJpeg(const std::uint8_t* bytes, std::size_t size, bool& isCmyk)
{
    const std::unique_ptr<void, int (*)(void*)> decoder(tjInitDecompress(), &tjDestroy);
    if (!decoder)
        throw std::bad_alloc();
    int width = 0, height = 0, sampling = 0, colors = 0;
    if (tjDecompressHeader3(decoder.get(), bytes, size, &width, &height, &sampling, &colors) != 0)
        throw ImageError(tjGetErrorStr2(decoder.get()));
    isCmyk = colors == TJCS_CMYK || colors == TJCS_YCCK;
    if (isCmyk)
        return {};
    DecodedImage image = allocate(std::uint64_t(width), std::uint64_t(height));
    if (tjDecompress2(decoder.get(), bytes, size, image.pixels.get(), width, 0, height, TJPF_RGBA, TJFLAG_LIMITSCANS) !=
        0)
        throw ImageError(tjGetErrorStr2(decoder.get()));
    return image;
}

DecodedImage decodeWebp(const std::uint8_t* bytes, std::size_t size)
{
    int width = 0, height = 0;
    if (!WebPGetInfo(bytes, size, &width, &height))
        throw ImageError("it is damaged");
    DecodedImage image = allocate(std::uint64_t(width), std::uint64_t(height));
    if (!WebPDecodeRGBAInto(bytes, size, image.pixels.get(), image.bytes(), 4 * width))
        throw ImageError("it is damaged");
    return image;
}

DecodedImage decodeOther(const std::uint8_t* bytes, std::size_t size)
{
    int width = 0, height = 0, channels = 0;
    const int length = int(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
    if (!stbi_info_from_memory(bytes, length, &width, &height, &channels))
        throw ImageError(stbi_failure_reason() ? stbi_failure_reason() : "it is damaged");
    DecodedImage image = allocate(std::uint64_t(width), std::uint64_t(height));
    image.pixels.reset(); // stb_image allocates its own memory
    image.pixels.reset(stbi_load_from_memory(bytes, length, &width, &height, &channels, 4));
    if (!image.pixels || std::uint32_t(width) != image.width || std::uint32_t(height) != image.height)
        throw ImageError(stbi_failure_reason() ? stbi_failure_reason() : "it is damaged");
    return image;
}

bool startsWith(const std::uint8_t* bytes, std::size_t size, const char* text, std::size_t length)
{
    return size >= length && std::memcmp(bytes, text, length) == 0;
}

/// Mean of two by two pixels; an odd last row or column is dropped.
DecodedImage halved(const DecodedImage& image)
{
    DecodedImage half = allocate(std::max(1u, image.width / 2), std::max(1u, image.height / 2));
    const std::uint32_t stepX = image.width > 1 ? 1 : 0, stepY = image.height > 1 ? 1 : 0;
    const std::size_t stride = 4 * std::size_t(image.width);
    for (std::uint32_t y = 0; y < half.height; ++y)
        for (std::uint32_t x = 0; x < half.width; ++x)
            for (std::uint32_t c = 0; c < 4; ++c) {
                const std::uint8_t* from = image.pixels.get() + (stepY + 1) * y * stride + 4 * (stepX + 1) * x + c;
                const unsigned sum =
                    from[0] + from[4 * stepX] + from[stepY * stride] + from[stepY * stride + 4 * stepX];
                half.pixels.get()[4 * (std::size_t(half.width) * y + x) + c] = std::uint8_t((sum + 2) / 4);
            }
    return half;
}

} // namespace

DecodedImage decodeImage(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0)
        throw ImageError("it is empty");
    if (startsWith(bytes, size, "\x89PNG", 4))
        return decodePng(bytes, size);
    if (startsWith(bytes, size, "\xff\xd8\xff", 3)) {
        bool isCmyk = false;
        DecodedImage image = decodeJpeg(bytes, size, isCmyk);
        return isCmyk ? decodeOther(bytes, size) : std::move(image);
    }
    if (startsWith(bytes, size, "RIFF", 4) && size > 12 && std::memcmp(bytes + 8, "WEBP", 4) == 0)
        return decodeWebp(bytes, size);
    if (startsWith(bytes, size, "\xabKTX", 4) || startsWith(bytes, size, "DDS ", 4))
        throw ImageError("compressed textures (KTX, DDS) are not supported");
    return decodeOther(bytes, size);
}

void scaleDown(DecodedImage& image, std::uint32_t maxSide, std::uint64_t maxBytes)
{
    while ((image.width > maxSide || image.height > maxSide || image.bytes() > maxBytes) &&
           (image.width > 1 || image.height > 1))
        image = halved(image);
}

std::uint32_t ImageStore::addFile(const std::string& name, const std::string& place)
{
    const auto file = m_Folder.find(name);
    if (!file) {
        m_Writer.addWarning("the texture '" + name + "' of " + place + " is missing");
        return stream::None;
    }
    const auto known = m_Files.find(file->string());
    if (known != m_Files.end())
        return known->second;
    const auto bytes = readWholeFile(*file);
    const std::uint32_t index = addEncoded(name, bytes.data(), bytes.size(), place);
    m_Files.emplace(file->string(), index);
    return index;
}

DecodedImage ImageStore::decodeFile(const std::string& name, const std::string& place)
{
    const auto file = m_Folder.find(name);
    if (!file) {
        m_Writer.addWarning("the texture '" + name + "' of " + place + " is missing");
        return {};
    }
    const auto bytes = readWholeFile(*file);
    return decode(name, bytes.data(), bytes.size(), place);
}

DecodedImage ImageStore::decode(const std::string& name, const std::uint8_t* bytes, std::size_t size,
                                const std::string& place)
{
    try {
        return decodeImage(bytes, size);
    } catch (const ImageError& error) {
        m_Writer.addWarning("the texture '" + name + "' of " + place + " cannot be read: " + error.what());
        return {};
    }
}

std::uint32_t ImageStore::addEncoded(const std::string& name, const std::uint8_t* bytes, std::size_t size,
                                     const std::string& place)
{
    DecodedImage image = decode(name, bytes, size, place);
    return image.pixels ? addDecoded(name, std::move(image)) : stream::None;
}

std::uint32_t ImageStore::addDecoded(const std::string& name, DecodedImage image)
{
    scaleDown(image, stream::MaxImageSide, stream::MaxImageBytes - std::min(m_Bytes, stream::MaxImageBytes));
    m_Bytes += image.bytes();
    return m_Writer.addImage(name, image.width, image.height, image.pixels.get());
}

} // namespace tov::importer
