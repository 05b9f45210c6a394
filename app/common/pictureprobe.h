#pragma once

#include <QString>

namespace tov::app {

/// Whether a picture file is there to its end: a full disk may cut it after the head that tells its size. The common
/// formats are asked for their last bytes, whatever the picture's size; others are read. Thread: any.
bool isWholePicture(const QString& fileName);

} // namespace tov::app
