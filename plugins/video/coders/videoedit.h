#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace tov::plugins::video {

/// When the frames of a file are shown.
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

/// Rewrites the times of a finished file without encoding it again: the frames stay as they are. The file is replaced
/// once the new one is complete and verified. Returns the problem, empty if there was none. `stop` (reached through
/// std::atomic_ref, may be null) ends the work early, which is a problem, too. Thread: any.
QString retimeFile(const QString& fileName, const Timing& timing, const bool* stop);

/// Joins recordings of equal format, size and rate into `output`, without encoding them again. `counts`: how many
/// frames each part must hold, or empty. Parts are checked before anything is written; `output` appears once it is
/// complete and verified, the parts stay. Returns the problem, empty if there was none. Thread: any.
QString joinFiles(const QStringList& parts, const std::vector<qint64>& counts, const QString& output, const bool* stop);

/// Whether `stop` became true.
bool isStopped(const bool* stop);

} // namespace tov::plugins::video
