#include "app/common/spacewatch.h"

#include "kernel/main/overseer.h"
#include "kernel/main/settings.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStorageInfo>

#include <algorithm>

namespace tov::app {

using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;

namespace {

constexpr int LongestLookMs = 1000, ShortestLookMs = 20;
/// What a recording may write in a millisecond: 4K frames, 30 a second.
constexpr qint64 BytesPerMs = 1000000;
constexpr int DefaultLimitMb = 50;
constexpr qint64 BytesPerMb = 1000000;

qint64 limitBytes()
{
    return tovSettings().value(QStringLiteral("settings/lowspacelimit"), DefaultLimitMb).toLongLong() * BytesPerMb;
}

} // namespace

SpaceWatch::SpaceWatch(QObject* parent) : QObject(parent)
{
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    connect(processor, &CommandProcessor::runStarted, this, [this](const CommandRunPointer& run) {
        const QString file = run->getArgument(QStringLiteral("filename"));
        // Recordings only: a picture is one write, and says itself when the disk had no room for it.
        if (file.isEmpty() || run->getArgument(QStringLiteral("sync")).isNull() || run->isFinished())
            return;
        m_Watched[run->getId()] = {run, QFileInfo(file).absolutePath()};
        m_SinceTold.invalidate();
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
            if (watched.told || limit <= 0)
                continue;
            if (room >= limit) {
                nextMs = std::min(nextMs, (room - limit) / BytesPerMs);
                continue;
            }
            watched.told = true;
            watched.run->stop();
            emit lowSpace(tr("%1 has only %2 left: the recording was stopped, what was captured is kept.")
                              .arg(folder, QLocale().formattedDataSize(room)));
        }
    }
    if (!m_SinceTold.isValid() || m_SinceTold.elapsed() >= LongestLookMs) {
        m_SinceTold.start();
        emit measured();
    }
    m_Clock.start(int(std::max<qint64>(nextMs, ShortestLookMs)));
}

} // namespace tov::app
