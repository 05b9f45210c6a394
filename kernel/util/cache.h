#pragma once

#include "kernel/main/export.h"

#include <QMap>
#include <QString>

namespace tov::util {

/// Entries of a cache file, by key. Keys must not be empty.
typedef QMap<QString, QString> CacheEntries;

/// The path of a file in the user's cache folder (tov in $XDG_CACHE_HOME, else in ~/.cache), which is created when it
/// is missing and readable by the user only. Empty when there is no such folder or it belongs to somebody else. `name`
/// is a plain file name. Thread: any.
TOV_EXPORT QString cacheFile(const QString& name);

/// Reads the cache file `name`. Returns nothing when it does not exist, is damaged, is larger than 1 MiB, or was
/// written with another `version`. Thread: any.
TOV_EXPORT CacheEntries readCache(const QString& name, const QString& version);

/// Replaces the cache file `name`. Other processes see either the old file or the complete new one. False when it
/// cannot be written, which callers may ignore: the next run computes the entries again. Thread: any.
///
/// Format: the line "tov cache 1 VERSION", then for each entry its key and its value on a line each, both with
/// backslash escapes for line feeds and backslashes, and at last the line "\end".
TOV_EXPORT bool writeCache(const QString& name, const QString& version, const CacheEntries& entries);

} // namespace tov::util
