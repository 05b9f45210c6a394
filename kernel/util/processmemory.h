#pragma once

#include "kernel/main/export.h"

#include <QtGlobal>

namespace tov::util {

/// Bytes of this process's memory that are not backed by a file (the field "RssAnon" of /proc/self/status); 0 when the
/// system does not report it. Thread: any.
TOV_EXPORT qint64 processMemory();

/// Bytes that are allocated at this moment. Unlike `processMemory`, it falls as soon as something is freed. Where the
/// allocator keeps no books, the same as `processMemory`. Thread: any.
TOV_EXPORT qint64 allocatedMemory();

} // namespace tov::util
