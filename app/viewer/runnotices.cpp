#include "app/viewer/runnotices.h"

#include "app/common/pictureprobe.h"
#include "app/common/recordinglost.h"
#include "app/common/spacewatch.h"
#include "app/common/videoprobe.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/runsbar.h"
#include "kernel/workers/overseer.h"
#include "trajectory/trajectoryhandler.h"

#include <QFileInfo>
#include <QImageReader>
#include <QLocale>
#include <QThread>

#include <mutex>

namespace tov::viewer {

using tov::app::SpaceWatch;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::trajectory::TrajectoryHandler;

namespace {

const QString FileNameParameter = QStringLiteral("filename");
const QString SyncParameter = QStringLiteral("sync");
/// The command whose files are checked as pictures.
const QString PictureCommand = QStringLiteral("grabimage");

} // namespace

/// The newest record of an error, for the notice after a run that wrote nothing.
struct RunNotices::LastError : tov::log::LogSink
{
    void write(const tov::log::LogRecord& record) override
    {
        if (record.level > tov::log::LevelError)
            return;
        std::lock_guard<std::mutex> guard(mutex);
        message = record.message;
        timeMs = record.timeMs;
    }
    /// Empty when there has been none since `sinceMs` (milliseconds since the epoch).
    QString get(qint64 sinceMs) const
    {
        std::lock_guard<std::mutex> guard(mutex);
        return timeMs >= sinceMs ? message : QString();
    }

private:
    mutable std::mutex mutex;
    QString message;   ///< guarded by mutex
    qint64 timeMs = 0; ///< guarded by mutex
};

RunNotices::RunNotices(NoticeBar* notices, RunsBar* runs, QObject* parent)
    : QObject(parent), mp_Notices(notices), mp_Runs(runs), mp_LastError(std::make_shared<LastError>())
{
    tov::log::Logger::addSink(mp_LastError.get());
    mp_Lost = std::make_unique<tov::app::RecordingLost>([this](const QString& reason) {
        QMetaObject::invokeMethod(
            this, [this, reason] { showLostRecording(reason); }, Qt::QueuedConnection);
    });
    watchDisk();
    connect(mp_Runs, &RunsBar::stopIgnored, this, &RunNotices::showStuckRun);
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    // By the time that the event loop reports the start, the command may have made its file.
    connect(
        processor, &CommandProcessor::runBegins, this,
        [this](const CommandRunPointer& run) {
            if (QThread::currentThread() == thread())
                m_Started[run->getId()].before = tov::app::OutputMark(run->getArgument(FileNameParameter));
        },
        Qt::DirectConnection);
    connect(processor, &CommandProcessor::runStarted, this, &RunNotices::runBegan);
    connect(processor, &CommandProcessor::runFinished, this, &RunNotices::runEnded);
}

RunNotices::~RunNotices()
{
    mp_Lost.reset();
    tov::log::Logger::removeSink(mp_LastError.get());
}

void RunNotices::watchDisk()
{
    auto* space = new SpaceWatch(this);
    connect(space, &SpaceWatch::lowSpace, this,
            [this](const QString& text) { mp_Notices->showMessage(NoticeBar::Kind::Warning, text); });
    connect(space, &SpaceWatch::measured, this, [this, space] {
        for (const auto& run : Overseer::getInstance()->getCommandProcessor()->getRuns()) {
            const QString hint = space->describe(run->getId());
            if (!hint.isEmpty())
                mp_Runs->setHint(run->getId(), hint);
        }
    });
}

void RunNotices::runBegan(const CommandRunPointer& run)
{
    const bool marked = m_Started.count(run->getId()) != 0;
    Started& started = m_Started[run->getId()];
    started.clock.start();
    started.fileName = run->getArgument(FileNameParameter);
    if (!marked)
        started.before = tov::app::OutputMark(started.fileName);
    // By design of the command, a synchronised recording without a trajectory ends at once with nothing.
    const QString sync = run->getArgument(SyncParameter);
    if (!sync.isNull() && sync != QLatin1String("0") && TrajectoryHandler::getInstance()->getCount() == 0)
        mp_Notices->showMessage(
            NoticeBar::Kind::Warning,
            tr("No trajectory is open, so a recording that is synchronised with it holds no frames. Open one with "
               "File > Open trajectory, or record with \"sync\" off."));
}

void RunNotices::runEnded(const CommandRunPointer& run)
{
    const auto found = m_Started.find(run->getId());
    if (found == m_Started.end())
        return;
    const Started started = found->second;
    m_Started.erase(found);
    if (started.fileName.isEmpty())
        return;
    // The log says "saved" even where a full disk swallowed the bytes, so the file itself is checked.
    const bool touched = started.before.isTouched();
    const bool picture = run->getCommandName() == PictureCommand;
    const bool complete =
        touched && QFileInfo(started.fileName).size() > 0 && (!picture || tov::app::isWholePicture(started.fileName));
    if (complete)
        showResult(started);
    else
        showFailure(started, run, touched);
}

void RunNotices::showResult(const Started& started)
{
    const QFileInfo info(started.fileName);
    QString text = info.fileName() + QLatin1String(": ") + QLocale().formattedDataSize(info.size());
    const QSize size = QImageReader(started.fileName).size();
    if (size.isValid())
        text += tr(", %1 x %2 pixels").arg(size.width()).arg(size.height());
    text += tr(", done in %1").arg(durationText((started.clock.elapsed() + 500) / 1000));
    const QPointer<QLabel> label = mp_Notices->showFile(text, started.fileName);
    if (size.isValid())
        return;
    // A video does not give its size so easily: its plug-in reads it.
    auto* reading = new tov::app::VideoReading(started.fileName, this);
    connect(reading, &tov::app::VideoReading::done, this, [reading, label, text](const tov::app::VideoProbe& probe) {
        reading->deleteLater();
        if (!label || !probe.asked)
            return;
        label->setText(
            probe.readable
                ? text + tr(", %1 frames, %2 s long").arg(probe.frames).arg(QLocale().toString(probe.seconds, 'f', 1))
                : text + tr(", but it cannot be read back"));
    });
}

void RunNotices::showFailure(const Started& started, const CommandRunPointer& run, bool written)
{
    // An empty file that this run made, or half a picture, only looks like a result.
    if (written)
        QFile::remove(started.fileName);
    const QString name = QFileInfo(started.fileName).fileName();
    const QString reason = mp_LastError->get(run->getStartTime());
    mp_Notices->showMessage(NoticeBar::Kind::Warning,
                            reason.isEmpty() ? tr("Nothing was written to %1. See the console for details.").arg(name)
                                             : tr("Nothing was written to %1: %2").arg(name, reason));
}

void RunNotices::showLostRecording(const QString& reason)
{
    mp_Notices->showMessage(
        NoticeBar::Kind::Warning,
        tr("A recording takes no more frames: %1. What it has captured is kept; stop it if it does not end by itself.")
            .arg(reason));
}

void RunNotices::showStuckRun(const QString& text)
{
    mp_Notices->showMessage(
        NoticeBar::Kind::Warning,
        tr("\"%1\" was asked to stop and has not ended yet. A picture is finished first; an encoder "
           "that hangs never ends. You can go on working.")
            .arg(text));
}

} // namespace tov::viewer
