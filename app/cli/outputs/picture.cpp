#include "app/cli/outputs/picture.h"

#include "app/common/straightalpha.h"

#include <QColor>
#include <QCoreApplication>
#include <QFileInfo>
#include <QImageReader>

#include <cmath>

namespace tov::app {

namespace {

const char* const ViewKey = "tov:view";
constexpr int MatrixCells = 16;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

int mixed(int top, int bottom, double part)
{
    return int(std::lround(top + (bottom - top) * part));
}

/// Puts a picture of premultiplied colours on a gradient from top to bottom.
void blendOverGradient(QImage& image, const QColor& top, const QColor& bottom)
{
    const int height = image.height();
    for (int y = 0; y < height; ++y) {
        const double part = height > 1 ? double(y) / (height - 1) : 0;
        const int red = mixed(top.red(), bottom.red(), part);
        const int green = mixed(top.green(), bottom.green(), part);
        const int blue = mixed(top.blue(), bottom.blue(), part);
        auto* pixel = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (const QRgb* const end = pixel + image.width(); pixel != end; ++pixel) {
            const int rest = 255 - qAlpha(*pixel);
            const auto over = [rest](int colour, int behind) {
                return qMin(255, colour + (behind * rest + 127) / 255);
            };
            *pixel = qRgb(over(qRed(*pixel), red), over(qGreen(*pixel), green), over(qBlue(*pixel), blue));
        }
    }
}

void makeOpaque(QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        auto* pixel = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (const QRgb* const end = pixel + image.width(); pixel != end; ++pixel)
            *pixel |= 0xff000000u;
    }
}

bool isTransparent(const Background& background, bool hasAlpha)
{
    return background.kind == Background::Kind::Transparent ||
           (background.kind == Background::Kind::Default && hasAlpha);
}

} // namespace

QColor drawnBackground(const Background& background, bool hasAlpha, const QColor& initial)
{
    if (background.kind == Background::Kind::Plain)
        return background.top;
    if (isTransparent(background, hasAlpha) || background.kind == Background::Kind::Gradient)
        return QColor(Qt::black);
    return initial;
}

bool hasPictureAlpha(const QString& format)
{
    static const QStringList formats{QStringLiteral("png"), QStringLiteral("tif"),  QStringLiteral("tiff"),
                                     QStringLiteral("ico"), QStringLiteral("webp"), QStringLiteral("cur")};
    return formats.contains(format);
}

void finishPicture(QImage& image, const Background& background, bool hasAlpha)
{
    if (background.kind == Background::Kind::Gradient)
        blendOverGradient(image, background.top, background.bottom);
    else if (isTransparent(background, hasAlpha))
        removeBackground(image, Qt::black);
    else
        makeOpaque(image);
    if (!isTransparent(background, hasAlpha))
        image.reinterpretAsFormat(QImage::Format_RGB32);
}

void storePictureFacts(QImage& image, const QStringList& models, const tov::math::Matrix4& transform,
                       const QString& options)
{
    QStringList numbers;
    for (int i = 0; i < MatrixCells; ++i)
        numbers << QString::number(transform.data()[i], 'g', 17);
    QStringList names;
    for (const QString& model : models)
        names << QFileInfo(model).fileName();
    image.setText(QStringLiteral("Software"), QStringLiteral("tov " TOV_VERSION));
    image.setText(QStringLiteral("tov:models"), names.join(QLatin1Char('\n')));
    image.setText(QLatin1String(ViewKey), numbers.join(QLatin1Char(' ')));
    image.setText(QStringLiteral("tov:options"), options);
}

std::optional<tov::math::Matrix4> readStoredView(const QString& fileName, QString* error)
{
    QImageReader reader(fileName);
    if (!reader.canRead()) {
        *error = tr("cannot read '%1': %2").arg(fileName, reader.errorString());
        return std::nullopt;
    }
    QString text = reader.text(QLatin1String(ViewKey));
    // Some formats store texts at the end of the file.
    if (text.isEmpty())
        text = reader.read().text(QLatin1String(ViewKey));
    const QStringList numbers = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    tov::math::Matrix4 matrix;
    bool isMatrix = numbers.size() == MatrixCells;
    for (int i = 0; isMatrix && i < MatrixCells; ++i) {
        matrix.data()[i] = numbers[i].toDouble(&isMatrix);
        isMatrix = isMatrix && std::isfinite(matrix.data()[i]);
    }
    if (isMatrix)
        return matrix;
    *error = tr("'%1' contains no view; only png and jpg files written by tov image do").arg(fileName);
    return std::nullopt;
}

} // namespace tov::app
