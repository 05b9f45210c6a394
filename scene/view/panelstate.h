#pragma once

#include "scene/drawing/scenedrawer.h"
#include "scene/view/camera.h"
#include "scene/view/cameraflight.h"
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
    QPoint pressed;       ///< where the left button was pressed
    bool isClick = false; ///< the left button has not been dragged since it was pressed
    std::unique_ptr<tov::scene::SceneDrawer> drawer;
    double guideAspect = 0;
    bool isMoving = false;  ///< the camera was moved a moment ago
    QTimer stillTimer;      ///< ends `isMoving`
    double frameMs = 0;     ///< how long the last complete frame took
    int sketchAfterMs = 80; ///< see `ScenePanel::setSketchAfter`

    /// Set once; it may outlive the panel.
    const std::shared_ptr<tov::scene::CaptureTimes> captures = std::make_shared<tov::scene::CaptureTimes>();

    int flightMs = 0;              ///< see `ScenePanel::setFlightDuration`
    bool isStartingFlight = false; ///< `ScenePanel::fly` is moving the camera
    /// The last time another thread took the matrix; 0: never. As a count of `CameraFlight::Clock`.
    std::atomic<tov::scene::CameraFlight::Clock::rep> lastCapture{0};

    std::atomic<bool> follows{true};
    std::atomic<int> width{640};
    std::atomic<int> height{480};

    mutable std::mutex mutex;
    tov::scene::Camera camera;                     ///< guarded by mutex
    std::optional<tov::math::Matrix4> exactMatrix; ///< guarded by mutex; set by callers, replaces the camera
    tov::scene::SceneExtent extent;                ///< guarded by mutex; of the scene
    tov::math::Matrix4 matrix = tov::math::Matrix4::identity(); ///< guarded by mutex; made from the values above
    std::optional<tov::scene::CameraFlight> flight;             ///< guarded by mutex; none: the camera stands
    double projectionFactor = 1; ///< guarded by mutex; scales x and y of the matrix that callers get

    /// The matrix for the panel's own projection.
    tov::math::Matrix4 ownMatrix() const
    {
        std::lock_guard<std::mutex> guard(mutex);
        return matrix;
    }

    /// The matrix to draw with: during a flight that of a camera on the way.
    tov::math::Matrix4 shownMatrix() const
    {
        std::lock_guard<std::mutex> guard(mutex);
        const auto onTheWay = cameraOfFlight();
        return onTheWay ? onTheWay->scaledMatrix(extent) : matrix;
    }

    /// The camera of the flight; none when there is no flight or it has ended. The mutex is held.
    std::optional<tov::scene::Camera> cameraOfFlight() const
    {
        return flight ? flight->cameraAt(tov::scene::CameraFlight::Clock::now()) : std::nullopt;
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
