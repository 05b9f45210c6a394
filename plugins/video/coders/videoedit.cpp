#include "plugins/video/coders/videoedit.h"

#include "plugins/video/coders/apngfile.h"
#include "plugins/video/coders/framelist.h"
#include "plugins/video/coders/giffile.h"
#include "plugins/video/coders/packetfile.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace tov::plugins::video {

namespace {

enum class Kind
{
    Packets, ///< FFmpeg's muxers write it
    Gif,
    Apng,
    List,
};

struct Container
{
    const char* ending;
    Kind kind;
    const char* muxer; ///< FFmpeg's name
};

const Container Containers[] = {
    {"mp4", Kind::Packets, "mp4"},   {"mov", Kind::Packets, "mov"},   {"mkv", Kind::Packets, "matroska"},
    {"webm", Kind::Packets, "webm"}, {"avi", Kind::Packets, "avi"},   {"gif", Kind::Gif, nullptr},
    {"apng", Kind::Apng, nullptr},   {"frames", Kind::List, nullptr},
};

const Container* containerOf(const QString& fileName)
{
    const QString ending = QFileInfo(fileName).suffix();
    for (const Container& container : Containers)
        if (ending.compare(QLatin1String(container.ending), Qt::CaseInsensitive) == 0)
            return &container;
    return nullptr;
}

qint64 countFrames(const Container& container, const QString& fileName, const bool* stop)
{
    switch (container.kind) {
    case Kind::Gif:
        return countGifFrames(fileName);
    case Kind::Apng:
        return countApngFrames(fileName);
    case Kind::List:
        return countListedPictures(fileName);
    case Kind::Packets:
        break;
    }
    return countPackets(fileName, stop);
}

/// Renames the new file to its final name if its content is correct. `problem`: why it could not be written, or empty.
QString replace(const Container& container, const QString& temporary, const QString& fileName, qint64 frames,
                QString problem, const bool* stop)
{
    if (problem.isEmpty()) {
        const qint64 found = countFrames(container, temporary, stop);
        if (isStopped(stop))
            problem = QStringLiteral("stopped");
        else if (found != frames)
            problem = QStringLiteral("the new file holds %1 frames instead of %2").arg(found).arg(frames);
        else if (std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(fileName).constData()) != 0)
            problem = QStringLiteral("cannot replace '%1'").arg(fileName);
    }
    if (!problem.isEmpty())
        QFile::remove(temporary);
    return problem;
}

QString findTimingProblem(const Timing& timing)
{
    if (!std::isfinite(timing.seconds) || timing.seconds <= 0)
        return QStringLiteral("the length must be above 0 s (got %1)").arg(timing.seconds);
    for (std::size_t i = 0; i < timing.starts.size(); ++i) {
        const double end = i + 1 < timing.starts.size() ? timing.starts[i + 1] : timing.starts.front() + timing.seconds;
        if (!std::isfinite(timing.starts[i]) || !(timing.starts[i] < end))
            return QStringLiteral("the time of frame %1 must be before that of the next (got %2 s)")
                .arg(i + 1)
                .arg(timing.starts[i]);
    }
    return QString();
}

} // namespace

QString retimeFile(const QString& fileName, const Timing& timing, const bool* stop)
{
    const Container* container = containerOf(fileName);
    if (!container)
        return QStringLiteral("'%1' has an unknown format").arg(fileName);
    QString timingProblem = findTimingProblem(timing);
    if (!timingProblem.isEmpty())
        return timingProblem;
    const qint64 frames = countFrames(*container, fileName, stop);
    if (frames <= 0)
        return isStopped(stop) ? QStringLiteral("stopped")
                               : QStringLiteral("'%1' is not a complete video").arg(fileName);
    // The ending stays, because readers depend on it.
    const QString temporary = QStringLiteral("%1~retimed.%2").arg(fileName, QFileInfo(fileName).suffix());
    QString problem;
    switch (container->kind) {
    case Kind::Packets:
        problem = retimePackets(fileName, temporary, container->muxer, timing, stop);
        break;
    case Kind::Gif:
        problem = retimeGif(fileName, temporary, timing);
        break;
    case Kind::Apng:
        problem = retimeApng(fileName, temporary, timing);
        break;
    case Kind::List:
        problem = retimeList(fileName, temporary, timing);
        break;
    }
    return replace(*container, temporary, fileName, frames, problem, stop);
}

QString joinFiles(const QStringList& parts, const std::vector<qint64>& counts, const QString& output, const bool* stop)
{
    const Container* container = containerOf(output);
    if (!container)
        return QStringLiteral("'%1' has an unknown format").arg(output);
    if (parts.isEmpty() || (!counts.empty() && counts.size() != std::size_t(parts.size())))
        return QStringLiteral("no parts to join were given");
    for (const QString& part : parts)
        if (QFileInfo(part).completeSuffix().section(QLatin1Char('.'), -1) != QFileInfo(output).suffix())
            return QStringLiteral("'%1' and '%2' have different formats").arg(part, output);
    qint64 frames = 0;
    for (const QString& part : parts) {
        const qint64 count = countFrames(*container, part, stop);
        if (count <= 0)
            return isStopped(stop) ? QStringLiteral("stopped")
                                   : QStringLiteral("'%1' is not a complete video").arg(part);
        frames += count;
    }
    const QString temporary = QStringLiteral("%1~joined.%2").arg(output, QFileInfo(output).suffix());
    QString problem;
    switch (container->kind) {
    case Kind::Packets:
        problem = joinPackets(parts, counts, temporary, container->muxer, stop);
        break;
    case Kind::Gif:
        problem = joinGifs(parts, counts, temporary);
        break;
    case Kind::Apng:
        problem = joinApngs(parts, counts, temporary);
        break;
    case Kind::List:
        problem = joinLists(parts, counts, temporary, output);
        break;
    }
    return replace(*container, temporary, output, frames, problem, stop);
}

} // namespace tov::plugins::video
