#pragma once

#include "kernel/log/logger.h"

#include <QStringList>

#include <functional>
#include <mutex>
#include <vector>

namespace tov::test {

/// Keeps every log record while it lives. Thread: any.
class LogCapture : public tov::log::LogSink
{
public:
    LogCapture();
    ~LogCapture() override;
    void write(const tov::log::LogRecord& record) override;

    std::vector<tov::log::LogRecord> records() const;
    void clear();
    /// The records with exactly that message.
    std::vector<tov::log::LogRecord> withMessage(const QString& message) const;
    bool contains(const QString& message) const { return !withMessage(message).empty(); }
    /// All messages, one per line, for failure output.
    std::string text() const;

private:
    mutable std::mutex m_Mutex;
    std::vector<tov::log::LogRecord> m_Records; ///< guarded by m_Mutex
};

/// Keeps the console's lines while it lives. Thread: any.
class ConsoleCapture
{
public:
    ConsoleCapture();
    ~ConsoleCapture();
    QStringList lines() const;

private:
    mutable std::mutex m_Mutex;
    QStringList m_Lines; ///< guarded by m_Mutex
};

/// Runs the event loop and the workers until the condition is true; false after `limitMs`. Thread: application.
bool processUntil(const std::function<bool()>& condition, int limitMs = 20000);

} // namespace tov::test
