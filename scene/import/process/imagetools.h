#pragma once

#include "scene/import/process/images.h"

namespace tov::importer {

/// True for pictures that hold directions: mostly (0.5, 0.5, 1). Some files call them bump maps.
bool looksLikeNormalMap(const DecodedImage& image);
/// A normal map from the heights of a bump map; repeats at the sides.
DecodedImage normalsFromHeights(const DecodedImage& heights);
/// Takes the alpha of `color` from the brightness of `mask`, or from its alpha where it has one.
void setAlpha(DecodedImage& color, const DecodedImage& mask);
/// Green from the red of `roughness`, blue from the red of `metallic`; a missing one counts as 1.
DecodedImage metallicRoughness(const DecodedImage* metallic, const DecodedImage* roughness);
/// One white pixel.
DecodedImage whitePixel();

} // namespace tov::importer
