#pragma once

#include "kernel/log/logger.h"

#include <QString>
#include <QStringList>

#include <deque>
#include <mutex>

namespace tov::app {

/// True when the record reports an error. Thread: any.
bool isFailureRecord(const tov::log::LogRecord& record);

/// True when the record shows that a recording can add no more frames to its file: no chunk could be created, or the
/// encoder refuses them. The recording itself goes on, or waits, until it is stopped. Thread: any.
bool isRecordingLostRecord(const tov::log::LogRecord& record);

/// Collects error records, and what commands print on the console when they refuse to start. Commands have no other way
/// to say why they failed. Thread: any.
class FailureLog : public tov::log::LogSink
{
public:
    enum class Console
    {
        Ignore,
        Collect, ///< takes over the console output of the process while it lives
    };
    explicit FailureLog(Console console);
    ~FailureLog() override;

    void write(const tov::log::LogRecord& record) override;

    /// The oldest message since a time in milliseconds since the epoch, or an empty text.
    QString firstSince(qint64 sinceMs) const;
    /// The newest message, or an empty text.
    QString last() const;
    /// All messages, oldest first; at most the newest 1000.
    QStringList messages() const;
    void clear();

private:
    struct Entry
    {
        qint64 timeMs;
        QString message;
    };
    void add(qint64 timeMs, const QString& message);

    const Console m_Console;
    mutable std::mutex m_Mutex;
    std::deque<Entry> m_Entries; ///< guarded by m_Mutex
};

} // namespace tov::app
