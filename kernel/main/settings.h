#pragma once

#include "kernel/main/export.h"

#include <QSettings>
#include <QString>

/// The host's settings store: one INI file, a `QSettings` object of its own for each calling thread (one object shared
/// by threads is not safe). Values written by one thread are seen by all. Thread: any.
TOV_EXPORT QSettings& tovSettings();

namespace tov::main {

/// Puts the store into `fileName` for the rest of the process; an empty name means the default again: the file named
/// by the environment variable TOV_SETTINGS, else tov/tov.ini in the user's configuration folder. Call it before any
/// thread has used `tovSettings`, or in tests between uses. Thread: application.
TOV_EXPORT void setSettingsFile(const QString& fileName);
/// From now on the settings are this process's own: the values stay as they are, changes are seen by every thread and
/// are not stored, and nothing is left on the disk however the process ends. Thread: application.
TOV_EXPORT void keepSettingsInMemory();
/// As `keepSettingsInMemory`, but begins without any value and does not look at the file. Thread: application.
TOV_EXPORT void leaveSettingsFile();
/// True when the file has a line, of those at its beginning, that no settings have: no section, comment, or
/// `key=value`. To write settings there would destroy it. Thread: any.
TOV_EXPORT bool isForeignFile(const QString& fileName);
/// The file in use. Thread: any.
TOV_EXPORT QString settingsFile();

} // namespace tov::main
