#include "app/viewer/runnotices.h"

#include "app/common/runoutcome.h"
#include "app/common/spacewatch.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/runsbar.h"
#include "app/viewer/saferuns.h"
#include "kernel/workers/overseer.h"
#include "trajectory/trajectoryhandler.h"

#include <QFileInfo>
#include <QLocale>

#include <cmath>

namespace tov::viewer {

using tov::app::RunOutcome;
using tov::app::RunWatcher;
using tov::app::SpaceWatch;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::trajectory::TrajectoryHandler;

namespace {

/// "film.mp4: 1.2 MB, 640 x 480 pixels, 30 frames, 1.2 s long, done in 3 s", as far as it is known.
QString describe(const RunOutcome& outcome)
{
    QString text =
        QFileInfo(outcome.files.first()).fileName() + QLatin1String(": ") + QLocale().formattedDataSize(outcome.bytes);
    if (outcome.size.isValid())
        text += RunNotices::tr(", %1 x %2 pixels").arg(outcome.size.width()).arg(outcome.size.height());
    if (outcome.frames >= 0)
        text += RunNotices::tr(", %1 frames, %2 s long")
                    .arg(outcome.frames)
                    .arg(QLocale().toString(outcome.seconds, 'f', 1));
    if (outcome.captureRate() > 0) {
        const QString rate = QLocale().toString(outcome.captureRate(), 'f', 1);
        text += outcome.isInRealTime() ? RunNotices::tr(", recorded at %1 frames per second").arg(rate)
                                       : RunNotices::tr(", recorded at %1 frames per second, plays at %2x real time")
                                             .arg(rate, QLocale().toString(outcome.playbackSpeed(), 'f', 2));
    }
    return text + RunNotices::tr(", done in %1").arg(durationText(qint64(std::lround(outcome.elapsed))));
}

} // namespace

RunNotices::RunNotices(RunWatcher* watcher, SafeRuns* outputs, SpaceWatch* space, NoticeBar* notices, RunsBar* runs,
                       QObject* parent)
    : QObject(parent), mp_Outputs(outputs), mp_Notices(notices), mp_Runs(runs)
{
    watchDisk(space);
    connect(mp_Runs, &RunsBar::stopIgnored, this, &RunNotices::showStuckRun);
    connect(watcher, &RunWatcher::recordingLost, this,
            [this](const CommandRunPointer&, const QString& reason) { showLostRecording(reason); });
    connect(mp_Outputs, &SafeRuns::ended, this, &RunNotices::showOutcome);
    connect(Overseer::getInstance()->getCommandProcessor(), &CommandProcessor::runStarted, this,
            &RunNotices::warnOfMissingTrajectory);
}

void RunNotices::watchDisk(SpaceWatch* space)
{
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

void RunNotices::warnOfMissingTrajectory(const CommandRunPointer& run)
{
    // By design of the command, a synchronised recording without a trajectory ends at once with nothing.
    if (!RunWatcher::isRecording(*run) || run->getArgument(QStringLiteral("sync")) == QLatin1String("0") ||
        TrajectoryHandler::getInstance()->getCount() > 0)
        return;
    mp_Notices->showMessage(NoticeBar::Kind::Warning,
                            tr("No trajectory is open, so a synchronised recording has no frames. Open one with "
                               "File > Open trajectory, or record with \"sync\" off."));
}

void RunNotices::showOutcome(const CommandRunPointer& run, const RunOutcome& outcome)
{
    if (!RunWatcher::writesFile(*run))
        return;
    if (outcome.status != RunOutcome::Status::Failed && !outcome.files.isEmpty()) {
        mp_Notices->showFile(describe(outcome), outcome.files.first());
        return;
    }
    const QString fileName = mp_Outputs->fileNameOf(*run), name = QFileInfo(fileName).fileName();
    if (!outcome.files.isEmpty() && outcome.files.first() != fileName)
        mp_Notices->showMessage(NoticeBar::Kind::Warning,
                                tr("%1 is not complete: %2; what was recorded is in %3")
                                    .arg(name, outcome.reason, QFileInfo(outcome.files.first()).fileName()));
    else if (!outcome.files.isEmpty())
        mp_Notices->showMessage(NoticeBar::Kind::Warning, tr("%1 is not complete: %2").arg(name, outcome.reason));
    else if (outcome.reason.isEmpty())
        mp_Notices->showMessage(NoticeBar::Kind::Warning,
                                tr("Nothing was written to %1. See the console for details.").arg(name));
    else
        mp_Notices->showMessage(NoticeBar::Kind::Warning,
                                tr("Nothing was written to %1: %2").arg(name, outcome.reason));
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
