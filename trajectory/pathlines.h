#pragma once

#include "kernel/main/export.h"
#include "scene/view/paneloverlay.h"

#include <memory>

namespace tov::trajectory {

/// The path of the selected trajectory as lines for the panels: the path of the camera with the outline of a camera at
/// its keys, or the paths of the parts that move. Null when nothing is selected or only parts of an animation move.
/// Thread: application.
TOV_EXPORT std::shared_ptr<const tov::scene::PanelOverlay> pathLines();

} // namespace tov::trajectory
