#include "app/common/spacewatch.h"

#include "kernel/main/settings.h"
#include "kernel/util/processmemory.h"
#include "kernel/workers/overseer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QStorageInfo>

#include <algorithm>
#include <limits>

#include <climits>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::app {

using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;

namespace {

constexpr int LongestLookMs = 1000, ShortestLookMs = 20;
/// Bytes that a recording may write in a millisecond: 4K at 30 frames per second.
constexpr qint64 BytesPerMs = 1000000;
constexpr int DefaultLimitMb = 50;
constexpr qint64 BytesPerMb = 1000000;
/// A chunk that is being filled is not pending.
constexpr qint64 LeastWaitingBytes = 60 * BytesPerMb;

qint64 limitBytes()
{
    constexpr qint64 MostMb = std::numeric_limits<qint64>::max() / BytesPerMb;
    const qint64 megabytes = tovSettings().value(QStringLiteral("settings/lowspacelimit"), DefaultLimitMb).toLongLong();
    return std::clamp<qint64>(megabytes, 0, MostMb) * BytesPerMb;
}

/// Bytes in unnamed files of the temporary folder.
qint64 unnamedBytes()
{
    qint64 bytes = 0;
    const QDir open(QStringLiteral("/proc/self/fd"));
    const QByteArray folder = QFile::encodeName(QFileInfo(QDir::tempPath()).canonicalFilePath()) + '/';
    for (const QString& name : open.entryList(QDir::Files | QDir::System)) {
        const QByteArray entry = QFile::encodeName(open.filePath(name));
        char target[PATH_MAX];
        const ssize_t length = readlink(entry.constData(), target, sizeof target);
        struct stat info;
        if (length > 0 && QByteArray::fromRawData(target, int(length)).startsWith(folder) &&
            stat(entry.constData(), &info) == 0 && S_ISREG(info.st_mode) && info.st_nlink == 0)
            bytes += qint64(info.st_size);
    }
    return bytes;
}

} // namespace

SpaceWatch::SpaceWatch(QObject* parent) : QObject(parent)
{
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    connect(processor, &CommandProcessor::runStarted, this, [this](const CommandRunPointer& run) {
        const QString file = run->getArgument(QStringLiteral("filename"));
        // Recordings only: a picture is written at once and reports a full disk itself.
        if (file.isEmpty() || run->getArgument(QStringLiteral("sync")).isNull() || run->isFinished())
            return;
        m_Watched[run->getId()] = {run, QFileInfo(file).absolutePath()};
        m_Watched[run->getId()].memoryBefore = tov::util::processMemory();
        m_SinceReport.invalidate();
        look();
    });
    connect(processor, &CommandProcessor::runFinished, this, [this](const CommandRunPointer& run) {
        m_Watched.erase(run->getId());
        if (m_Watched.empty())
            m_Clock.stop();
    });
    m_Clock.setSingleShot(true);
    m_Clock.setTimerType(Qt::PreciseTimer);
    connect(&m_Clock, &QTimer::timeout, this, &SpaceWatch::look);
}

bool SpaceWatch::hasRoom(const QString& fileName, QString* error)
{
    const qint64 limit = limitBytes();
    for (const QString& folder : {QFileInfo(fileName).absolutePath(), QDir::tempPath()}) {
        const qint64 room = QStorageInfo(folder).bytesAvailable();
        if (room < 0 || room >= limit)
            continue;
        *error = tr("nothing was recorded: %1 has only %2 left, recordings stop below %3")
                     .arg(folder, QLocale().formattedDataSize(room), QLocale().formattedDataSize(limit));
        return false;
    }
    return true;
}

qint64 SpaceWatch::getRoom(quint64 run) const
{
    const auto found = m_Watched.find(run);
    return found == m_Watched.end() ? -1 : found->second.room;
}

qint64 SpaceWatch::getWaiting(quint64 run) const
{
    const auto found = m_Watched.find(run);
    return found == m_Watched.end() ? 0 : found->second.waiting;
}

void SpaceWatch::measureWaiting()
{
    const auto isRecording = [](const auto& each) {
        return !each.second.run->getArgument(QStringLiteral("sync")).isNull();
    };
    const qint64 files = unnamedBytes();
    // Pictures use memory of their own.
    const bool onlyRecordings = std::all_of(m_Watched.begin(), m_Watched.end(), isRecording);
    const qint64 memory = onlyRecordings ? tov::util::processMemory() : 0;
    for (auto& each : m_Watched)
        each.second.waiting = isRecording(each) ? files + std::max<qint64>(0, memory - each.second.memoryBefore) : 0;
}

QString SpaceWatch::describe(quint64 run) const
{
    const qint64 room = getRoom(run), waiting = getWaiting(run);
    if (room < 0)
        return QString();
    const QString free = tr("%1 free").arg(QLocale().formattedDataSize(room));
    return waiting < LeastWaitingBytes ? free : tr("%1, %2 waiting").arg(free, QLocale().formattedDataSize(waiting));
}

void SpaceWatch::look()
{
    const qint64 limit = limitBytes();
    qint64 nextMs = LongestLookMs;
    for (auto& [id, watched] : m_Watched) {
        watched.room = -1;
        for (const QString& folder : {watched.folder, QDir::tempPath()}) {
            const qint64 room = QStorageInfo(folder).bytesAvailable();
            if (room < 0)
                continue;
            if (watched.room < 0 || room < watched.room)
                watched.room = room;
            if (watched.hasReported || limit <= 0)
                continue;
            if (room >= limit) {
                nextMs = std::min(nextMs, (room - limit) / BytesPerMs);
                continue;
            }
            watched.hasReported = true;
            watched.run->stop();
            emit lowSpace(tr("%1 has only %2 left: the recording was stopped, what was captured is kept")
                              .arg(folder, QLocale().formattedDataSize(room)));
        }
    }
    if (!m_SinceReport.isValid() || m_SinceReport.elapsed() >= LongestLookMs) {
        m_SinceReport.start();
        measureWaiting();
        emit measured();
    }
    m_Clock.start(int(std::max<qint64>(nextMs, ShortestLookMs)));
}

} // namespace tov::app
