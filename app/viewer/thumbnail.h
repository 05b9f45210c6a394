#pragma once

#include <QImage>

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

/// Draws a model alone, without the rest of the scene, into a square of `edge` pixels. Returns a null image if OpenGL
/// cannot be used or the model has nothing visible. Takes about as long as one frame of a view. Thread: application.
QImage drawThumbnail(tov::scene::SceneElement* model, int edge);

} // namespace tov::viewer
