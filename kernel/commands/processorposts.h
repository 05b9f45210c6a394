#pragma once

#include <QString>

#include <functional>

namespace tov::main {

/// Carries what commands report to the command processor without ever waiting: reports are kept by command number, and
/// one event at a time is on its way to the application thread. Thread: any, under any lock.
class ProcessorPosts
{
public:
    static void enabledChanged(quint64 command, bool enabled);
    static void changed(quint64 command, int percent, const QString& text, bool hasText);
    /// Drops what a command that is being destroyed has reported.
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
    /// Who is told, on the application thread's event loop; an empty function: nobody.
    static void setReceiver(std::function<void(quint64 command, const Report&)> receiver);
};

} // namespace tov::main
