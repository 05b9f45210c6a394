#include "kernel/log/terminalsink.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <system_error>

namespace tov::log {

namespace {

/// Limits the memory in use when the terminal accepts no output.
constexpr std::size_t MaxWaiting = 10000;

const char* labelOf(int level)
{
    if (level <= LevelParameter)
        return "parameter";
    if (level <= LevelError)
        return "error";
    if (level <= LevelResult)
        return "result";
    return "info";
}

} // namespace

QString escaped(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        const ushort code = c.unicode();
        if (code == '\n')
            result += QLatin1String("\\n");
        else if (code == '\t')
            result += c;
        else if (code < 0x20 || (code >= 0x7f && code < 0xa0))
            result += QStringLiteral("\\x%1").arg(code, 2, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

/// Shared with the writing thread, which outlives the sink if a write blocks.
struct TerminalSink::Private
{
    int highestLevel;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<QByteArray> lines; ///< guarded by mutex
    QByteArray last;              ///< guarded by mutex
    int repeats = 0;              ///< guarded by mutex
    bool ending = false;          ///< guarded by mutex
    bool ended = false;           ///< guarded by mutex
    bool withoutThread = false;   ///< set before other threads can use this object

    void push(QByteArray line)
    {
        if (lines.size() < MaxWaiting)
            lines.push_back(std::move(line));
    }
    void pushRepeats()
    {
        if (repeats > 0)
            push(QByteArray("  (repeated ") + QByteArray::number(repeats) + " times)\n");
        repeats = 0;
    }
    void run()
    {
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return ending || !lines.empty(); });
            if (lines.empty())
                break;
            writeAll(lock);
        }
        ended = true;
        changed.notify_all();
    }
    void writeAll(std::unique_lock<std::mutex>& lock)
    {
        while (!lines.empty()) {
            const QByteArray line = std::move(lines.front());
            lines.pop_front();
            lock.unlock();
            std::fwrite(line.constData(), 1, std::size_t(line.size()), stderr);
            lock.lock();
        }
    }
};

TerminalSink::TerminalSink(int highestLevel) : d(std::make_shared<Private>())
{
    d->highestLevel = highestLevel;
    try {
        std::thread([shared = d] { shared->run(); }).detach();
    } catch (const std::system_error&) {
        // No thread is available: lines are written by the logging thread, even if the terminal blocks.
        d->withoutThread = true;
    }
}

TerminalSink::~TerminalSink()
{
    std::unique_lock<std::mutex> lock(d->mutex);
    d->pushRepeats();
    d->ending = true;
    if (d->withoutThread) {
        d->writeAll(lock);
        return;
    }
    d->changed.notify_all();
    d->changed.wait_for(lock, std::chrono::seconds(2), [this] { return d->ended; });
}

void TerminalSink::write(const LogRecord& record)
{
    if (record.level > d->highestLevel)
        return;
    const QByteArray line = QStringLiteral("tov: %1: %2\n")
                                .arg(QLatin1String(labelOf(record.level)), escaped(record.message))
                                .toLocal8Bit();
    std::unique_lock<std::mutex> lock(d->mutex);
    if (line == d->last) {
        ++d->repeats;
        return;
    }
    d->pushRepeats();
    d->last = line;
    d->push(line);
    if (d->withoutThread)
        d->writeAll(lock);
    d->changed.notify_all();
}

} // namespace tov::log
