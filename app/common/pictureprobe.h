#pragma once

#include <QString>

namespace tov::app {

/// Whether a picture file is complete: a full disk may truncate it after the header with its size. For the common
/// formats only the last bytes are checked, whatever the picture's size; others are read. Thread: any.
bool isWholePicture(const QString& fileName);

} // namespace tov::app
