#pragma once

class QColor;
class QImage;

namespace tov::app {

/// Removes the background from a drawn picture, in place: colours that are blended over `background` become those of
/// the foreground with straight alpha; pixels with alpha 0 become transparent black. `image` has 32 bits per pixel,
/// with alpha. Thread: any.
void removeBackground(QImage& image, const QColor& background);

} // namespace tov::app
