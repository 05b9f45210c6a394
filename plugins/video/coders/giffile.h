#pragma once

#include "plugins/video/coders/timing.h"

#include <QStringList>

namespace tov::plugins::video {

/// `retimeFile` and `joinFiles` for animated GIFs, block by block (GIF89a specification). They write `output` and do
/// not verify it.
QString retimeGif(const QString& fileName, const QString& output, const Timing& timing);
/// As `joinFiles`, for animated GIFs.
QString joinGifs(const QStringList& parts, const std::vector<qint64>& counts, const QString& output);
/// Frames in a file; negative when it is not a complete GIF.
qint64 countGifFrames(const QString& fileName);

} // namespace tov::plugins::video
