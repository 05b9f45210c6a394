#include "app/viewer/exportestimate.h"

#include "app/viewer/runsbar.h"
#include "kernel/main/settings.h"

#include <QCoreApplication>
#include <QLocale>

#include <cmath>

namespace tov::viewer {

namespace {

/// Pixels below which the start of an export takes longer than its pixels.
constexpr double LeastPixels = 1e6;
/// Weight of the newest export.
constexpr double NewShare = 0.5;
constexpr double NanosecondsPerSecond = 1e9, MillibytesPerByte = 1000;

double pixelsOf(const QSize& size, qint64 frames)
{
    return double(size.width()) * size.height() * double(frames);
}

} // namespace

QString ExportEstimate::keyOf(const char* figure) const
{
    return QStringLiteral("exportestimate/%1/%2").arg(m_Format, QLatin1String(figure));
}

void ExportEstimate::learn(const Cost& cost, const QSize& size, qint64 frames) const
{
    const double pixels = pixelsOf(size, frames);
    if (pixels < LeastPixels)
        return;
    const auto store = [this](const char* figure, double now) {
        if (!(now > 0))
            return;
        const double before = tovSettings().value(keyOf(figure)).toDouble();
        tovSettings().setValue(keyOf(figure), before > 0 ? before + NewShare * (now - before) : now);
    };
    store("nanosecondsperpixel", cost.seconds * NanosecondsPerSecond / pixels);
    store("millibytesperpixel", double(cost.bytes) * MillibytesPerByte / pixels);
}

ExportEstimate::Cost ExportEstimate::predict(const QSize& size, qint64 frames) const
{
    const double pixels = pixelsOf(size, frames);
    const auto read = [this](const char* figure) {
        const double value = tovSettings().value(keyOf(figure)).toDouble();
        return std::isfinite(value) && value > 0 ? value : 0;
    };
    return {read("nanosecondsperpixel") * pixels / NanosecondsPerSecond,
            qint64(read("millibytesperpixel") * pixels / MillibytesPerByte)};
}

QString estimateText(const ExportEstimate::Cost& cost)
{
    const auto tr = [](const char* text) { return QCoreApplication::translate("ExportEstimate", text); };
    QString text;
    if (cost.bytes > 0)
        text += tr(", about %1").arg(QLocale().formattedDataSize(cost.bytes, 0));
    if (cost.seconds > 0)
        text += tr(", takes about %1").arg(durationText(std::max<qint64>(1, std::lround(cost.seconds))));
    return text;
}

} // namespace tov::viewer
