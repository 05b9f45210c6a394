#include "app/viewer/pictureexport.h"

#include "app/common/outputcheck.h"
#include "app/common/straightalpha.h"
#include "app/viewer/viewpicture.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QColor>
#include <QFileInfo>
#include <QImageWriter>
#include <QSaveFile>
#include <QThread>

#include <cmath>

namespace tov::viewer {

namespace {

constexpr double MetresPerInch = 0.0254;

/// Writes a picture under a temporary name and renames it. Returns an empty text, or why it failed.
QString writePicture(const QImage& picture, const PictureRequest& request)
{
    QSaveFile file(request.fileName);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    QImageWriter writer(&file, QFileInfo(request.fileName).suffix().toLower().toLatin1());
    if (request.quality >= 0)
        writer.setQuality(request.quality);
    if (!writer.write(picture)) {
        const QString reason = writer.errorString();
        file.cancelWriting();
        return reason;
    }
    return file.commit() ? QString() : file.errorString();
}

} // namespace

QImage withoutBackground(const QImage& picture, const QColor& background)
{
    QImage result = picture.convertToFormat(QImage::Format_ARGB32);
    tov::app::removeBackground(result, background);
    return result;
}

PictureExport::PictureExport(QObject* parent) : QObject(parent) {}

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

bool PictureExport::start(tov::gui::ScenePanel* view, const PictureRequest& request, QString* error)
{
    if (!tov::app::checkOutputFolder(request.fileName, error))
        return false;
    if (!QImageWriter::supportedImageFormats().contains(QFileInfo(request.fileName).suffix().toLower().toLatin1())) {
        *error = tr("unknown picture format '%1'; known formats: %2")
                     .arg(QFileInfo(request.fileName).suffix(), suffixes().join(QStringLiteral(", ")));
        return false;
    }
    if (ViewPicture::take(view, request.size, this, [this, request](const QImage& drawn) { save(drawn, request); }))
        return true;
    *error = tr("pictures are not available here; see Help > About modules for the reason");
    return false;
}

void PictureExport::save(const QImage& drawn, const PictureRequest& request)
{
    const QColor background =
        tov::scene::SceneDrawer(tov::scene::Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
    // Compressing a large picture takes seconds, so another thread does it.
    auto reason = std::make_shared<QString>();
    auto* thread = QThread::create([drawn, request, background, reason] {
        const bool transparent = request.transparent && PictureExport::keepsTransparency(request.fileName);
        // The colours are blended over the background already; without alpha they are the opaque picture.
        QImage picture =
            transparent ? withoutBackground(drawn, background) : drawn.convertToFormat(QImage::Format_RGB32);
        if (request.dpi > 0) {
            picture.setDotsPerMeterX(int(std::lround(request.dpi / MetresPerInch)));
            picture.setDotsPerMeterY(picture.dotsPerMeterX());
        }
        *reason = writePicture(picture, request);
    });
    thread->setParent(this);
    connect(thread, &QThread::finished, this, [this, thread, request, reason] {
        thread->deleteLater();
        if (reason->isEmpty())
            emit saved(request.fileName, request.size);
        else
            emit failed(tr("cannot write '%1': %2").arg(request.fileName, *reason));
    });
    thread->start();
}

} // namespace tov::viewer
