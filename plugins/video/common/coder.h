#pragma once

#include <QIODevice>

namespace tov::plugins::video {

/// The parameters of a recording, as currently set in the encoder.
struct CoderJob
{
    QIODevice* output;   ///< the encoder's; open for writing only, or null
    int width;           ///< pixels
    int height;          ///< pixels
    int fps;             ///< frames per second
    int kbps;            ///< bits per second
    const bool* aborted; ///< the encoder's; reached through std::atomic_ref
};

/// Encodes one recording. Implemented in the coder library, which links to FFmpeg and is loaded when a recording
/// begins. When the output cannot be written, or memory runs out, the problem is logged once, later frames are dropped,
/// and what was written stays playable. Nothing throws.
class Coder
{
public:
    virtual ~Coder() = default;
    /// Encodes a chunk of frames; after the last one the file is complete. Thread: runner.
    virtual void codeChunk(const CoderJob& job, QIODevice* chunk, bool isLast) = 0;
    /// Ends the recording, also when no chunk was the last one, and after an abort (the file is closed and removed
    /// then). The last call. Thread: command, after the runner has ended.
    virtual void finish(const CoderJob& job) = 0;
};

} // namespace tov::plugins::video
