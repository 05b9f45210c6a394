#pragma once

#include <QString>

namespace tov::app {

/// True when a file of that name can be written as far as that can be seen beforehand; otherwise `error` says why not,
/// in one line. Thread: any.
bool checkOutputFolder(const QString& fileName, QString* error);

} // namespace tov::app
