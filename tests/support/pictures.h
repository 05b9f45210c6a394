#pragma once

#include <QImage>

#include <string>
#include <vector>

// The rules by which tests compare pictures. Each returns what differs, in words; empty: the picture passes.

namespace tov::test {

/// True where a pixel of the mask and its neighbours are not all alike.
bool onOutline(const std::vector<bool>& mask, int width, int height, int x, int y);

/// Holds the pixels that are drawn (alpha above 0) against those that should be: none may differ away from the outline,
/// and no more than one in 1000 of the picture there. Nothing drawn, or everything, never passes.
std::string silhouetteDifference(const QImage& image, const std::vector<bool>& mask);

/// Holds two pictures of one view against each other: no more than one pixel in 200 may differ by more than 8 of 255 in
/// a colour. Pictures of a single colour never pass.
std::string pictureDifference(const QImage& image, const QImage& expected);

} // namespace tov::test
