#pragma once

#include <QImage>

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

/// Draws a model alone, without the rest of the scene, into a square of `edge` pixels. A null image without usable
/// OpenGL or for a model that shows nothing. Takes about as long as one frame of a view. Thread: application.
QImage drawThumbnail(tov::scene::SceneElement* model, int edge);

} // namespace tov::viewer
