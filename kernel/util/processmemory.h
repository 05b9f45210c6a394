#pragma once

#include "kernel/main/export.h"

#include <QByteArray>
#include <QString>

namespace tov::util {

/// A value in a file such as /proc/meminfo, converted from kB to bytes; `key` ends with a colon. -1 when the file or
/// the key is missing. Thread: any.
TOV_EXPORT qint64 kilobyteValue(const QString& fileName, const QByteArray& key);

/// Bytes of this process's memory that are not backed by a file (the field "RssAnon" of /proc/self/status); 0 when the
/// system does not report it. Thread: any.
TOV_EXPORT qint64 processMemory();

/// Bytes that are allocated at this moment. Unlike `processMemory`, it falls as soon as something is freed. The same as
/// `processMemory` if the allocator has no statistics. Thread: any.
TOV_EXPORT qint64 allocatedMemory();

} // namespace tov::util
