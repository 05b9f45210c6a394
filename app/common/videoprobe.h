#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace tov::app {

/// What a video file itself says, asked from ffprobe where that program is installed and knows the ending; nobody is
/// asked about formats that further plug-ins bring.
struct VideoProbe
{
    bool asked = false;    ///< there is such a program, it knows such files, and it came to an end
    bool readable = false; ///< it found a video stream
    qint64 frames = -1;
    double seconds = 0; ///< 0 = unknown
};

/// Asks and waits for the answer. Thread: any.
VideoProbe probeVideo(const QString& fileName);
/// Asks and calls `done` from the event loop, unless `context` is gone by then. Thread: application.
void probeVideo(const QString& fileName, QObject* context, std::function<void(const VideoProbe&)> done);

} // namespace tov::app
