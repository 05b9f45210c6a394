#pragma once

#include <QString>

#include <functional>

namespace tov::main {

/// Passes the reports of commands to the command processor without ever waiting. Reports are merged by command number,
/// and at most one event at a time is posted to the application thread. Thread: any, under any lock.
class ProcessorPosts
{
public:
    /// Reports that a command was enabled or disabled.
    static void enabledChanged(quint64 command, bool enabled);
    /// Reports the progress in percent (-1 = busy) or, with `hasText`, the text of a running command.
    static void changed(quint64 command, int percent, const QString& text, bool hasText);
    /// Drops the reports of a command that is being destroyed.
    static void forget(quint64 command);

    struct Report
    {
        bool hasEnabled = false;
        bool enabled = true;
        bool hasProgress = false;
        int percent = -1;
        bool hasText = false;
        QString text;
    };
    /// Sets the function that receives the reports in the event loop of the application thread; empty = none.
    static void setReceiver(std::function<void(quint64 command, const Report&)> receiver);
};

} // namespace tov::main
