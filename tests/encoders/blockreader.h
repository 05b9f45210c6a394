#pragma once

#include <QString>

namespace tov::test {

/// Frames of an animated GIF, read block by block by the rules of the GIF89a specification; -1, and a failure of the
/// test, when the file violates them.
int strictGifFrames(const QString& fileName);

/// The number of frames of an animated PNG, read chunk by chunk. -1, and a failure of the test, if checksums, order,
/// sequence numbers or the announced count are wrong.
int strictApngFrames(const QString& fileName);

} // namespace tov::test
