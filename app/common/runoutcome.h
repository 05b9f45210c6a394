#pragma once

#include "app/common/runrecords.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/util/filestamp.h"
#include "scene/view/capturetimes.h"
#include "trajectory/recordingpace.h"

#include <QElapsedTimer>
#include <QMetaType>
#include <QObject>
#include <QSize>
#include <QStringList>

#include <map>
#include <memory>

namespace tov::app {

class VideoReading;
struct FrameTimes;
struct VideoProbe;

/// The result of one run of a command, after the file that it wrote has been verified.
struct RunOutcome
{
    enum class Status
    {
        Done,    ///< it ended by itself without an error, and its output is complete
        Stopped, ///< it was stopped; its output so far is complete
        Failed,
    };
    Status status = Status::Failed;
    QString reason;      ///< why it failed, one line; empty otherwise
    QStringList files;   ///< files of the run that can be opened, also after a failure
    QSize size;          ///< pixels; invalid when unknown
    qint64 frames = -1;  ///< of a video; -1 = unknown, or a picture
    double seconds = 0;  ///< how long the video plays; 0 = unknown, or a picture
    double captured = 0; ///< how long the capture of a free recording took, seconds; 0 = another run
    qint64 bytes = 0;    ///< of the files
    double elapsed = 0;  ///< how long the run took, seconds

    static constexpr double RealTimeTolerance = 1.03;

    bool isDone() const { return status == Status::Done; }
    /// Captured frames per second of a free recording; 0 when unknown.
    double captureRate() const { return captured > 0 && frames > 0 ? double(frames) / captured : 0; }
    /// Whether a free recording plays as long as it was recorded.
    bool isInRealTime() const { return playbackSpeed() > 1 / RealTimeTolerance && playbackSpeed() < RealTimeTolerance; }
    /// How many times faster than it was captured a free recording plays; 0 when unknown.
    double playbackSpeed() const { return captured > 0 && seconds > 0 ? captured / seconds : 0; }
};

/// Watches every run of the command processor from before it touches anything, verifies what it wrote, and reports one
/// outcome for each. A run of a command with a parameter "filename" is one that writes a file; with "sync" it is a
/// recording. Empty files and incomplete pictures are removed, so that they are not mistaken for results. Thread:
/// application.
class RunWatcher : public QObject
{
    Q_OBJECT
public:
    explicit RunWatcher(FailureLog::Console console, QObject* parent = nullptr);
    ~RunWatcher() override;

    /// True when the run writes a file.
    static bool writesFile(const tov::main::CommandRun& run);
    /// True when the run records a video.
    static bool isRecording(const tov::main::CommandRun& run);
    /// True when the run records a video in real time, instead of stepping through a trajectory.
    static bool isFreeRecording(const tov::main::CommandRun& run);

    /// Whether free recordings are changed to play as long as they were recorded, before they are verified (default:
    /// no).
    void setPlaysInRealTime(bool inRealTime) { m_PlaysInRealTime = inRealTime; }

    /// Errors logged by runs and by refused starts.
    FailureLog& getFailures() { return m_Failures; }
    /// Ends the verification of videos early; their frames remain unknown.
    void skipVerification();

signals:
    /// A recording can add no more frames. Emitted once per recording, which goes on until it is stopped.
    void recordingLost(const tov::main::CommandRunPointer& run, const QString& why);
    /// Once per run, after its file has been verified.
    void ended(const tov::main::CommandRunPointer& run, const tov::app::RunOutcome& outcome);

private:
    class LossSink;
    struct Watched
    {
        tov::main::CommandRunPointer run;
        tov::util::FileStamp before;
        tov::util::FileStamp folderBefore; ///< of the file
        QElapsedTimer clock;
        tov::scene::CaptureTimes::Clock::time_point start = tov::scene::CaptureTimes::Clock::now();
        std::shared_ptr<tov::scene::CaptureTimes> captures;        ///< of a free recording; null otherwise
        std::shared_ptr<tov::trajectory::RecordingPace::Run> pace; ///< of a recording; null otherwise
        bool isAlone = true; ///< no other run at the same time, so every error belongs to this one
        bool isLost = false;
    };

    static bool isWritten(const Watched& watched);
    static FrameTimes frameTimesOf(const Watched& watched);
    void begin(const tov::main::CommandRunPointer& run);
    void finish(const tov::main::CommandRunPointer& run);
    void verifyPicture(const Watched& watched, RunOutcome& outcome) const;
    void verifyVideo(const Watched& watched, RunOutcome outcome);
    void finishVideo(const Watched& watched, RunOutcome outcome, const VideoProbe& probe);
    void report(const Watched& watched, RunOutcome outcome);
    void reportLoss(const QString& why);

    bool m_PlaysInRealTime = false;
    FailureLog m_Failures;
    std::unique_ptr<LossSink> mp_Losses;
    std::map<quint64, Watched> m_Watched;        ///< by run
    std::map<quint64, VideoReading*> m_Readings; ///< by run; children of this object
};

} // namespace tov::app

Q_DECLARE_METATYPE(tov::app::RunOutcome)
