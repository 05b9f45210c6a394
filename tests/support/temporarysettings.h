#pragma once

#include "kernel/main/settings.h"

#include <QTemporaryDir>

namespace tov::test {

/// Settings of the test's own, empty at first, while it lives. Thread: application.
class TemporarySettings
{
public:
    TemporarySettings() { tov::main::setSettingsFile(m_Folder.filePath(QStringLiteral("settings.ini"))); }
    ~TemporarySettings() { tov::main::setSettingsFile(QString()); }

private:
    QTemporaryDir m_Folder;
};

} // namespace tov::test
