#include "app/viewer/pictureexport.h"

#include "app/common/checks.h"
#include "app/common/outputcheck.h"
#include "app/common/picturefile.h"
#include "app/common/runoutcome.h"
#include "app/common/straightalpha.h"
#include "app/viewer/saferuns.h"
#include "app/viewer/viewpicture.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QColor>
#include <QFileInfo>
#include <QImageWriter>
#include <QThread>

#include <cmath>

namespace tov::viewer {

using tov::app::PictureFile;
using tov::app::RunOutcome;
using tov::app::RunWatcher;
using tov::app::SafeOutput;

namespace {

constexpr double MetresPerInch = 0.0254;

/// The ending of a picture file, which is its format.
QString formatOf(const QString& fileName)
{
    return QFileInfo(fileName).suffix().toLower();
}

} // namespace

QImage withoutBackground(const QImage& picture, const QColor& background)
{
    QImage result = picture.convertToFormat(QImage::Format_ARGB32);
    tov::app::removeBackground(result, background);
    return result;
}

PictureExport::PictureExport(const RunWatcher* watcher, SafeRuns* outputs, QObject* parent)
    : QObject(parent), mp_Watcher(watcher), mp_Outputs(outputs)
{}

PictureExport::~PictureExport()
{
    for (auto* thread : findChildren<QThread*>())
        thread->wait();
}

QStringList PictureExport::suffixes()
{
    static const QStringList usual = {QStringLiteral("png"), QStringLiteral("jpg"), QStringLiteral("tif"),
                                      QStringLiteral("webp"), QStringLiteral("bmp")};
    QStringList found;
    const auto supported = QImageWriter::supportedImageFormats();
    for (const QString& suffix : usual)
        if (supported.contains(suffix.toLatin1()))
            found << suffix;
    return found;
}

bool PictureExport::keepsTransparency(const QString& fileName)
{
    static const QStringList with = {QStringLiteral("png"), QStringLiteral("tif"), QStringLiteral("tiff"),
                                     QStringLiteral("webp")};
    return with.contains(QFileInfo(fileName).suffix().toLower());
}

bool PictureExport::check(const PictureRequest& request, QString* error)
{
    const QString format = formatOf(request.fileName);
    if (!QImageWriter::supportedImageFormats().contains(format.toLatin1())) {
        *error =
            tr("unknown picture format '%1'; known formats: %2").arg(format, suffixes().join(QStringLiteral(", ")));
        return false;
    }
    if (tov::app::isNamedPipe(request.fileName)) {
        *error = tr("%1 is not a regular file").arg(request.fileName);
        return false;
    }
    return tov::app::checkOutput(request.fileName, error) && tov::app::checkPictureSize(format, request.size, error) &&
           tov::app::checkPictureMemory(request.size, 0, error);
}

bool PictureExport::start(tov::gui::ScenePanel* view, const PictureRequest& request, QString* error)
{
    if (!check(request, error))
        return false;
    Job job;
    job.request = request;
    job.clock.start();
    const auto failure = std::make_shared<QString>();
    const auto watching = std::make_shared<QMetaObject::Connection>();
    const auto run = ViewPicture::take(view, request.size, this, [this, job, failure, watching](const QImage& drawn) {
        disconnect(*watching);
        if (drawn.isNull() && failure->isEmpty())
            *failure = tr("it cannot be drawn");
        if (failure->isEmpty())
            save(drawn, job);
        else
            finish(job, tr("cannot make '%1': %2").arg(job.request.fileName, *failure));
    });
    if (!run) {
        *error = tr("pictures are not available here; see Help > About modules for the reason");
        return false;
    }
    mp_Outputs->setFileName(*run, request.fileName);
    // The watcher hears of the end of the run before the picture arrives.
    *watching =
        connect(mp_Watcher, &RunWatcher::ended, this, [run, failure](const auto& ended, const RunOutcome& outcome) {
            if (ended == run && outcome.status == RunOutcome::Status::Failed)
                *failure = outcome.reason;
        });
    m_FileNames << request.fileName;
    return true;
}

void PictureExport::save(const QImage& drawn, const Job& job)
{
    const QColor background =
        tov::scene::SceneDrawer(tov::scene::Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
    // Compressing a large picture takes seconds, so another thread does it.
    auto error = std::make_shared<QString>();
    auto* thread = QThread::create([drawn, request = job.request, background, error] {
        const bool transparent = request.transparent && PictureExport::keepsTransparency(request.fileName);
        // The colours are blended over the background already; without alpha they are the opaque picture.
        QImage picture =
            transparent ? withoutBackground(drawn, background) : drawn.convertToFormat(QImage::Format_RGB32);
        if (request.dpi > 0) {
            picture.setDotsPerMeterX(int(std::lround(request.dpi / MetresPerInch)));
            picture.setDotsPerMeterY(picture.dotsPerMeterX());
        }
        const PictureFile file(formatOf(request.fileName), request.quality);
        file.save(picture, request.fileName, SafeOutput::Older::Replace, error.get());
    });
    thread->setParent(this);
    connect(thread, &QThread::finished, this, [this, thread, job, error] {
        thread->deleteLater();
        finish(job, *error);
    });
    thread->start();
}

void PictureExport::finish(const Job& job, const QString& error)
{
    constexpr double MsPerSecond = 1000;
    m_FileNames.removeOne(job.request.fileName);
    if (error.isEmpty())
        emit saved(job.request.fileName, job.request.size, double(job.clock.elapsed()) / MsPerSecond);
    else
        emit failed(error);
}

} // namespace tov::viewer
