#pragma once

#include <QString>

namespace tov::gui {
class ScenePanel;
}

namespace tov::app {

struct MotionRequest;
struct ViewRequest;

// Applies a motion to the scene. The panel is the active one and shows the view. On failure false with one line in
// `error`. Thread: application.

/// Moves the camera of a standard view back so that the animation of the request stays in the picture. Leaves the scene
/// in a pose of the animation.
bool fitAnimation(tov::gui::ScenePanel& panel, const MotionRequest& motion, QString* error);

/// Selects the requested trajectory, at its first position. `view` is the view that it starts from.
bool selectTrajectory(const MotionRequest& motion, const ViewRequest& view, double fps, QString* error);

} // namespace tov::app
