#pragma once

#include <QtGlobal>

#include <cstddef>
#include <vector>

namespace tov::plugins::video {

/// The times at which the frames of a file are shown.
struct Timing
{
    /// Seconds at which each frame appears, ascending; empty: evenly spaced.
    std::vector<double> starts;
    double seconds; ///< when the last frame disappears

    /// When frame `index` of `count` appears; `count` itself: when the last one disappears.
    double at(qint64 index, qint64 count) const
    {
        if (index >= count)
            return seconds;
        return starts.empty() ? seconds * double(index) / double(count) : starts[std::size_t(index)] - starts.front();
    }
};

/// Whether `stop`, which is reached through std::atomic_ref and may be null, became true. Thread: any.
bool isStopped(const bool* stop);

} // namespace tov::plugins::video
