#include "tests/support/logcapture.h"

#include "kernel/log/console.h"
#include "kernel/workers/overseer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>

namespace tov::test {

LogCapture::LogCapture()
{
    tov::log::Logger::addSink(this);
}

LogCapture::~LogCapture()
{
    tov::log::Logger::removeSink(this);
}

void LogCapture::write(const tov::log::LogRecord& record)
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Records.push_back(record);
}

std::vector<tov::log::LogRecord> LogCapture::records() const
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Records;
}

void LogCapture::clear()
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Records.clear();
}

std::vector<tov::log::LogRecord> LogCapture::withMessage(const QString& message) const
{
    std::vector<tov::log::LogRecord> found;
    for (const auto& record : records())
        if (record.message == message)
            found.push_back(record);
    return found;
}

std::string LogCapture::text() const
{
    std::string text;
    for (const auto& record : records())
        text += std::to_string(record.level) + " " + record.file.toStdString() + " " + record.function.toStdString() +
                ": " + record.message.toStdString() + "\n";
    return text;
}

ConsoleCapture::ConsoleCapture()
{
    tov::log::setConsoleOutput([this](const QString& line) {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Lines << line;
    });
}

ConsoleCapture::~ConsoleCapture()
{
    tov::log::setConsoleOutput({});
}

QStringList ConsoleCapture::lines() const
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Lines;
}

bool processUntil(const std::function<bool()>& condition, int limitMs)
{
    QElapsedTimer clock;
    clock.start();
    auto* overseer = tov::main::Overseer::getInstance();
    while (!condition()) {
        if (clock.elapsed() > limitMs)
            return false;
        QCoreApplication::processEvents();
        overseer->processWorkersUntil(condition, 2);
    }
    return true;
}

} // namespace tov::test
