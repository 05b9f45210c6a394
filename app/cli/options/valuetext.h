#pragma once

#include <QSize>
#include <QString>

namespace tov::app {

// Values as they are written on the command line. Each function returns false when the text is not such a value, and
// leaves the value as it is. Thread: any.

/// Reads "WxH" with both from 1 to 65535.
bool readSize(const QString& text, QSize& size);
/// Reads a time such as "5", "5s", "500ms", "2min" into seconds, at least 0.
bool readSeconds(const QString& text, double& seconds);
/// Reads an amount such as "800M", "2G", "1500000" into bytes; K, M, G, T are powers of 1000, Ki to Ti of 1024.
bool readBytes(const QString& text, qint64& bytes);

} // namespace tov::app
