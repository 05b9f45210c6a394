#pragma once

#include "scene/view/camera.h"

#include <chrono>
#include <optional>

namespace tov::scene {

/// The camera on the way from `from` (share 0) to `to` (share 1): it turns about one axis, and the target moves in a
/// straight line. The projection is that of `to`.
TOV_EXPORT Camera cameraBetween(const Camera& from, const Camera& to, double share);

/// A short movement from one camera to another, slow at both ends.
class TOV_EXPORT CameraFlight
{
public:
    typedef std::chrono::steady_clock Clock;

    CameraFlight(const Camera& from, const Camera& to, Clock::time_point start, Clock::duration duration)
        : m_From(from), m_To(to), m_Start(start), m_Duration(duration)
    {}

    /// The camera at a moment of the flight; none once it has arrived.
    std::optional<Camera> cameraAt(Clock::time_point now) const;

private:
    Camera m_From;
    Camera m_To;
    Clock::time_point m_Start;
    Clock::duration m_Duration;
};

} // namespace tov::scene
