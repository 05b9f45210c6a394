#pragma once

#include "kernel/main/export.h"

#include <QtGlobal>

#include <functional>

namespace tov::trajectory {

/// Keeps recordings from running ahead of their encoders: each recording sets one position per frame from its capture
/// thread, and waits there while more raw frames are pending than the limit allows. A recording then takes as long as
/// its slowest part, and its memory does not depend on its length. Until an encoder has counted a frame, or when it
/// never counts, the memory that the process has gained since the first frame is compared with the limit instead.
class TOV_EXPORT RecordingPace
{
public:
    /// Called once per frame, before the frame is captured. Never waits on the application thread. Stops waiting when
    /// an encoder takes nothing for `StallMs`, so that a recording whose encoder has failed can be stopped. Thread:
    /// any.
    static void beforeFrame();
    /// The limit for frames of that size (0 = unknown): the setting "settings/backloglimit" in MB, or `DefaultLimitMb`
    /// and at most `MostFrames`; but at least three frames and one chunk.
    static qint64 limitBytes(qint64 frameBytes);

    /// A recording from its start until everything that it captured has been encoded or dropped. The first of several
    /// that run at once sets the counters of pending frames to 0. Thread: any.
    class TOV_EXPORT Run
    {
    public:
        /// `isStopped`: whether the recording was asked to stop; called on any thread.
        explicit Run(std::function<bool()> isStopped);
        ~Run();
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;
    };
    /// Whether a recording runs. Thread: any.
    static bool isRecording();

    static constexpr int StallMs = 10000;
    /// The same while a recording that was asked to stop has not ended, so that it ends soon.
    static constexpr int StoppedStallMs = 200;
    /// Enough for encoding and capture to overlap; a larger limit would not make recordings faster.
    static constexpr qint64 DefaultLimitMb = 96;
    /// A recording that is stopped soon ends: its pending frames are still encoded.
    static constexpr qint64 MostFrames = 200;
};

} // namespace tov::trajectory
