#pragma once

#include "kernel/main/export.h"

#include <QtGlobal>

namespace tov::trajectory {

/// Keeps recordings from running ahead of their encoders: each recording sets one position per frame from its capture
/// thread, and waits there while more raw frames are pending than the limit allows. A recording then takes as long as
/// its slowest part, and its memory does not depend on its length.
class TOV_EXPORT RecordingPace
{
public:
    /// Called once per frame, before the frame is captured. Never waits on the application thread, or when the encoder
    /// does not count its frames; stops waiting when an encoder takes nothing for `StallMs`, so that a recording whose
    /// encoder has failed can be stopped. Thread: any.
    static void beforeFrame();
    /// The limit for frames of that size: the setting "settings/backloglimit" (MB, default 512), or three frames and
    /// one chunk, whichever is more.
    static qint64 limitBytes(qint64 frameBytes);

    static constexpr int StallMs = 10000;
};

} // namespace tov::trajectory
