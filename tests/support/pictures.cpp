#include "tests/support/pictures.h"

#include <cstdlib>
#include <string>

namespace tov::test {

namespace {

std::string sizeOf(const QImage& image)
{
    return std::to_string(image.width()) + " x " + std::to_string(image.height());
}

bool isBlank(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != image.pixel(0, 0))
                return false;
    return true;
}

} // namespace

bool onOutline(const std::vector<bool>& mask, int width, int height, int x, int y)
{
    const bool own = mask[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            const int nx = x + dx, ny = y + dy;
            if (nx >= 0 && ny >= 0 && nx < width && ny < height &&
                mask[std::size_t(ny) * std::size_t(width) + std::size_t(nx)] != own)
                return true;
        }
    return false;
}

std::string silhouetteDifference(const QImage& image, const std::vector<bool>& mask)
{
    const std::size_t pixels = std::size_t(image.width()) * std::size_t(image.height());
    if (mask.size() != pixels)
        return "a picture of another size: " + sizeOf(image);
    std::size_t different = 0, misplaced = 0, expected = 0, drawn = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const bool belongs = mask[std::size_t(y) * std::size_t(image.width()) + std::size_t(x)];
            const bool there = qAlpha(image.pixel(x, y)) != 0;
            expected += belongs;
            drawn += there;
            if (there == belongs)
                continue;
            ++different;
            misplaced += !onOutline(mask, image.width(), image.height(), x, y);
        }
    if (expected == 0 || expected == pixels)
        return "nothing to compare with: " + std::to_string(expected) + " pixels expected";
    if (drawn == 0 || drawn == pixels)
        return "a blank picture: " + std::to_string(drawn) + " pixels drawn";
    if (misplaced > 0)
        return std::to_string(misplaced) + " pixels away from the outline differ";
    if (different > pixels / 1000)
        return std::to_string(different) + " pixels of " + std::to_string(pixels) + " differ along the outline";
    return {};
}

std::string pictureDifference(const QImage& image, const QImage& expected)
{
    if (image.isNull() || image.size() != expected.size())
        return "sizes differ: " + sizeOf(image) + ", " + sizeOf(expected);
    if (isBlank(image) || isBlank(expected))
        return "a blank picture";
    int different = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb a = image.pixel(x, y), b = expected.pixel(x, y);
            different += std::abs(qRed(a) - qRed(b)) > 8 || std::abs(qGreen(a) - qGreen(b)) > 8 ||
                         std::abs(qBlue(a) - qBlue(b)) > 8;
        }
    if (different > image.width() * image.height() / 200)
        return std::to_string(different) + " pixels of " + sizeOf(image) + " differ";
    return {};
}

} // namespace tov::test
