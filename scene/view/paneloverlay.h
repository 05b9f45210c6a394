#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"
#include "scene/sceneextent.h"

#include <memory>
#include <vector>

namespace tov::scene {

/// Lines in the scene that only the panels show: pictures and videos never contain them.
struct PanelOverlay
{
    enum class Kind
    {
        Path,   ///< of a motion
        Camera, ///< the outline of a camera
    };
    struct Strip
    {
        Kind kind = Kind::Path;
        std::vector<Vector3> points; ///< joined in order; scene units
    };
    std::vector<Strip> strips;
    bool isOfCamera = false; ///< the trajectory moves the camera
};

/// Shows these lines in all panels (null: none); lines of a camera are not shown in panels that follow the trajectory,
/// because these look along them. Thread: application.
TOV_EXPORT void setPanelOverlay(std::shared_ptr<const PanelOverlay> overlay);
/// The lines that are shown, or null. Thread: application.
TOV_EXPORT std::shared_ptr<const PanelOverlay> getPanelOverlay();
/// Draws the lines under a matrix (scene to eye) and the current projection. Thread: application, with the context of a
/// panel current.
void drawPanelOverlay(const PanelOverlay& overlay, const tov::math::Matrix4& matrix);

} // namespace tov::scene
