// Flights of a panel to a new view.

#include "scene/view/panelstate.h"
#include "scene/view/scenepanel.h"

namespace tov::gui {

using tov::scene::Camera;
using tov::scene::CameraFlight;

namespace {

/// A recording takes a frame at least this often.
constexpr auto CapturePause = std::chrono::seconds(1);

bool isCaptured(CameraFlight::Clock::rep lastCapture)
{
    const CameraFlight::Clock::time_point last{CameraFlight::Clock::duration(lastCapture)};
    return lastCapture != 0 && CameraFlight::Clock::now() - last < CapturePause;
}

} // namespace

void ScenePanel::fly(const std::function<void()>& move)
{
    const Camera from = getShownCamera();
    d->isStartingFlight = true;
    move();
    d->isStartingFlight = false;
    if (d->flightMs <= 0 || !isVisible() || isCaptured(d->lastCapture))
        return;
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->flight.emplace(from, d->currentCamera(), CameraFlight::Clock::now(), std::chrono::milliseconds(d->flightMs));
    }
    noteMove();
    update();
}

void ScenePanel::setFlightDuration(int ms)
{
    d->flightMs = ms;
}

bool ScenePanel::isFlying() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->isStartingFlight || d->cameraOfFlight().has_value();
}

Camera ScenePanel::getShownCamera() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    const auto onTheWay = d->cameraOfFlight();
    return onTheWay ? *onTheWay : d->currentCamera();
}

void ScenePanel::endFlight()
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        if (!d->flight)
            return;
        d->flight.reset();
    }
    update();
}

} // namespace tov::gui
