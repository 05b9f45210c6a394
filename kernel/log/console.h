#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <functional>

/// Prints a printf-style text on the host's console, where the user types commands. The console is separate from the
/// log. The text is one line; a line feed is added. Thread: any.
TOV_EXPORT void qConsole(const char* format, ...) __attribute__((format(printf, 1, 2)));

namespace tov::log {

/// Sets the receiver of console lines. It is called on the printing thread, one line at a time. An empty function
/// restores the default (standard error). Thread: application.
TOV_EXPORT void setConsoleOutput(std::function<void(const QString& line)> output);

} // namespace tov::log
