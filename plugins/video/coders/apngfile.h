#pragma once

#include "plugins/video/coders/timing.h"

#include <QStringList>

namespace tov::plugins::video {

/// `retimeFile` and `joinFiles` for animated PNGs, chunk by chunk (PNG specification, APNG extension). They write
/// `output` and do not verify it.
QString retimeApng(const QString& fileName, const QString& output, const Timing& timing);
/// As `joinFiles`, for animated PNGs.
QString joinApngs(const QStringList& parts, const std::vector<qint64>& counts, const QString& output);
/// Frames in a file; negative when it is not a complete animated PNG.
qint64 countApngFrames(const QString& fileName);

} // namespace tov::plugins::video
