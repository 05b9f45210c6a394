#include "app/common/runoutcome.h"

#include "app/common/pictureprobe.h"
#include "app/common/videoprobe.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QThread>

#include <functional>
#include <utility>

namespace tov::app {

using tov::main::CommandProcessor;
using tov::main::CommandRun;
using tov::main::CommandRunPointer;
using tov::util::FileStamp;

namespace {

constexpr double MsPerSecond = 1000;
/// Seconds that a recording of a single frame plays, if its end is unknown.
constexpr double ShortestFrame = 0.04;

QString fileNameOf(const CommandRun& run)
{
    return run.getArgument(QStringLiteral("filename"));
}

} // namespace

/// Passes on the records that show that a recording is lost, from the logging thread.
class RunWatcher::LossSink : public tov::log::LogSink
{
public:
    explicit LossSink(std::function<void(const QString&)> onLoss) : m_OnLoss(std::move(onLoss))
    {
        tov::log::Logger::addSink(this);
    }
    ~LossSink() override { tov::log::Logger::removeSink(this); }
    void write(const tov::log::LogRecord& record) override
    {
        if (isRecordingLostRecord(record))
            m_OnLoss(record.message);
    }

private:
    std::function<void(const QString&)> m_OnLoss;
};

RunWatcher::RunWatcher(FailureLog::Console console, QObject* parent) : QObject(parent), m_Failures(console)
{
    qRegisterMetaType<RunOutcome>();
    mp_Losses = std::make_unique<LossSink>([this](const QString& why) {
        QMetaObject::invokeMethod(
            this, [this, why] { reportLoss(why); }, Qt::QueuedConnection);
    });
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    // The file's state must be read before the command can write it, so at once on the thread that starts the run.
    connect(
        processor, &CommandProcessor::runBegins, this,
        [this](const CommandRunPointer& run) {
            if (QThread::currentThread() == thread())
                begin(run);
        },
        Qt::DirectConnection);
    connect(processor, &CommandProcessor::runStarted, this, &RunWatcher::begin);
    connect(processor, &CommandProcessor::runFinished, this, &RunWatcher::finish);
}

RunWatcher::~RunWatcher()
{
    mp_Losses.reset();
}

bool RunWatcher::writesFile(const CommandRun& run)
{
    return !fileNameOf(run).isEmpty();
}

bool RunWatcher::isRecording(const CommandRun& run)
{
    return writesFile(run) && !run.getArgument(QStringLiteral("sync")).isNull();
}

bool RunWatcher::isFreeRecording(const CommandRun& run)
{
    return isRecording(run) && run.getArgument(QStringLiteral("sync")) == QLatin1String("0");
}

void RunWatcher::skipVerification()
{
    for (const auto& [id, reading] : m_Readings)
        reading->stop();
}

/// Whether there is a regular file now that is new or has been written to. Not when the folder has been replaced by
/// another one: the files in it are not ours.
bool RunWatcher::isWritten(const Watched& watched)
{
    return FileStamp(watched.before.fileName()).isRegularFile() && watched.before.hasChanged() &&
           watched.folderBefore.isSameFileAs(FileStamp(watched.folderBefore.fileName()));
}

void RunWatcher::begin(const CommandRunPointer& run)
{
    if (m_Watched.count(run->getId()))
        return;
    for (auto& [id, other] : m_Watched)
        other.isAlone = false;
    Watched watched;
    watched.isAlone = m_Watched.empty();
    watched.run = run;
    watched.before = FileStamp(fileNameOf(*run));
    watched.folderBefore = FileStamp(QFileInfo(fileNameOf(*run)).absolutePath());
    watched.clock.start();
    if (isRecording(*run))
        watched.pace = std::make_shared<tov::trajectory::RecordingPace::Run>([run] { return run->isStopped(); });
    if (isFreeRecording(*run)) {
        // A recording takes the view that is active when it begins.
        if (const auto* panel = tov::scene::Viewer::getInstance()->getActivePanel()) {
            watched.captures = panel->getCaptureTimes();
            watched.captures->clear();
        }
    }
    m_Watched.emplace(run->getId(), watched);
}

void RunWatcher::finish(const CommandRunPointer& run)
{
    const auto found = m_Watched.find(run->getId());
    if (found == m_Watched.end())
        return;
    Watched watched = found->second;
    m_Watched.erase(found);
    watched.pace.reset();

    RunOutcome outcome;
    outcome.elapsed = double(watched.clock.elapsed()) / MsPerSecond;
    outcome.status = run->isStopped() ? RunOutcome::Status::Stopped : RunOutcome::Status::Done;
    if (!run->succeeded() || watched.isAlone)
        outcome.reason = m_Failures.firstSince(run->getStartTime());
    if (!run->succeeded() || !outcome.reason.isEmpty())
        outcome.status = RunOutcome::Status::Failed;
    if (!writesFile(*run)) {
        report(watched, outcome);
        return;
    }
    const QFileInfo file(fileNameOf(*run));
    // A pipe cannot be read back.
    if (watched.before.exists() && !watched.before.isRegularFile()) {
        outcome.files = QStringList(fileNameOf(*run));
        report(watched, outcome);
        return;
    }
    if (!isWritten(watched) || file.size() == 0) {
        if (isWritten(watched))
            QFile::remove(file.canonicalFilePath());
        outcome.status = RunOutcome::Status::Failed;
        if (outcome.reason.isEmpty())
            outcome.reason = m_Failures.firstSince(run->getStartTime());
        if (outcome.reason.isEmpty())
            outcome.reason = tr("%1 was not written").arg(fileNameOf(*run));
        report(watched, outcome);
        return;
    }
    outcome.bytes = file.size();
    if (isRecording(*run)) {
        verifyVideo(watched, outcome);
    } else {
        verifyPicture(watched, outcome);
        report(watched, outcome);
    }
}

void RunWatcher::verifyPicture(const Watched& watched, RunOutcome& outcome) const
{
    const QString fileName = fileNameOf(*watched.run);
    if (isWholePicture(fileName)) {
        outcome.files = QStringList(fileName);
        outcome.size = QImageReader(fileName).size();
        return;
    }
    QFile::remove(QFileInfo(fileName).canonicalFilePath());
    outcome.bytes = 0;
    outcome.status = RunOutcome::Status::Failed;
    if (outcome.reason.isEmpty())
        outcome.reason = tr("%1 is incomplete; is the disk full?").arg(fileName);
}

FrameTimes RunWatcher::frameTimesOf(const Watched& watched)
{
    typedef std::chrono::duration<double> Seconds;
    FrameTimes times;
    if (!watched.captures)
        return times;
    // The first frame also covers the time before it, when the recording was prepared.
    for (const auto& moment : watched.captures->get())
        times.starts.push_back(times.starts.empty() ? 0 : Seconds(moment - watched.start).count());
    if (times.starts.empty())
        return times;
    const double last = times.starts.back(), count = double(times.starts.size());
    const auto stop = watched.run->getStopMoment();
    times.seconds = stop ? Seconds(*stop - watched.start).count() : last;
    // A frame that was captured at the end is shown as long as the others.
    if (times.seconds <= last)
        times.seconds = last + (count > 1 ? last / (count - 1) : ShortestFrame);
    return times;
}

void RunWatcher::verifyVideo(const Watched& watched, RunOutcome outcome)
{
    const FrameTimes times = frameTimesOf(watched);
    outcome.captured = times.seconds;
    std::optional<FrameTimes> wanted;
    if (m_PlaysInRealTime && times.seconds > 0)
        wanted = times;
    auto* reading = new VideoReading(fileNameOf(*watched.run), wanted, this);
    m_Readings.emplace(watched.run->getId(), reading);
    connect(reading, &VideoReading::done, this, [this, watched, outcome, reading](const VideoProbe& probe) {
        m_Readings.erase(watched.run->getId());
        reading->deleteLater();
        finishVideo(watched, outcome, probe);
    });
}

void RunWatcher::finishVideo(const Watched& watched, RunOutcome outcome, const VideoProbe& probe)
{
    const QString fileName = fileNameOf(*watched.run);
    if (probe.isKnown) {
        outcome.frames = probe.frames;
        outcome.seconds = probe.seconds;
    }
    const bool isPlayable = !probe.isKnown || (probe.readable && probe.frames != 0);
    if (isPlayable) {
        outcome.files = QStringList(fileName);
        outcome.bytes = QFileInfo(fileName).size();
        const QSize size(watched.run->getArgument(QStringLiteral("width")).toInt(),
                         watched.run->getArgument(QStringLiteral("height")).toInt());
        // Videos have even sizes.
        if (size.width() > 0 && size.height() > 0)
            outcome.size = QSize((size.width() + 1) & ~1, (size.height() + 1) & ~1);
    } else {
        outcome.status = RunOutcome::Status::Failed;
        if (outcome.reason.isEmpty())
            outcome.reason = tr("%1 cannot be read back").arg(fileName);
    }
    report(watched, outcome);
}

void RunWatcher::report(const Watched& watched, RunOutcome outcome)
{
    if (outcome.status == RunOutcome::Status::Failed && outcome.reason.isEmpty())
        outcome.reason = tr("%1 failed").arg(watched.run->getCommandName());
    emit ended(watched.run, outcome);
}

void RunWatcher::reportLoss(const QString& why)
{
    // Records do not name a run: with several recordings at a time it may be any of them.
    for (auto& [id, watched] : m_Watched) {
        if (watched.isLost || !isRecording(*watched.run))
            continue;
        watched.isLost = true;
        emit recordingLost(watched.run, why);
    }
}

} // namespace tov::app
