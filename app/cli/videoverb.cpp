#include "app/cli/batch.h"
#include "app/cli/checks.h"
#include "app/cli/looksetup.h"
#include "app/cli/partkey.h"
#include "app/cli/partrun.h"
#include "app/cli/picture.h"
#include "app/cli/scenedigest.h"
#include "app/cli/session.h"
#include "app/cli/verbs.h"
#include "app/cli/videoformats.h"
#include "app/common/safeoutput.h"
#include "app/common/videoprobe.h"
#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/scene.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/recordingpace.h"
#include "trajectory/trajectoryhandler.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>

namespace tov::app {

using tov::main::CommandArguments;
using tov::scene::SceneDrawer;
using tov::trajectory::RecordingPace;
using tov::trajectory::TrajectoryHandler;

namespace {

typedef Job<VideoRequest> VideoJob;

constexpr int BytesPerPixel = 4;
constexpr qint64 BytesPerMb = 1000000;
/// Players do not honour shorter delays.
constexpr int HighestGifFps = 50;
constexpr int DefaultFps = 25, DefaultKbps = 1200;
constexpr double BitsPerPixel = 0.1;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QSize evenSize(const QSize& size)
{
    return QSize((size.width() + 1) & ~1, (size.height() + 1) & ~1);
}

/// A setting as the user left it: recordings change settings, and one call may make several.
QString userSetting(const char* key, const QString& initial)
{
    static std::map<QString, QString> known;
    const QString name = QLatin1String(key);
    if (!known.count(name))
        known[name] = tovSettings().value(name, initial).toString();
    return known[name];
}

int rateOf(const VideoRequest& request)
{
    return request.fps > 0 ? request.fps : userSetting("settings/grabvideofps", QString::number(DefaultFps)).toInt();
}

/// kbit/s: enough for the size and the rate, and at least the setting.
int bitrateOf(const VideoRequest& request)
{
    if (request.bitrate > 0)
        return request.bitrate;
    const int setting = userSetting("settings/grabvideokbps", QString::number(DefaultKbps)).toInt();
    const QSize size = evenSize(request.size);
    return std::max(setting, int(BitsPerPixel * size.width() * size.height() * rateOf(request) / 1000));
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

/// Formats that store transparency.
bool hasVideoAlpha(const QString& ending)
{
    static const QStringList endings{QStringLiteral("alpha.webm"),   QStringLiteral("alpha.mov"),
                                     QStringLiteral("lossless.mkv"), QStringLiteral("apng"),
                                     QStringLiteral("gif"),          QStringLiteral("frames")};
    return endings.contains(ending);
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

/// Everything that can be checked before any model is read.
bool checkJob(const VideoJob& job, QString* error)
{
    const VideoRequest& request = job.request;
    const bool isFile = !request.output.isStandardOutput();
    if (isFile && !checkOutput(job.plan.output, error))
        return false;
    if (!checkEnding(job, error) || (isFile && !SpaceWatch::hasRoom(job.plan.output, error)))
        return false;
    if (isFile && request.output.keepsExisting && QFileInfo::exists(job.plan.output)) {
        *error = tr("'%1' exists already").arg(job.plan.output);
        return false;
    }
    if (request.parts.isShared() && endingOf(job) == QLatin1String("gif") && rateOf(request) > HighestGifFps) {
        *error = tr("a gif in parts plays at most %1 frames per second (got --fps %2)")
                     .arg(QString::number(HighestGifFps), QString::number(rateOf(request)));
        return false;
    }
    return checkBackground(job, error) && checkVideoSize(endingOf(job), evenSize(request.size), rateOf(request), error);
}

/// Megabytes of a chunk: about three frames, so that the encoder can start early.
qint64 chunkMegabytes(const QSize& size)
{
    constexpr qint64 Least = 8, Most = 50, Frames = 3;
    return std::clamp(Frames * size.width() * size.height() * BytesPerPixel / BytesPerMb, Least, Most);
}

/// Sets what the recording reads from the settings, for this process only; false (reported) on failure.
bool configure(Session& session, const VideoRequest& request)
{
    auto& settings = tovSettings();
    const QSize size = evenSize(request.size);
    qint64 backlog = userSetting("settings/backloglimit", QString::number(RecordingPace::DefaultLimitMb)).toLongLong();
    const qint64 available = availableMemory(request.output.maxMemory) / BytesPerMb;
    // Half of the available memory: the encoder needs some as well.
    if (available > 0)
        backlog = std::min(backlog, std::max<qint64>(1, available / 2));
    settings.setValue(QStringLiteral("settings/backloglimit"), backlog);
    CommandArguments arguments;
    const QString rate = QString::number(rateOf(request)), bitrate = QString::number(bitrateOf(request));
    arguments.positional =
        QStringList{userSetting("settings/grabvideotempfilesize", QString::number(chunkMegabytes(size))), rate, bitrate,
                    userSetting("settings/grabvideousememoryasbuffer", QStringLiteral("1"))};
    const RunOutcome outcome = session.run(QStringLiteral("setvideosettings"), arguments);
    return outcome.isDone() || session.getReporter().fail(outcome.reason);
}

/// Runs the recording into a file.
RunOutcome record(Session& session, const VideoRequest& request, const QString& fileName)
{
    const bool isFree = request.motion.kind == MotionRequest::Kind::Free;
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

/// Warns when the video does not play at the recorded speed.
void checkTiming(Reporter& reporter, const VideoRequest& request, const RunOutcome& outcome)
{
    const int fps = rateOf(request);
    if (request.motion.kind != MotionRequest::Kind::Free || outcome.frames < 0)
        return;
    constexpr double Tolerance = 0.05;
    const double rate = double(outcome.frames) / *request.motion.seconds;
    const double played = outcome.seconds > 0 ? outcome.seconds : double(outcome.frames) / fps;
    if (qAbs(played - *request.motion.seconds) > Tolerance * *request.motion.seconds)
        reporter.warning(
            tr("%1 frames per second were recorded, so the video plays at %2x real time")
                .arg(QString::number(rate, 'f', 1), QString::number(*request.motion.seconds / played, 'f', 2)));
}

/// True when the file has as many frames as the motion has positions; false with the reason otherwise.
bool checkFrames(Reporter& reporter, const VideoJob& job, RunOutcome& outcome)
{
    if (job.request.motion.kind == MotionRequest::Kind::Free || outcome.frames < 0)
        return true;
    const qint64 positions = qint64(TrajectoryHandler::getInstance()->getCount());
    if (outcome.frames == positions)
        return true;
    if (endingOf(job) == QLatin1String("gif") && rateOf(job.request) > HighestGifFps && outcome.frames > 0 &&
        outcome.frames < positions) {
        reporter.note(tr("Note: a gif plays at most %1 frames per second; frames were left out to keep its speed")
                          .arg(HighestGifFps));
        return true;
    }
    outcome.reason =
        tr("it has %1 frames instead of %2").arg(QString::number(outcome.frames), QString::number(positions));
    return false;
}

bool copyToStandardOutput(const QString& fileName)
{
    constexpr qint64 BlockBytes = 1 << 20;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    while (!file.atEnd()) {
        const QByteArray block = file.read(BlockBytes);
        if (block.isEmpty() ||
            std::fwrite(block.constData(), 1, std::size_t(block.size()), stdout) != std::size_t(block.size()))
            return false;
    }
    return std::fflush(stdout) == 0;
}

/// Moves a finished recording to its final name; false with one line in `error`.
bool deliver(const VideoJob& job, SafeOutput& output, RunOutcome& outcome, QString* error)
{
    if (job.request.output.isStandardOutput()) {
        const bool isCopied = copyToStandardOutput(output.getTemporaryName());
        output.discard();
        if (!isCopied)
            *error = tr("cannot write to standard output");
        outcome.files = QStringList(job.plan.output);
        return isCopied;
    }
    outcome.files = QStringList(job.plan.output);
    return output.commit(error);
}

/// Reports a recording that differs from the request; what can be played stays under the temporary name.
bool reject(Session& session, const VideoJob& job, SafeOutput& output, const RunOutcome& outcome)
{
    const bool isKept = !outcome.files.isEmpty() && !job.request.output.isStandardOutput();
    if (!isKept)
        output.discard();
    if (session.wasInterrupted()) {
        if (isKept)
            session.getReporter().note(tr("Interrupted; what was recorded is in '%1'").arg(output.getTemporaryName()));
        return false;
    }
    QString text = tr("cannot make '%1': %2").arg(job.plan.output, outcome.reason);
    if (isKept)
        text += tr("; what was recorded is in '%1'").arg(output.getTemporaryName());
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

/// Shows what the request asks for, and sets everything that the recording reads; false (reported) on failure.
bool prepareScene(Session& session, const VideoJob& job)
{
    const VideoRequest& request = job.request;
    return session.showView(request.view, job.plan.view, turnsUpright(request.motion)) &&
           session.selectMotion(request.motion, request.view, rateOf(request)) && configure(session, request);
}

/// Makes what a request for parts asks for. The models are shown, and nothing has moved them.
bool makeSharedVideo(Session& session, const VideoJob& job)
{
    const VideoRequest& request = job.request;
    RecordingFacts facts;
    facts.scene = sceneDigest(tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode());
    facts.view = job.plan.view;
    facts.ending = endingOf(job);
    facts.background = drawnBackground(request.view.look.background, hasVideoAlpha(facts.ending), initialBackground());
    facts.fps = rateOf(request);
    facts.kbps = bitrateOf(request);
    facts.samples = samplesOf(request.view.look);
    SharedRecording recording;
    recording.output = job.plan.output;
    recording.ending = facts.ending;
    recording.request = request.parts;
    recording.size = evenSize(request.size);
    recording.fps = facts.fps;
    recording.record = [&](const QString& fileName) { return recordScene(session, job, fileName); };
    recording.findKey = [&](QString* error) { return partKey(request, facts, error); };
    QString error;
    // Before the files are read: if one of them is changed later, the key changes, too.
    recording.key = recording.findKey(&error);
    if (recording.key.isEmpty())
        return session.getReporter().fail(error);
    return prepareScene(session, job) && makeParts(session, recording);
}

bool makeVideo(Session& session, const VideoJob& job)
{
    const VideoRequest& request = job.request;
    Reporter& reporter = session.getReporter();
    if (!request.parts.isShared())
        reporter.started(job.plan.output);
    if (!session.showModels(job.plan.models, request.view.modelUp))
        return false;
    if (request.parts.isShared())
        return makeSharedVideo(session, job);
    if (!prepareScene(session, job))
        return false;
    const QString ending = endingOf(job);
    SafeOutput output(
        request.output.isStandardOutput()
            ? QDir::temp().filePath(
                  QStringLiteral("tov-%1.%2").arg(QString::number(QCoreApplication::applicationPid()), ending))
            : job.plan.output,
        ending);
    QString error;
    if (!output.prepare(&error))
        return reporter.fail(error);
    RunOutcome outcome = recordScene(session, job, output.getTemporaryName());
    if (session.wasInterrupted() || !outcome.isDone())
        return reject(session, job, output, outcome);
    if (request.motion.kind == MotionRequest::Kind::Free && outcome.frames > 0 &&
        retimeVideo(output.getTemporaryName(), outcome.frames, *request.motion.seconds))
        outcome.seconds = *request.motion.seconds;
    if (!deliver(job, output, outcome, &error))
        return reporter.fail(error);
    checkTiming(reporter, request, outcome);
    reporter.result(outcome);
    return true;
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
