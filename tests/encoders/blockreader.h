#pragma once

#include <QString>

namespace tov::test {

/// Frames of an animated GIF, read block by block by the rules of the GIF89a specification; -1, and a failure of the
/// test, when the file violates them.
int strictGifFrames(const QString& fileName);

/// Frames of an animated PNG, read chunk by chunk: checksums, order, sequence numbers and announced count must be
/// right; -1, and a failure of the test, when they are not.
int strictApngFrames(const QString& fileName);

} // namespace tov::test
