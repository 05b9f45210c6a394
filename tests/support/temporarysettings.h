#pragma once

#include "kernel/main/settings.h"

#include <QTemporaryDir>

namespace tov::test {

/// Separate settings, initially empty, for the lifetime of the object. Thread: application.
class TemporarySettings
{
public:
    TemporarySettings() { tov::main::setSettingsFile(m_Folder.filePath(QStringLiteral("settings.ini"))); }
    ~TemporarySettings() { tov::main::setSettingsFile(QString()); }

private:
    QTemporaryDir m_Folder;
};

} // namespace tov::test
