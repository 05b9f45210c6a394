#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <thread>

namespace tov::log {

/// The levels in use. A lower number is more serious.
enum Level
{
    LevelParameter = 1000,   ///< a parameter value could not be handled
    LevelError = 2000,       ///< errors and refusals
    LevelResult = 3000,      ///< results of long work
    LevelInformation = 4000, ///< everything else
};

/// One log record, as sinks receive it.
struct LogRecord
{
    int level = LevelInformation;
    QString file;     ///< source path relative to its library's root, without extension
    int line = 0;     ///< source line
    QString function; ///< bare function name
    QString category; ///< empty when the caller passed null
    QString message;
    qint64 timeMs = 0;      ///< milliseconds since the epoch
    std::thread::id thread; ///< the thread that logged
};

/// Receives every log record. Called on the logging thread, one record at a time; must return at once, may take no
/// lock that a logging thread may hold, and must not log.
class TOV_EXPORT LogSink
{
public:
    virtual ~LogSink();
    /// Takes one record. Thread: any.
    virtual void write(const LogRecord& record) = 0;
};

/// The host's log. Safe from any thread, never waits for the application thread, never throws.
class TOV_EXPORT Logger
{
public:
    /// Logs a printf-style message. `%s` arguments are in the local 8-bit encoding. `category` may be null.
    /// Thread: any.
    static void log(int level, const char* file, int line, const char* function, const char* category,
                    const char* format, ...) __attribute__((format(printf, 6, 7)));

    /// Logs a message literally; `%` has no special meaning. Thread: any.
    static void log(int level, const char* file, int line, const char* function, const char* category,
                    const QString& message);

    /// Adds a sink. The caller keeps its ownership and removes it before destroying it. Thread: any.
    static void addSink(LogSink* sink);
    /// Removes a sink. When this returns, no call of it is in progress. Thread: any, but not from a sink.
    static void removeSink(LogSink* sink);
};

} // namespace tov::log
