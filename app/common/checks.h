#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

namespace tov::app {

// Checks before work begins. Each returns true when it passes, else false with one line in `error` that names the
// limit and what to do. Thread: application.

/// Bytes of memory that this process can still use: the minimum of what the machine has available, what its cgroup
/// leaves, and `limit` (0 = none) less what the process uses already. 0 = unknown. Thread: any.
qint64 availableMemory(qint64 limit);

/// The file can be written: it is a regular file or does not exist, and its folder can be written to.
bool checkOutput(const QString& fileName, QString* error);

/// The picture format can hold a picture of that size.
bool checkPictureSize(const QString& format, const QSize& size, QString* error);
/// The picture fits into memory. `limit` is --max-memory.
bool checkPictureMemory(const QSize& size, qint64 limit, QString* error);

/// Videos of that size and rate can be drawn and encoded. `size` is even.
bool checkVideoSize(const QString& format, const QSize& size, int fps, QString* error);

} // namespace tov::app
