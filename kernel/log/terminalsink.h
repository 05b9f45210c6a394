#pragma once

#include "kernel/log/logger.h"

#include <memory>

namespace tov::log {

/// Writes records to standard error from a thread of its own, so that logging never waits for a slow terminal. Control
/// characters are escaped, and repeats are folded into one line with a count.
class TOV_EXPORT TerminalSink : public LogSink
{
public:
    /// Records with a level above `highestLevel` are not written.
    explicit TerminalSink(int highestLevel);
    /// Writes the pending lines, for at most 2 s, then ends.
    ~TerminalSink() override;
    void write(const LogRecord& record) override;

private:
    struct Private;
    std::shared_ptr<Private> d;
};

/// The text with control characters written as escapes, so that it stays one line and cannot control a terminal.
TOV_EXPORT QString escaped(const QString& text);

} // namespace tov::log
