#pragma once

#include "plugins/video/common/coder.h"

#include <QString>

namespace tov::plugins::video {

/// The common part of all coders: takes the frames out of the chunks, and logs the first problem. Thread: as in
/// `Coder`.
class FrameCoder : public Coder
{
public:
    /// Encodes the frames of a chunk, which may be null; see `Coder`.
    void codeChunk(const CoderJob& job, QIODevice* chunk, bool isLast) final;
    /// Completes the file, or removes it after an abort; see `Coder`.
    void finish(const CoderJob& job) final;

protected:
    /// `sourceFile` names the coder in the log, and must outlive it.
    explicit FrameCoder(const char* sourceFile) : m_SourceFile(sourceFile) {}

    /// Opens the output and the codec, before the first frame. False after a failure, which has been logged.
    virtual bool open() = 0;
    /// Encodes a frame of `job()`'s size: 0xAARRGGBB in the machine's byte order, premultiplied. False after a failure,
    /// which has been logged.
    virtual bool codeFrame(const uchar* bgra) = 0;
    /// Writes the frames that the codec still holds, after the last frame. Not called after a failure.
    virtual void complete() = 0;
    /// Frees the codec. Always the last call.
    virtual void close() = 0;
    /// Removes other files that were written with the output, after an abort.
    virtual void discard() {}
    /// Whether a recording without frames also writes a file.
    virtual bool writesEmptyFile() const { return false; }

    /// The recording that is being encoded.
    const CoderJob& job() const { return m_Job; }
    /// Logs the first problem and stops everything that follows; `averror` is FFmpeg's, or 0. Always false.
    bool fail(int line, const char* function, const QString& what, int averror = 0);
    /// The same for a lack of memory.
    bool failForMemory(int line, const char* function, int averror = 0);

private:
    void codeFrames(QIODevice* chunk);
    bool ensureOpen();
    bool isAborted() const;
    void end();

    const char* m_SourceFile; ///< not owned
    CoderJob m_Job{};
    bool m_Opened = false;
    bool m_Failed = false;
    bool m_Finished = false;
    bool m_RemainderLogged = false;
};

} // namespace tov::plugins::video
