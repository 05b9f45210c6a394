#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace tov::app {

/// What a video file itself says, asked from the encoder plug-in that knows its ending (the symbol "probeVideo", see
/// docs/encoder-plugins.md); of other files nothing is known.
struct VideoProbe
{
    bool asked = false;    ///< some plug-in knows such files, and came to an end
    bool readable = false; ///< it is a video
    qint64 frames = -1;
    double seconds = 0; ///< 0 = unknown
};

/// Asks and waits for the answer. Thread: any.
VideoProbe probeVideo(const QString& fileName);
/// Asks and calls `done` from the event loop, unless `context` is gone by then. Thread: application.
void probeVideo(const QString& fileName, QObject* context, std::function<void(const VideoProbe&)> done);

} // namespace tov::app
