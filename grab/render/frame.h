#pragma once

#include "kernel/math/matrix.h"

#include <functional>

class QImage;
class QOpenGLFramebufferObject;

namespace tov::scene {
class SceneDrawer;
class SceneElement;
} // namespace tov::scene

namespace tov::grab::render {

// The steps that a tile of a picture and a frame of a video have in common, in the order of their use. Thread: the one
// on which the context is current, for all functions.

/// Drops the errors of earlier work, then sets the clear colour (the drawer's background, alpha 0), smooth shading,
/// depth test, lighting and colour material.
void setDrawingState(const tov::scene::SceneDrawer& drawer);
/// Resizes the drawer, in pixels, and clears colour and depth.
void clearFrame(tov::scene::SceneDrawer& drawer, int width, int height);
/// Sets the projection matrix to what `project` multiplies onto the identity, the model-view matrix to the identity,
/// and switches light 0 on.
void setProjection(const std::function<void()>& project);
/// Draws surfaces, lines and points of the tree below `root` and reads the framebuffer object back, top row first.
/// `layers`: see `SceneDrawer::glDraw`. Null if there is no image or a fatal OpenGL error was raised since
/// `setDrawingState`.
QImage drawAndRead(tov::scene::SceneDrawer& drawer, tov::scene::SceneElement* root,
                   const tov::math::Matrix<double, 4u, 4u>& transform, int layers,
                   const QOpenGLFramebufferObject& framebuffer);

} // namespace tov::grab::render
