#pragma once

#include "kernel/main/export.h"

#include <array>
#include <memory>
#include <vector>

namespace tov::trajectory {

typedef std::array<double, 3> Point; ///< x, y, z in scene units

/// A path of points; the carrier element of the scene is at the current one.
class TOV_EXPORT TrajectoryInfo
{
public:
    TrajectoryInfo();
    TrajectoryInfo(const TrajectoryInfo&) = delete;
    TrajectoryInfo& operator=(const TrajectoryInfo&) = delete;
    ~TrajectoryInfo();

    /// The path. A returned list stays unchanged until this object is destroyed, even when the path is replaced.
    /// Thread: any.
    const std::vector<Point>& getPoints() const;
    /// Replaces the path; the position is limited to it. Thread: application.
    void setPoints(std::vector<Point> points);
    /// Current index. Thread: any.
    unsigned long getPosition() const;
    /// Moves the carrier, the element named "carrier", to a point; beyond the end nothing moves. An edit of the scene's
    /// transforms, which takes the scene lock itself. While a picture is being made it is postponed on the application
    /// thread; other threads wait. A capture thread also waits for the encoder; see `RecordingPace`. Thread: any.
    void setPosition(unsigned long position);
    /// Moves the carrier to the current point again, without a report. Thread: application.
    void showPosition();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::trajectory
