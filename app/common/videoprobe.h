#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <thread>
#include <vector>

namespace tov::app {

/// The contents of a video file, read by the encoder plug-in that knows its ending (the symbol "probeVideo", see
/// docs/encoder-plugins.md); nothing is known about other files.
struct VideoProbe
{
    bool isKnown = false;  ///< a plug-in knows such files and has finished reading
    bool readable = false; ///< it is a video
    qint64 frames = -1;
    double seconds = 0; ///< 0 = unknown
};

/// Makes a finished video play for `seconds`, its frames evenly spaced, without encoding it again. Uses the encoder
/// plug-in that knows the file's ending (the symbol "retimeVideo"). False when none does or it fails; the file is then
/// unchanged. Thread: any.
bool retimeVideo(const QString& fileName, qint64 frames, double seconds);

/// Joins videos of one format, recorded with the same settings, without encoding them again (the symbol "joinVideos").
/// `counts`: the frames of each part. The parts are checked before anything is written; `output` appears once it is
/// complete. `stop` (reached through std::atomic_ref) ends the work early. False when no loaded plug-in can; the log
/// has the reason. Thread: any.
bool joinVideos(const QStringList& parts, const std::vector<qint64>& counts, const QString& output, const bool* stop);

/// Copies a finished video to another name of the same format, with the files that belong to it (the symbol
/// "joinVideos"). The copy appears once it is complete. False when no loaded plug-in can. Thread: any.
bool copyVideo(const QString& from, const QString& to);

/// Reads a video file on a thread of its own. Thread: application.
class VideoReading : public QObject
{
    Q_OBJECT
public:
    /// Begins at once.
    explicit VideoReading(const QString& fileName, QObject* parent = nullptr);
    /// Waits for the thread, which soon ends.
    ~VideoReading() override;

    /// Ends early, as if no plug-in knew such files.
    void stop();

signals:
    /// Once, from the event loop.
    void done(const tov::app::VideoProbe& probe);

private:
    bool m_Stop = false; ///< reached through std::atomic_ref
    std::thread m_Thread;
};

} // namespace tov::app
