#pragma once

#include "app/cli/options/requests.h"
#include "scene/model.h"
#include "scene/view/camera.h"

#include <optional>

namespace tov::gui {
class ScenePanel;
}

namespace tov::app {

/// The camera of that name in the files of the scene; no value, with one line in `error`, if it is missing. Thread:
/// application.
std::optional<tov::scene::FileCamera> findFileCamera(const QString& name, QString* error);
/// The current view of a camera of a file, with the changes of the request (angles, zoom, lens); no value if its
/// transform is not a view. The caller must keep the scene from changing. Thread: any.
std::optional<tov::scene::Camera> cameraOfFile(const tov::scene::FileCamera& file, const ViewRequest& view,
                                               const tov::scene::SceneExtent& extent);

/// Gives the panel the view of a request. `name` is one of `view.views`, or empty; `isTurning` makes room for a camera
/// that turns about the scene. On failure false with one line in `error`. Thread: application.
bool applyView(tov::gui::ScenePanel& panel, const ViewRequest& view, const QString& name, bool isTurning,
               QString* error);

} // namespace tov::app
