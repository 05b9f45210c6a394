#pragma once

#include "kernel/main/export.h"

#include <chrono>
#include <mutex>
#include <vector>

namespace tov::scene {

/// The moments at which a view was captured, one per frame of a recording. Thread: any.
class TOV_EXPORT CaptureTimes
{
public:
    typedef std::chrono::steady_clock Clock;

    /// Forgets all moments, before a recording starts.
    void clear();
    /// Adds the current moment, if there is memory for it.
    void add();
    /// All moments since the last `clear`, in ascending order.
    std::vector<Clock::time_point> get() const;

private:
    mutable std::mutex m_Mutex;
    std::vector<Clock::time_point> m_Moments; ///< guarded by m_Mutex
};

} // namespace tov::scene
