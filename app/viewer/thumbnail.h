#pragma once

#include <QImage>

namespace tov::scene {
class SceneElement;
struct Camera;
} // namespace tov::scene

namespace tov::viewer {

/// Draws a model alone, without the rest of the scene, into a square of `edge` pixels. Returns a null image if OpenGL
/// cannot be used or the model has nothing visible. Takes about as long as one frame of a view. Thread: application.
QImage drawThumbnail(tov::scene::SceneElement* model, int edge);
/// Draws the scene from a camera, under the same conditions. Thread: application.
QImage drawScene(const tov::scene::Camera& camera, int edge);

} // namespace tov::viewer
