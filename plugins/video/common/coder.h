#pragma once

#include <QIODevice>

namespace tov::plugins::video {

/// What a recording asks of a coder, as the encoder has it at the moment.
struct CoderJob
{
    QIODevice* output;   ///< the encoder's; open for writing only, or null
    int width;           ///< pixels
    int height;          ///< pixels
    int fps;             ///< frames a second
    int kbps;            ///< bits a second
    const bool* aborted; ///< the encoder's; reached through std::atomic_ref
};

/// Codes one recording. Lives in the library of coders, which brings FFmpeg along and is loaded when a recording
/// begins. An output that cannot be written is logged once; from then on frames are dropped, what was written stays
/// playable. So with a lack of memory: nothing is thrown.
class Coder
{
public:
    virtual ~Coder() = default;
    /// Codes a chunk of frames; after the last one the file is complete. Thread: runner.
    virtual void codeChunk(const CoderJob& job, QIODevice* chunk, bool isLast) = 0;
    /// The end, also when no chunk was the last one, and after an abort: the file is closed and removed then. Nothing
    /// is coded afterwards. Thread: that which ends the encoding, after the runner.
    virtual void finish(const CoderJob& job) = 0;
};

} // namespace tov::plugins::video
