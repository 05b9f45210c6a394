#include "app/cli/batch.h"
#include "app/common/checks.h"
#include "app/cli/outputs/picture.h"
#include "app/cli/outputs/pictureoutput.h"
#include "app/cli/session.h"
#include "app/cli/verbs.h"
#include "app/common/picturefile.h"
#include "app/common/picturecommand.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImageWriter>

namespace tov::app {

using tov::main::Command;
using tov::scene::SceneDrawer;

namespace {

typedef Job<ImageRequest> ImageJob;

constexpr double InchesPerMeter = 1 / 0.0254;
constexpr double MsPerSecond = 1000;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QString formatOf(const ImageJob& job)
{
    QStringList known;
    for (const QByteArray& format : QImageWriter::supportedImageFormats())
        known << QString::fromLatin1(format).toLower();
    if (job.request.output.isStandardOutput())
        return known.contains(job.request.output.format) ? job.request.output.format : QString();
    return longestEnding(job.plan.output, known);
}

bool checkFormat(const ImageJob& job, QString* error)
{
    if (!formatOf(job).isEmpty())
        return true;
    QStringList known;
    for (const QByteArray& format : QImageWriter::supportedImageFormats())
        known << QString::fromLatin1(format).toLower();
    const QString given =
        job.request.output.isStandardOutput() ? job.request.output.format : QFileInfo(job.plan.output).suffix();
    *error = given.isEmpty()
                 ? tr("'%1' does not end in a known picture format; known formats: %2")
                       .arg(job.plan.output, known.join(QStringLiteral(", ")))
                 : tr("unknown picture format '%1'; known formats: %2").arg(given, known.join(QStringLiteral(", ")));
    return false;
}

/// Everything that can be checked before any model is read.
bool checkJob(const ImageJob& job, QString* error)
{
    const ImageRequest& request = job.request;
    const bool isFile = !request.output.isStandardOutput();
    if ((isFile && !checkOutput(job.plan.output, error)) || !checkFormat(job, error))
        return false;
    if (!checkOlderFiles(request.output, request.view, job.plan.output, error))
        return false;
    const QString format = formatOf(job);
    if (request.view.look.background.kind == Background::Kind::Transparent && !hasPictureAlpha(format)) {
        *error = tr("%1 has no transparency; use png, tiff or webp, or a --background colour").arg(format);
        return false;
    }
    return checkPictureSize(format, request.size, error) &&
           checkPictureMemory(request.size, request.output.maxMemory, error);
}

/// Draws the picture; null (reported) on failure.
QImage draw(Session& session, const ImageJob& job, tov::math::Matrix4& transform)
{
    const ImageRequest& request = job.request;
    const QColor initial = SceneDrawer(tov::scene::Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
    SceneDrawer::setBackgroundColor(
        drawnBackground(request.view.look.background, hasPictureAlpha(formatOf(job)), initial));
    QImage image(request.size, QImage::Format_ARGB32);
    RunOutcome outcome;
    if (image.isNull()) {
        outcome.reason = tr("there is no memory for a picture of %1 x %2 pixels")
                             .arg(QString::number(request.size.width()), QString::number(request.size.height()));
    } else {
        image.fill(0);
        transform = session.getPanel()->getScaledTransformMatrix();
        Command* command = makePictureCommand(&image, &transform, session.getPanel());
        if (command)
            outcome = session.run(command);
        else
            outcome.reason = tr("there is no command grabimage; see tov modules");
    }
    SceneDrawer::setBackgroundColor(initial);
    if (outcome.isDone())
        return image;
    session.getReporter().fail(tr("cannot make '%1': %2").arg(job.plan.output, outcome.reason));
    return QImage();
}

bool makeImage(Session& session, const ImageJob& job)
{
    const ImageRequest& request = job.request;
    Reporter& reporter = session.getReporter();
    QElapsedTimer clock;
    clock.start();
    reporter.started(job.plan.output);
    const QString format = formatOf(job);
    PictureOutput output(request.output, job.plan.output, format);
    QString error;
    if (!output.prepare(&error))
        return reporter.fail(error);
    const bool isMoment = request.motion.kind == MotionRequest::Kind::Scene;
    if (!session.showModels(job.plan.models, request.view) || !session.showView(request.view, job.plan.view, false) ||
        (isMoment && !session.showStoredMoment(request.view)) ||
        (request.motion.animation && !session.selectMotion(request.motion, request.view, 1)) ||
        !session.saveScene(request.view))
        return false;
    tov::math::Matrix4 transform;
    QImage image = draw(session, job, transform);
    if (image.isNull())
        return false;
    finishPicture(image, request.view.look.background, hasPictureAlpha(format));
    if (request.dpi > 0 && !PictureFile::storesResolution(format))
        reporter.warning(tr("%1 stores no resolution; --dpi has no effect").arg(format));
    if (request.dpi > 0) {
        image.setDotsPerMeterX(qRound(request.dpi * InchesPerMeter));
        image.setDotsPerMeterY(qRound(request.dpi * InchesPerMeter));
    }
    storePictureFacts(image, job.plan.models, transform, job.options);
    if (!output.save(image, request.quality, &error))
        return reporter.fail(error);
    RunOutcome outcome;
    outcome.status = RunOutcome::Status::Done;
    outcome.files = QStringList(job.plan.output);
    outcome.size = request.size;
    outcome.bytes = request.output.isStandardOutput() ? 0 : QFileInfo(job.plan.output).size();
    outcome.elapsed = double(clock.elapsed()) / MsPerSecond;
    reporter.result(outcome);
    return true;
}

} // namespace

int runImage(const Options& options, int& argc, char** argv)
{
    Reporter reporter(options);
    std::vector<ImageJob> jobs;
    bool isUsage = false;
    if (!collectJobs(options, readImageRequest, reporter, jobs, isUsage))
        return isUsage ? ExitUsage : ExitFailed;
    Session session(options, reporter, argc, argv);
    session.leaveAtFirstInterrupt();
    return runJobs(jobs, session, reporter, checkJob, makeImage);
}

} // namespace tov::app
