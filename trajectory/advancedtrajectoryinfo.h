#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"

#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace tov::trajectory {

class Motion;

/// Element name to its transform (element to scene); the name "camera" is the view (eye to scene).
typedef std::map<QString, tov::math::Matrix<double, 4u, 4u>> MatrixMap;
typedef std::vector<MatrixMap> MatrixMapList;

/// A path of several elements and the camera: a map of matrices for each position.
class TOV_EXPORT AdvancedTrajectoryInfo
{
public:
    AdvancedTrajectoryInfo();
    AdvancedTrajectoryInfo(const AdvancedTrajectoryInfo&) = delete;
    AdvancedTrajectoryInfo& operator=(const AdvancedTrajectoryInfo&) = delete;
    ~AdvancedTrajectoryInfo();

    /// The maps; null until a list is set for the first time, never null again. A returned list stays unchanged until
    /// this object is destroyed. Owned here. Thread: any.
    const MatrixMapList* getMatrixMapList() const;
    /// Replaces the list; the position is limited to it. Thread: application.
    void setMatrixMapList(MatrixMapList list);
    /// Replaces the list by one that has an empty map for each frame of a motion; the motion moves the scene. Thread:
    /// application.
    void setMotion(std::shared_ptr<const Motion> motion);
    /// Replaces the motion by one with the same number of frames. Thread: application.
    void changeMotion(std::shared_ptr<const Motion> motion);
    /// Null: there is a list of matrices. Thread: any.
    std::shared_ptr<const Motion> getMotion() const;
    /// The current position, from 0. Thread: any.
    unsigned long getPosition() const;
    /// Moves the elements and the camera of the panels that follow; beyond the end nothing moves. Moving elements is an
    /// edit of the scene's transforms, which takes the scene lock itself. While a picture is being made it is postponed
    /// on the application thread; other threads wait. A capture thread also waits for the encoder; see `RecordingPace`.
    /// Thread: any.
    void setPosition(unsigned long position);
    /// Moves everything to the current position again, without a report. Thread: application.
    void showPosition();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::trajectory
