#include "app/common/checks.h"

#include "app/common/outputcheck.h"
#include "kernel/util/processmemory.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <limits>

namespace tov::app {

namespace {

constexpr int BytesPerPixel = 4;
constexpr qint64 BytesPerMb = 1000000;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QByteArray readAll(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Bytes that the cgroup of this process has left; the largest number when there is no limit. Limits of parent
/// groups also apply.
qint64 cgroupLeaves()
{
    constexpr qint64 NoLimit = std::numeric_limits<qint64>::max();
    const auto leaves = [&](const QString& limitFile, const QString& usedFile) {
        bool isNumber = false;
        const qint64 limit = readAll(limitFile).trimmed().toLongLong(&isNumber);
        const qint64 used = readAll(usedFile).trimmed().toLongLong();
        return isNumber ? std::max<qint64>(0, limit - used) : NoLimit;
    };
    qint64 least = NoLimit;
    for (const QByteArray& line : readAll(QStringLiteral("/proc/self/cgroup")).split('\n')) {
        const QList<QByteArray> parts = line.split(':');
        if (parts.size() < 3)
            continue;
        const bool isVersion2 = parts[1].isEmpty();
        if (!isVersion2 && !parts[1].split(',').contains("memory"))
            continue;
        const QString root = isVersion2 ? QStringLiteral("/sys/fs/cgroup") : QStringLiteral("/sys/fs/cgroup/memory");
        for (QString path = QFile::decodeName(parts[2]); !path.isNull();) {
            const QString folder = root + path;
            least = std::min(least, isVersion2 ? leaves(folder + QStringLiteral("/memory.max"),
                                                        folder + QStringLiteral("/memory.current"))
                                               : leaves(folder + QStringLiteral("/memory.limit_in_bytes"),
                                                        folder + QStringLiteral("/memory.usage_in_bytes")));
            const int slash = path.lastIndexOf(QLatin1Char('/'));
            path = slash < 0 || path.size() <= 1 ? QString() : slash == 0 ? QStringLiteral("/") : path.left(slash);
        }
    }
    return least;
}

struct EdgeLimit
{
    const char* format;
    int pixels;
    const char* instead; ///< formats without the limit
};

bool checkEdge(const EdgeLimit& limit, const QSize& size, QString* error)
{
    if (size.width() <= limit.pixels && size.height() <= limit.pixels)
        return true;
    *error = tr("%1 cannot hold %2 x %3 pixels: its limit is %4 each way; use %5 or a smaller size")
                 .arg(QLatin1String(limit.format), QString::number(size.width()), QString::number(size.height()),
                      QString::number(limit.pixels), QLatin1String(limit.instead));
    return false;
}

} // namespace

qint64 availableMemory(qint64 limit)
{
    const qint64 machine = tov::util::kilobyteValue(QStringLiteral("/proc/meminfo"), "MemAvailable:");
    qint64 available = std::min(machine < 0 ? std::numeric_limits<qint64>::max() : machine, cgroupLeaves());
    if (limit > 0) {
        available = std::min(available, std::max<qint64>(0, limit - tov::util::processMemory()));
    }
    return available == std::numeric_limits<qint64>::max() ? 0 : std::max<qint64>(1, available);
}

bool checkOutput(const QString& fileName, QString* error)
{
    if (!checkOutputFolder(fileName, error))
        return false;
    // A result is made next to the file that it replaces.
    const QFileInfo folder(QFileInfo(linkTarget(fileName)).absolutePath());
    if (isNamedPipe(fileName) || folder.isWritable())
        return true;
    *error = tr("%1 cannot be written: no files can be made in the folder %2").arg(fileName, folder.filePath());
    return false;
}

bool checkPictureSize(const QString& format, const QSize& size, QString* error)
{
    const std::pair<const char*, EdgeLimit> limits[] = {{"jpg", {"JPEG", 65535, "png or tiff"}},
                                                        {"jpeg", {"JPEG", 65535, "png or tiff"}},
                                                        {"webp", {"WEBP", 16383, "png or tiff"}},
                                                        {"ico", {"ICO", 256, "png"}},
                                                        {"cur", {"CUR", 256, "png"}}};
    for (const auto& [ending, limit] : limits)
        if (format == QLatin1String(ending) && !checkEdge(limit, size, error))
            return false;
    // The longest row of a picture in memory, and the largest file with 32-bit sizes.
    constexpr int MostPerRow = std::numeric_limits<int>::max() / BytesPerPixel;
    if (size.width() > MostPerRow) {
        *error = tr("a picture can be at most %1 pixels wide").arg(MostPerRow);
        return false;
    }
    const qint64 bytes = qint64(size.width()) * size.height() * BytesPerPixel;
    const bool isCounted = format == QLatin1String("bmp") || format.startsWith(QLatin1String("tif"));
    if (isCounted && bytes > std::numeric_limits<quint32>::max()) {
        *error = tr("%1 cannot hold %2 x %3 pixels: its limit is 4 GiB; use png or a smaller size")
                     .arg(format.toUpper(), QString::number(size.width()), QString::number(size.height()));
        return false;
    }
    return true;
}

bool checkPictureMemory(const QSize& size, qint64 limit, QString* error)
{
    const qint64 needed = qint64(size.width()) * size.height() * BytesPerPixel;
    const qint64 available = availableMemory(limit);
    if (available == 0 || needed <= available)
        return true;
    *error =
        tr("a picture of %1 x %2 pixels needs %3 MB of memory and %4 MB are free; make it smaller%5")
            .arg(QString::number(size.width()), QString::number(size.height()), QString::number(needed / BytesPerMb),
                 QString::number(available / BytesPerMb), limit > 0 ? tr(" or raise --max-memory") : QString());
    return false;
}

bool checkVideoSize(const QString& format, const QSize& size, int fps, QString* error)
{
    const int drawn = tov::scene::Viewer::getInstance()->getMaxTextureSize();
    if (drawn > 0 && (size.width() > drawn || size.height() > drawn)) {
        *error = tr("a video of %1 x %2 pixels cannot be drawn here: the limit is %3 each way; use a smaller --size")
                     .arg(QString::number(size.width()), QString::number(size.height()), QString::number(drawn));
        return false;
    }
    // H.264 levels end at 139264 macroblocks of 16 x 16 pixels, HEVC levels at 35651584 luma samples; VP9 stores
    // width and height in 16 bits.
    constexpr qint64 MostMacroblocks = 139264, MostSamples = 35651584;
    const bool isHevc = format.startsWith(QLatin1String("hevc"));
    const bool isH264 = !isHevc && (format == QLatin1String("mp4") || format == QLatin1String("mov") ||
                                    format == QLatin1String("mkv") || format == QLatin1String("hq.mp4"));
    const qint64 macroblocks = qint64((size.width() + 15) / 16) * ((size.height() + 15) / 16);
    if (isH264 && macroblocks > MostMacroblocks) {
        *error = tr("%1 x %2 pixels are more than H.264 allows (8192 x 4352); use a smaller --size or a .frames file")
                     .arg(QString::number(size.width()), QString::number(size.height()));
        return false;
    }
    if (isHevc && qint64(size.width()) * size.height() > MostSamples) {
        *error = tr("%1 x %2 pixels are more than HEVC allows (8192 x 4352); use a smaller --size or a .frames file")
                     .arg(QString::number(size.width()), QString::number(size.height()));
        return false;
    }
    if (format == QLatin1String("gif") && fps > 100) {
        *error = tr("a gif plays at most 100 frames per second (got --fps %1)").arg(fps);
        return false;
    }
    return true;
}

} // namespace tov::app
