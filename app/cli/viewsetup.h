#pragma once

#include "app/cli/requests.h"

namespace tov::gui {
class ScenePanel;
}

namespace tov::app {

/// Sets how all drawers of the process draw: samples, light, what is shown. On failure false with one line in `error`.
/// Thread: application.
bool applyLook(const ViewRequest& view, QString* error);

/// Gives the panel the view of a request. `name` is one of `view.views`, or empty; `isTurning` leaves room for a
/// camera that turns about the scene. On failure false with one line in `error`. Thread: application.
bool applyView(tov::gui::ScenePanel& panel, const ViewRequest& view, const QString& name, bool isTurning,
               QString* error);

} // namespace tov::app
