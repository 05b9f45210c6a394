#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <thread>
#include <vector>

namespace tov::app {

/// The contents of a video file, read by the encoder plug-in for its extension (the symbol "probeVideo", see
/// docs/encoder-plugins.md); nothing is known about other files.
struct VideoProbe
{
    bool isKnown = false;  ///< a plug-in supports the format and has finished reading
    bool readable = false; ///< it is a video
    qint64 frames = -1;
    double seconds = 0; ///< 0 = unknown
};

/// When the frames of a recording were captured.
struct FrameTimes
{
    std::vector<double> starts; ///< seconds at which each frame appears, the first at 0
    double seconds = 0;         ///< when the last frame disappears; 0 = unknown
};

/// Joins videos of one format, recorded with the same settings, without encoding them again (the symbol "joinVideos").
/// `counts`: the frames of each part. The parts are checked before anything is written; `output` appears once it is
/// complete. `stop` (reached through std::atomic_ref) ends the work early. False when no loaded plug-in can; the log
/// has the reason. Thread: any.
bool joinVideos(const QStringList& parts, const std::vector<qint64>& counts, const QString& output, const bool* stop);

/// Copies a finished video to another name of the same format, with the files that belong to it (the symbol
/// "joinVideos"). The copy appears once it is complete. False when no loaded plug-in can. Thread: any.
bool copyVideo(const QString& from, const QString& to);

/// Reads a video file on its own thread, after changing its times if requested. Thread: application.
class VideoReading : public QObject
{
    Q_OBJECT
public:
    /// Begins at once. With `times` the video is first made to play as it was captured, without encoding it again, by
    /// the encoder plug-in for its extension (the symbol "retimeVideo"); when that fails the file stays as
    /// it is. A video that does not have one frame per time gets evenly spaced frames.
    explicit VideoReading(const QString& fileName, const std::optional<FrameTimes>& times = std::nullopt,
                          QObject* parent = nullptr);
    /// Waits for the thread. Reading ends early; a change of the times is completed.
    ~VideoReading() override;

    /// Ends early, as if no plug-in knew such files; a change of the times is given up.
    void stop();

signals:
    /// Once, from the event loop.
    void done(const tov::app::VideoProbe& probe);

private:
    const bool m_ChangesTimes;
    bool m_Stop = false; ///< reached through std::atomic_ref
    std::thread m_Thread;
};

} // namespace tov::app
