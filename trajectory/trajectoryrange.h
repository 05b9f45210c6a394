#pragma once

#include "kernel/main/export.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryinfo.h"

#include <memory>
#include <vector>

namespace tov::trajectory {

/// Ranges of a trajectory, for recording it in parts: each position of a range shows what the same position of the
/// whole trajectory shows. Thread: application.
class TOV_EXPORT TrajectoryRange
{
public:
    /// Stores the trajectory that is selected now.
    TrajectoryRange();

    /// Positions of the whole trajectory.
    unsigned long getCount() const { return m_Count; }
    /// Selects `count` positions (at least 1) from `first` on as a trajectory of their own. Ranges that are selected
    /// one after the other must ascend: elements that a list of matrices moved in a later range are not put back. The
    /// whole trajectory can be used again after it was selected again.
    void select(unsigned long first, unsigned long count) const;

private:
    MatrixMap mapAt(unsigned long position) const;

    int m_Mode;
    unsigned long m_Count;
    std::shared_ptr<const Motion> m_Motion; ///< null: one of the lists
    const std::vector<Point>& m_Points;     ///< the trajectory info keeps it
    const MatrixMapList* mp_Maps;           ///< the trajectory info keeps it
};

} // namespace tov::trajectory
