#pragma once

#include "kernel/main/export.h"

#include <array>
#include <memory>
#include <vector>

namespace tov::trajectory {

typedef std::array<double, 3> Point; ///< x, y, z in scene units

/// A path of points; the carrier element of the scene stands at the current one.
class TOV_EXPORT TrajectoryInfo
{
public:
    TrajectoryInfo();
    TrajectoryInfo(const TrajectoryInfo&) = delete;
    TrajectoryInfo& operator=(const TrajectoryInfo&) = delete;
    ~TrajectoryInfo();

    /// The path. A list once handed out stays as it is until this object dies, also when the path is replaced.
    /// Thread: any.
    const std::vector<Point>& getPoints() const;
    /// Replaces the path; the position is cut to it. Thread: application.
    void setPoints(std::vector<Point> points);
    /// Current index. Thread: any.
    unsigned long getPosition() const;
    /// Moves the carrier, the element named "carrier", to a point; beyond the end nothing moves. An edit of the scene's
    /// transforms: it takes the scene lock itself and waits while a picture is being made. Thread: any.
    void setPosition(unsigned long position);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::trajectory
