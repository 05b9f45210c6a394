#pragma once

#include "kernel/log/logger.h"

#include <functional>

namespace tov::app {

/// Calls a function when the log shows that nothing more can come of a recording: no chunk could be made, or the
/// encoder takes none. The recording itself goes on, or waits, until it is stopped; the command does not say so
/// otherwise.
class RecordingLost : public tov::log::LogSink
{
public:
    /// `onLost` is called with the record's message on the logging thread, and must return at once.
    explicit RecordingLost(std::function<void(const QString& why)> onLost);
    ~RecordingLost() override;
    void write(const tov::log::LogRecord& record) override;

private:
    std::function<void(const QString& why)> m_OnLost;
};

} // namespace tov::app
