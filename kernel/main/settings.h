#pragma once

#include "kernel/main/export.h"

#include <QSettings>
#include <QString>

/// The host's settings: one INI file, with one `QSettings` object per calling thread (an object must not be shared by
/// threads). A value that one thread writes is visible to all threads. Thread: any.
TOV_EXPORT QSettings& tovSettings();

namespace tov::main {

/// Uses `fileName` for the rest of the process. An empty name selects the default: the file named by the environment
/// variable TOV_SETTINGS, else tov/tov.ini in the user's configuration folder. Call it before any thread has used
/// `tovSettings`; only tests switch files later. Thread: application.
TOV_EXPORT void setSettingsFile(const QString& fileName);
/// From now on `tovSettings` returns a private copy of the settings. The copy starts with the values of the current
/// file, is shared by all threads of this process and is kept in memory only: nothing is written to disk, so nothing
/// remains after the process ends or crashes. `QSettings::status()` of the copy is `AccessError` once a value was
/// changed, because the value cannot be stored. Thread: application.
TOV_EXPORT void useTemporarySettings();
/// Like `useTemporarySettings`, but the private copy starts empty and the current file is not read.
/// Thread: application.
TOV_EXPORT void useEmptySettings();
/// True when the first 64 KiB of the file contain a line that cannot be part of a settings file: neither a section, nor
/// a comment, nor `key=value`. Writing settings to such a file would destroy it. Thread: any.
TOV_EXPORT bool isForeignFile(const QString& fileName);
/// The settings file in use. Thread: any.
TOV_EXPORT QString settingsFile();

} // namespace tov::main
