#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"

#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace tov::trajectory {

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

    /// The maps; null until a list was set for the first time, never null again, and a list once handed out stays as it
    /// is until this object dies. Owned here. Thread: any.
    const MatrixMapList* getMatrixMapList() const;
    /// Replaces the list; the position is cut to it. Thread: application.
    void setMatrixMapList(MatrixMapList list);
    unsigned long getPosition() const;
    /// Moves the elements and the camera of the panels that follow; beyond the end nothing moves. An edit of the
    /// scene's transforms: it takes the scene lock itself and waits while a picture is being made. Thread: any.
    void setPosition(unsigned long position);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::trajectory
