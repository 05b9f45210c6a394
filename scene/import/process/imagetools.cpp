#include "scene/import/process/imagetools.h"

#include <cmath>
#include <cstring>

namespace tov::importer {

namespace {

/// Height of one unit of brightness, in pixels.
constexpr float BumpHeight = 2;

DecodedImage sized(std::uint32_t width, std::uint32_t height)
{
    DecodedImage image;
    image.width = width;
    image.height = height;
    image.pixels.reset(static_cast<std::uint8_t*>(std::malloc(image.bytes())));
    if (!image.pixels)
        throw std::bad_alloc();
    return image;
}

std::uint8_t* pixelAt(const DecodedImage& image, std::uint32_t x, std::uint32_t y)
{
    return image.pixels.get() + 4 * (std::size_t(image.width) * y + x);
}

/// The pixel of `image` that corresponds to (x, y) in a picture of another size.
const std::uint8_t* samePlace(const DecodedImage& image, std::uint32_t x, std::uint32_t y, const DecodedImage& other)
{
    return pixelAt(image, std::uint32_t(std::uint64_t(x) * image.width / other.width),
                   std::uint32_t(std::uint64_t(y) * image.height / other.height));
}

float brightness(const std::uint8_t* pixel)
{
    return (float(pixel[0]) + float(pixel[1]) + float(pixel[2])) / (3 * 255.0f);
}

} // namespace

bool looksLikeNormalMap(const DecodedImage& image)
{
    double sum[3] = {};
    std::size_t count = 0;
    const std::size_t all = std::size_t(image.width) * image.height, step = std::max<std::size_t>(1, all / 4096);
    for (std::size_t i = 0; i < all; i += step, ++count)
        for (std::size_t c = 0; c < 3; ++c)
            sum[c] += image.pixels.get()[4 * i + c];
    for (double& value : sum)
        value /= double(std::max<std::size_t>(count, 1));
    return std::abs(sum[0] - 128) < 40 && std::abs(sum[1] - 128) < 40 && sum[2] > 180;
}

DecodedImage normalsFromHeights(const DecodedImage& heights)
{
    DecodedImage normals = sized(heights.width, heights.height);
    const std::uint32_t width = heights.width, height = heights.height;
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x) {
            const auto at = [&](std::uint32_t column, std::uint32_t row) {
                return brightness(pixelAt(heights, column % width, row % height));
            };
            const float dx = (at(x + 1, y) - at(x + width - 1, y)) * BumpHeight / 2;
            const float dy = (at(x, y + 1) - at(x, y + height - 1)) * BumpHeight / 2; // rows count downwards
            const float length = std::sqrt(dx * dx + dy * dy + 1);
            const float normal[3] = {-dx / length, dy / length, 1 / length};
            std::uint8_t* to = pixelAt(normals, x, y);
            for (std::size_t c = 0; c < 3; ++c)
                to[c] = std::uint8_t(std::lround((normal[c] * 0.5f + 0.5f) * 255));
            to[3] = 255;
        }
    return normals;
}

void setAlpha(DecodedImage& color, const DecodedImage& mask)
{
    bool hasAlpha = false;
    for (std::size_t i = 0; i < std::size_t(mask.width) * mask.height && !hasAlpha; ++i)
        hasAlpha = mask.pixels.get()[4 * i + 3] != 255;
    if (color.width == 1 && color.height == 1 && mask.bytes() > 4) {
        DecodedImage larger = sized(mask.width, mask.height);
        for (std::size_t i = 0; i < larger.bytes(); i += 4)
            std::memcpy(larger.pixels.get() + i, color.pixels.get(), 4);
        color = std::move(larger);
    }
    for (std::uint32_t y = 0; y < color.height; ++y)
        for (std::uint32_t x = 0; x < color.width; ++x) {
            const std::uint8_t* from = samePlace(mask, x, y, color);
            pixelAt(color, x, y)[3] = hasAlpha ? from[3] : std::uint8_t(std::lround(brightness(from) * 255));
        }
}

DecodedImage metallicRoughness(const DecodedImage* metallic, const DecodedImage* roughness)
{
    const DecodedImage& larger =
        metallic && (!roughness || metallic->bytes() > roughness->bytes()) ? *metallic : *roughness;
    DecodedImage image = sized(larger.width, larger.height);
    for (std::uint32_t y = 0; y < image.height; ++y)
        for (std::uint32_t x = 0; x < image.width; ++x) {
            std::uint8_t* to = pixelAt(image, x, y);
            to[0] = to[3] = 255;
            to[1] = roughness ? samePlace(*roughness, x, y, image)[0] : 255;
            to[2] = metallic ? samePlace(*metallic, x, y, image)[0] : 255;
        }
    return image;
}

DecodedImage whitePixel()
{
    DecodedImage image = sized(1, 1);
    std::memset(image.pixels.get(), 255, 4);
    return image;
}

} // namespace tov::importer
