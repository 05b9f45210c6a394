#pragma once

#include "scene/drawing/scenedrawer.h"
#include "scene/view/camera.h"
#include "scene/view/capturetimes.h"

#include <QPoint>
#include <QTimer>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

namespace tov::gui {

/// The state of a panel, for the units that implement it: scenepanel (camera), panelinput, paneldrawing.
struct PanelState
{
    QPoint lastMouse;
    std::unique_ptr<tov::scene::SceneDrawer> drawer;
    double guideAspect = 0;
    bool isMoving = false;  ///< the camera was moved a moment ago
    QTimer stillTimer;      ///< ends `isMoving`
    double frameMs = 0;     ///< how long the last complete frame took
    int sketchAfterMs = 80; ///< see `ScenePanel::setSketchAfter`

    /// Set once; it may outlive the panel.
    const std::shared_ptr<tov::scene::CaptureTimes> captures = std::make_shared<tov::scene::CaptureTimes>();

    std::atomic<bool> follows{true};
    std::atomic<int> width{640};
    std::atomic<int> height{480};

    mutable std::mutex mutex;
    tov::scene::Camera camera;                     ///< guarded by mutex
    std::optional<tov::math::Matrix4> exactMatrix; ///< guarded by mutex; set by callers, replaces the camera
    tov::scene::SceneExtent extent;                ///< guarded by mutex; of the scene
    tov::math::Matrix4 matrix = tov::math::Matrix4::identity(); ///< guarded by mutex; made from the values above
    double projectionFactor = 1; ///< guarded by mutex; scales x and y of the matrix that callers get

    /// The matrix for the panel's own projection.
    tov::math::Matrix4 ownMatrix() const
    {
        std::lock_guard<std::mutex> guard(mutex);
        return matrix;
    }

    /// The camera that is in effect. The mutex is held.
    tov::scene::Camera currentCamera() const
    {
        if (exactMatrix)
            if (const auto found = tov::scene::cameraOfMatrix(*exactMatrix, extent, camera))
                return *found;
        return camera;
    }
};

} // namespace tov::gui
