#include "kernel/log/logger.h"

#include "kernel/log/console.h"

#include <QDateTime>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace tov::log {

namespace {

/// Lives for the whole process: libraries log while they are unloaded.
struct Registry
{
    std::recursive_mutex mutex;
    std::vector<LogSink*> sinks; ///< guarded by mutex
};

Registry& registry()
{
    static Registry* instance = new Registry;
    return *instance;
}

void publish(int level, const char* file, int line, const char* function, const char* category, QString message)
{
    LogRecord record;
    record.level = level;
    record.file = QString::fromUtf8(file);
    record.line = line;
    record.function = QString::fromUtf8(function);
    record.category = QString::fromUtf8(category);
    record.message = std::move(message);
    record.timeMs = QDateTime::currentMSecsSinceEpoch();
    record.thread = std::this_thread::get_id();
    Registry& all = registry();
    std::lock_guard<std::recursive_mutex> guard(all.mutex);
    for (LogSink* sink : all.sinks)
        sink->write(record);
}

/// The printf text, decoded from the local 8-bit encoding.
QString formatted(const char* format, va_list arguments)
{
    va_list copy;
    va_copy(copy, arguments);
    char small[512];
    const int length = std::vsnprintf(small, sizeof small, format, copy);
    va_end(copy);
    if (length < 0)
        return QString::fromLocal8Bit(format);
    if (std::size_t(length) < sizeof small)
        return QString::fromLocal8Bit(small, length);
    std::vector<char> large(std::size_t(length) + 1);
    std::vsnprintf(large.data(), large.size(), format, arguments);
    return QString::fromLocal8Bit(large.data(), length);
}

struct Console
{
    std::mutex mutex;
    std::function<void(const QString&)> output; ///< guarded by mutex
};

Console& console()
{
    static Console* instance = new Console;
    return *instance;
}

} // namespace

LogSink::~LogSink() = default;

void Logger::log(int level, const char* file, int line, const char* function, const char* category, const char* format,
                 ...)
{
    va_list arguments;
    va_start(arguments, format);
    QString message = formatted(format, arguments);
    va_end(arguments);
    publish(level, file, line, function, category, std::move(message));
}

void Logger::log(int level, const char* file, int line, const char* function, const char* category,
                 const QString& message)
{
    // A deep copy: the characters of a literal belong to the caller's library, which may be unloaded while records
    // exist.
    publish(level, file, line, function, category, QString(message.constData(), message.size()));
}

void Logger::addSink(LogSink* sink)
{
    Registry& all = registry();
    std::lock_guard<std::recursive_mutex> guard(all.mutex);
    all.sinks.push_back(sink);
}

void Logger::removeSink(LogSink* sink)
{
    Registry& all = registry();
    std::lock_guard<std::recursive_mutex> guard(all.mutex);
    all.sinks.erase(std::remove(all.sinks.begin(), all.sinks.end(), sink), all.sinks.end());
}

void setConsoleOutput(std::function<void(const QString&)> output)
{
    Console& c = console();
    std::lock_guard<std::mutex> guard(c.mutex);
    c.output = std::move(output);
}

} // namespace tov::log

void qConsole(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QString line = tov::log::formatted(format, arguments);
    va_end(arguments);
    auto& c = tov::log::console();
    std::lock_guard<std::mutex> guard(c.mutex);
    if (c.output)
        c.output(line);
    else
        std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
}
