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

    /// The path. A snapshot: replacing the path does not change it under a reader. Thread: any.
    std::vector<Point> getPoints() const;
    /// Replaces the path; the position is cut to it. Thread: application.
    void setPoints(std::vector<Point> points);
    /// Current index. Thread: any.
    unsigned long getPosition() const;
    /// Moves the carrier to a point; beyond the end nothing moves. Takes the scene lock itself and waits for nobody
    /// else. Thread: any.
    void setPosition(unsigned long position);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::trajectory
