#pragma once

#include "plugins/video/coders/timing.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace tov::plugins::video {

/// Rewrites the times of a finished file without encoding it again: the frames stay as they are. The file is replaced
/// once the new one is complete and verified. Returns the problem, empty if there was none. `stop` (reached through
/// std::atomic_ref, may be null) ends the work early, which also counts as a failure. Thread: any.
QString retimeFile(const QString& fileName, const Timing& timing, const bool* stop);

/// Joins recordings of equal format, size and rate into `output`, without encoding them again. `counts`: how many
/// frames each part must hold, or empty. Parts are checked before anything is written; `output` appears once it is
/// complete and verified, the parts stay. Returns the problem, empty if there was none. Thread: any.
QString joinFiles(const QStringList& parts, const std::vector<qint64>& counts, const QString& output, const bool* stop);

} // namespace tov::plugins::video
