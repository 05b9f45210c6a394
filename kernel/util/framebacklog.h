#pragma once

#include "kernel/main/export.h"

#include <QtGlobal>

#include <functional>

namespace tov::util {

/// Counts the raw video frames of this process that were captured and that encoders have not taken yet. The code that
/// paces a recording reports each frame with `captured` and waits with `waitUntilBelow`; encoder plug-ins report each
/// frame with `taken`. All recordings of the process share the counters. Frames in a chunk that is still being filled
/// count as pending and cannot be taken, so a limit must be larger than one chunk. Thread: any; no function takes
/// another lock.
class TOV_EXPORT FrameBacklog
{
public:
    /// A number of frames and their size in bytes.
    struct Amount
    {
        qint64 frames = 0;
        qint64 bytes = 0;
    };

    /// Adds captured frames. Thread: any, normally capture.
    static void captured(qint64 frames, qint64 bytes);
    /// Adds frames that an encoder has taken out of its chunk, and wakes the waiting threads. Thread: any, normally
    /// runner.
    static void taken(qint64 frames, qint64 bytes);
    /// The captured frames that have not been taken; never negative.
    static Amount pending();
    /// All frames taken since the last `clear`. If it stays 0 while chunks are encoded, the encoder does not count.
    static Amount totalTaken();

    /// Blocks until fewer than `limitBytes` are pending (true) or `stop` returns true (false). `stop` is called on the
    /// waiting thread without a lock held: once at the start, after every `taken`, and at least every 20 ms. An empty
    /// function never stops. Thread: any but application.
    static bool waitUntilBelow(qint64 limitBytes, const std::function<bool()>& stop);

    /// Sets all counters to 0, because frames of an aborted recording are never taken. Call it when no recording is
    /// running. Thread: any.
    static void clear();
};

} // namespace tov::util
