#include "app/common/runrecords.h"

#include "kernel/log/console.h"

#include <QDateTime>

namespace tov::app {

namespace {

constexpr std::size_t MostEntries = 1000;

} // namespace

bool isFailureRecord(const tov::log::LogRecord& record)
{
    return record.level <= tov::log::LevelError;
}

bool isRecordingLostRecord(const tov::log::LogRecord& record)
{
    const bool isChunkMissing =
        record.file == QLatin1String("videohandler") && record.function == QLatin1String("createChunkFile");
    const bool isChunkRefused =
        record.file == QLatin1String("video/encoder") &&
        (record.function == QLatin1String("encodeVideoChunk") || record.function == QLatin1String("run"));
    // The program's own encoders accept every chunk, and log once that they drop the frames.
    const bool isChunkDropped = isFailureRecord(record) && (record.file.startsWith(QLatin1String("plugins/video/")) ||
                                                            record.function == QLatin1String("setOutputParameters"));
    return isChunkMissing || isChunkRefused || isChunkDropped;
}

FailureLog::FailureLog(Console console) : m_Console(console)
{
    tov::log::Logger::addSink(this);
    if (m_Console == Console::Collect)
        tov::log::setConsoleOutput([this](const QString& line) { add(QDateTime::currentMSecsSinceEpoch(), line); });
}

FailureLog::~FailureLog()
{
    if (m_Console == Console::Collect)
        tov::log::setConsoleOutput({});
    tov::log::Logger::removeSink(this);
}

void FailureLog::write(const tov::log::LogRecord& record)
{
    if (isFailureRecord(record))
        add(record.timeMs, record.message);
}

void FailureLog::add(qint64 timeMs, const QString& message)
{
    const std::lock_guard<std::mutex> guard(m_Mutex);
    m_Entries.push_back({timeMs, message});
    if (m_Entries.size() > MostEntries)
        m_Entries.pop_front();
}

QString FailureLog::firstSince(qint64 sinceMs) const
{
    const std::lock_guard<std::mutex> guard(m_Mutex);
    for (const Entry& entry : m_Entries)
        if (entry.timeMs >= sinceMs)
            return entry.message;
    return QString();
}

QString FailureLog::last() const
{
    const std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Entries.empty() ? QString() : m_Entries.back().message;
}

QStringList FailureLog::messages() const
{
    const std::lock_guard<std::mutex> guard(m_Mutex);
    QStringList messages;
    for (const Entry& entry : m_Entries)
        messages << entry.message;
    return messages;
}

void FailureLog::clear()
{
    const std::lock_guard<std::mutex> guard(m_Mutex);
    m_Entries.clear();
}

} // namespace tov::app
