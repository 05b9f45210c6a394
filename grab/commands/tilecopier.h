#pragma once

class QImage;

namespace tov::commands::grab {

/// Copies a tile into a picture, its top left corner at (x0, y0), in pixels. Every pixel goes through `QImage::pixel`
/// and `QImage::setPixel`. Helper threads share the columns of the tile; they have ended when this returns. The tile
/// must lie inside the target. Without memory for helpers it copies on the calling thread alone. Thread: command.
void copyTile(QImage& target, const QImage& tile, int x0, int y0);

} // namespace tov::commands::grab
