#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <functional>

/// Prints a printf-style text on the host's console, the one that the person who typed a command looks at. It is apart
/// from the log. The text is one line; a line feed is added. Thread: any.
TOV_EXPORT void qConsole(const char* format, ...) __attribute__((format(printf, 1, 2)));

namespace tov::log {

/// Where console lines go. Called on the printing thread, one line at a time. An empty function restores the default
/// (standard error). Thread: application.
TOV_EXPORT void setConsoleOutput(std::function<void(const QString& line)> output);

} // namespace tov::log
