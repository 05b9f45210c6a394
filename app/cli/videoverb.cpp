#include "app/cli/batch.h"
#include "app/common/checks.h"
#include "app/cli/setup/looksetup.h"
#include "app/cli/parts/partkey.h"
#include "app/cli/parts/partrun.h"
#include "app/cli/outputs/picture.h"
#include "app/cli/recordingsettings.h"
#include "app/cli/parts/scenedigest.h"
#include "app/cli/session.h"
#include "app/cli/verbs.h"
#include "app/common/videoformats.h"
#include "app/cli/outputs/videooutput.h"
#include "app/common/outputcheck.h"
#include "app/common/safeoutput.h"
#include "app/common/videoprobe.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <memory>

namespace tov::app {

using tov::main::CommandArguments;
using tov::scene::SceneDrawer;
using tov::trajectory::TrajectoryHandler;

namespace {

typedef Job<VideoRequest> VideoJob;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QString endingOf(const VideoJob& job)
{
    const QStringList known = knownVideoEndings();
    if (job.request.output.isStandardOutput())
        return known.contains(job.request.output.format) ? job.request.output.format : QString();
    return longestEnding(job.plan.output, known);
}

bool checkEnding(const VideoJob& job, QString* error)
{
    const QStringList known = knownVideoEndings();
    if (known.isEmpty())
        *error = tr("no video encoder is loaded, so no video can be written; see tov modules");
    else if (!endingOf(job).isEmpty())
        return true;
    else if (!job.request.output.isStandardOutput() && QFileInfo(job.plan.output).suffix().isEmpty())
        *error = tr("'%1' does not end in a known video format; known formats: %2")
                     .arg(job.plan.output, known.join(QStringLiteral(", ")));
    else
        *error = tr("unknown video format '%1'; known formats: %2")
                     .arg(job.request.output.isStandardOutput() ? job.request.output.format
                                                                : QFileInfo(job.plan.output).suffix().toLower(),
                          known.join(QStringLiteral(", ")));
    return false;
}

bool checkBackground(const VideoJob& job, QString* error)
{
    const Background::Kind kind = job.request.view.look.background.kind;
    if (kind == Background::Kind::Gradient)
        *error = tr("a video has no background of two colours; give --background one colour");
    else if (kind == Background::Kind::Transparent && !hasVideoAlpha(endingOf(job)))
        *error = tr("%1 has no transparency; use alpha.webm, alpha.mov or lossless.mkv, or a --background colour")
                     .arg(endingOf(job));
    else
        return true;
    return false;
}

bool isStream(const VideoJob& job)
{
    return isStream(job.request.output, job.plan.output);
}

/// Everything that can be checked before any model is read.
bool checkJob(const VideoJob& job, QString* error)
{
    const VideoRequest& request = job.request;
    const bool isFile = !request.output.isStandardOutput();
    if (isFile && !checkOutput(job.plan.output, error))
        return false;
    if (!checkEnding(job, error) || (isStream(job) && !VideoOutput::checkStream(endingOf(job), error)) ||
        (isFile && !SpaceWatch::hasRoom(job.plan.output, error)))
        return false;
    if (!checkOlderFiles(request.output, request.view, job.plan.output, error))
        return false;
    if (request.parts.isShared() && isStream(job)) {
        *error = tr("%1 is not a regular file").arg(job.plan.output);
        return false;
    }
    if (request.parts.isShared() && endingOf(job) == QLatin1String("gif") &&
        RecordingSettings::rateOf(request) > RecordingSettings::HighestGifFps) {
        *error = tr("a gif in parts plays at most %1 frames per second (got --fps %2)")
                     .arg(QString::number(RecordingSettings::HighestGifFps),
                          QString::number(RecordingSettings::rateOf(request)));
        return false;
    }
    return RecordingSettings::check(request, error) && checkBackground(job, error) &&
           checkVideoSize(endingOf(job), RecordingSettings::sizeOf(request), RecordingSettings::rateOf(request), error);
}

/// Sets what the recording reads from the settings; false (reported) on failure.
bool configure(Session& session, const VideoRequest& request, RecordingSettings& settings)
{
    settings.limitMemory(request);
    CommandArguments arguments;
    arguments.positional = settings.arguments(request);
    const RunOutcome outcome = session.run(QStringLiteral("setvideosettings"), arguments);
    return outcome.isDone() || session.getReporter().fail(outcome.reason);
}

/// Formats with alpha store the colours without the background.
void warnOfBackground(Reporter& reporter, const VideoJob& job)
{
    if (job.request.view.look.background.kind == Background::Kind::Plain && hasVideoAlpha(endingOf(job)))
        reporter.warning(tr("%1 stores a transparent background; --background has no effect").arg(endingOf(job)));
}

/// Runs the recording into a file.
RunOutcome record(Session& session, const VideoRequest& request, const QString& fileName)
{
    const bool isFree = request.motion.kind == MotionRequest::Kind::Free;
    session.setPlaysInRealTime(isFree);
    CommandArguments arguments;
    arguments.named = {{QStringLiteral("filename"), fileName},
                       {QStringLiteral("width"), QString::number(request.size.width())},
                       {QStringLiteral("height"), QString::number(request.size.height())},
                       {QStringLiteral("sync"), isFree ? QStringLiteral("0") : QStringLiteral("1")}};
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    bool isOver = false;
    RunOutcome outcome =
        session.run(QStringLiteral("grabvideo"), arguments, [&](const tov::main::CommandRunPointer& run) {
            if (!isFree)
                return;
            QObject::connect(&timer, &QTimer::timeout, &timer, [run, &isOver] {
                isOver = true;
                run->stop();
            });
            constexpr double MsPerSecond = 1000, LongestMs = 2e9;
            timer.start(int(std::min(*request.motion.seconds * MsPerSecond, LongestMs)));
        });
    // The end of a free recording is not an interruption.
    if (isOver && outcome.status == RunOutcome::Status::Stopped && !session.wasInterrupted())
        outcome.status = RunOutcome::Status::Done;
    return outcome;
}

/// Reports the rate of a free recording, and warns when it does not play as long as it was recorded.
void reportRate(Reporter& reporter, const RunOutcome& outcome)
{
    if (!(outcome.captureRate() > 0))
        return;
    const QString rate = QString::number(outcome.captureRate(), 'f', 1);
    if (outcome.isInRealTime())
        reporter.note(tr("Recorded in real time: %1 frames per second.").arg(rate));
    else if (outcome.playbackSpeed() > 0)
        reporter.warning(tr("%1 frames per second were recorded, so the video plays at %2x real time")
                             .arg(rate, QString::number(outcome.playbackSpeed(), 'f', 2)));
    else
        reporter.warning(tr("%1 frames per second were recorded; the length of the video is unknown").arg(rate));
}

/// True when the file has as many frames as the motion has positions; false with the reason otherwise.
bool checkFrames(Reporter& reporter, const VideoJob& job, RunOutcome& outcome)
{
    if (job.request.motion.kind == MotionRequest::Kind::Free || outcome.frames < 0)
        return true;
    const qint64 positions = qint64(TrajectoryHandler::getInstance()->getCount());
    if (outcome.frames == positions)
        return true;
    if (endingOf(job) == QLatin1String("gif") &&
        RecordingSettings::rateOf(job.request) > RecordingSettings::HighestGifFps && outcome.frames > 0 &&
        outcome.frames < positions) {
        reporter.note(tr("Note: a gif plays at most %1 frames per second; frames were left out to keep its speed")
                          .arg(RecordingSettings::HighestGifFps));
        return true;
    }
    outcome.reason =
        tr("it has %1 frames instead of %2").arg(QString::number(outcome.frames), QString::number(positions));
    return false;
}

/// Reports a recording that differs from the request; what can be played stays under the temporary name.
bool reject(Session& session, const VideoJob& job, VideoOutput& output, const RunOutcome& outcome)
{
    QString error;
    // A stream that was refused is the reason for everything else.
    if (output.isStreamed() && !session.wasInterrupted() && !output.deliver(&error))
        return session.getReporter().fail(error);
    const bool isKept = !outcome.files.isEmpty() && output.keepsPartial();
    if (!isKept)
        output.discard();
    if (session.wasInterrupted()) {
        if (isKept)
            session.getReporter().note(tr("Interrupted; what was recorded is in '%1'").arg(output.getRecordedName()));
        return false;
    }
    QString text = tr("cannot make '%1': %2").arg(job.plan.output, outcome.reason);
    if (isKept)
        text += tr("; what was recorded is in '%1'").arg(output.getRecordedName());
    return session.getReporter().fail(text);
}

QColor initialBackground()
{
    return SceneDrawer(tov::scene::Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
}

/// Records the selected motion in front of the background of the request, and verifies the frames.
RunOutcome recordScene(Session& session, const VideoJob& job, const QString& fileName)
{
    const QColor initial = initialBackground();
    SceneDrawer::setBackgroundColor(
        drawnBackground(job.request.view.look.background, hasVideoAlpha(endingOf(job)), initial));
    RunOutcome outcome = record(session, job.request, fileName);
    SceneDrawer::setBackgroundColor(initial);
    if (outcome.isDone() && !session.wasInterrupted() && !checkFrames(session.getReporter(), job, outcome))
        outcome.status = RunOutcome::Status::Failed;
    return outcome;
}

/// Sets up the requested view and motion, and everything that the recording reads; false (reported) on failure.
bool prepareScene(Session& session, const VideoJob& job, RecordingSettings& settings)
{
    const VideoRequest& request = job.request;
    if (!session.showView(request.view, job.plan.view, turnsUpright(request.motion)))
        return false;
    // A video shows what a picture of the same view shows.
    session.getPanel()->setProjectionHalfHeight(tov::scene::VideoHalfHeight);
    if (request.motion.kind == MotionRequest::Kind::None && !request.motion.animation)
        return session.getReporter().fail(
            tr("'%1' contains no motion; give one of --turntable, --trajectory, --animation, --path and --free")
                .arg(job.plan.models.value(0)));
    return session.selectMotion(request.motion, request.view, RecordingSettings::rateOf(request)) &&
           session.saveScene(request.view) && configure(session, request, settings);
}

/// Carries out a request for parts. The models have been loaded, and nothing has moved them.
bool makeSharedVideo(Session& session, const VideoJob& job)
{
    const VideoRequest& request = job.request;
    RecordingFacts facts;
    facts.scene = sceneDigest(tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode());
    facts.view = job.plan.view;
    facts.ending = endingOf(job);
    facts.background = drawnBackground(request.view.look.background, hasVideoAlpha(facts.ending), initialBackground());
    facts.fps = RecordingSettings::rateOf(request);
    facts.kbps = RecordingSettings::bitrateOf(request);
    facts.samples = samplesOf(request.view.look);
    SharedRecording recording;
    recording.output = job.plan.output;
    recording.ending = facts.ending;
    recording.request = request.parts;
    recording.older = request.output.older;
    recording.size = RecordingSettings::sizeOf(request);
    recording.fps = facts.fps;
    recording.record = [&](const QString& fileName) { return recordScene(session, job, fileName); };
    recording.findKey = [&](QString* error) { return partKey(request, facts, error); };
    QString error;
    // Before the files are read: if one of them is changed later, the key changes as well.
    recording.key = recording.findKey(&error);
    if (recording.key.isEmpty())
        return session.getReporter().fail(error);
    RecordingSettings settings;
    return prepareScene(session, job, settings) && makeParts(session, recording);
}

bool makeWholeVideo(Session& session, const VideoJob& job)
{
    const VideoRequest& request = job.request;
    Reporter& reporter = session.getReporter();
    reporter.started(job.plan.output);
    VideoOutput output(request, job.plan.output, endingOf(job));
    QString error;
    if (!output.prepare(&error))
        return reporter.fail(error);
    RecordingSettings settings;
    if (!session.showModels(job.plan.models, request.view) || !prepareScene(session, job, settings)) {
        output.discard();
        return false;
    }
    RunOutcome outcome = recordScene(session, job, output.getRecordedName());
    if (session.wasInterrupted() || !outcome.isDone())
        return reject(session, job, output, outcome);
    outcome.files = QStringList(job.plan.output);
    if (!output.deliver(&error))
        return reporter.fail(error);
    reportRate(reporter, outcome);
    reporter.result(outcome);
    return true;
}

bool makeVideo(Session& session, const VideoJob& job)
{
    warnOfBackground(session.getReporter(), job);
    if (!job.request.parts.isShared())
        return makeWholeVideo(session, job);
    return session.showModels(job.plan.models, job.request.view) && makeSharedVideo(session, job);
}

} // namespace

int runVideo(const Options& options, int& argc, char** argv)
{
    Reporter reporter(options);
    std::vector<VideoJob> jobs;
    bool isUsage = false;
    if (!collectJobs(options, readVideoRequest, reporter, jobs, isUsage))
        return isUsage ? ExitUsage : ExitFailed;
    Session session(options, reporter, argc, argv);
    return runJobs(jobs, session, reporter, checkJob, makeVideo);
}

} // namespace tov::app
