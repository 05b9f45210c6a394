#pragma once

#include <QImage>

#include <string>
#include <vector>

// Comparisons of pictures. Each returns a description of the difference; empty when the picture passes.

namespace tov::test {

/// True if a pixel of the mask differs from one of its neighbours.
bool onOutline(const std::vector<bool>& mask, int width, int height, int x, int y);

/// Compares the drawn pixels (alpha above 0) with the expected ones: none may differ away from the outline, and at most
/// one in 1000 of the picture on it. A picture without drawn pixels, or with only drawn pixels, never passes.
std::string silhouetteDifference(const QImage& image, const std::vector<bool>& mask);

/// Compares two pictures of one view: at most one pixel in 200 may differ by more than 8 of 255 in a colour. Pictures
/// of a single colour never pass.
std::string pictureDifference(const QImage& image, const QImage& expected);

} // namespace tov::test
