#include "trajectory/recordingpace.h"

#include "kernel/main/settings.h"
#include "kernel/util/framebacklog.h"
#include "kernel/workers/overseer.h"

#include <QElapsedTimer>
#include <QSettings>

#include <algorithm>
#include <atomic>

namespace tov::trajectory {

using tov::util::FrameBacklog;

namespace {

std::atomic<int> recordings{0};
constexpr qint64 Megabyte = 1000000;
constexpr qint64 DefaultLimit = 512, DefaultChunk = 50; // MB

/// One capture thread. The counters start at 0 with the first of the recordings that run at the same time.
struct Recording
{
    Recording()
    {
        if (recordings++ == 0)
            FrameBacklog::clear();
    }
    ~Recording() { --recordings; }
    qint64 uncounted = 0; ///< frames that were captured before their size was known
};

} // namespace

qint64 RecordingPace::limitBytes(qint64 frameBytes)
{
    const auto megabytes = [](const char* key, qint64 preset) {
        bool isNumber = false;
        const qint64 value = tovSettings().value(QLatin1String(key)).toLongLong(&isNumber);
        return (isNumber && value > 0 && value < 1000000 ? value : preset) * Megabyte;
    };
    // Frames in the chunk that is being filled cannot be taken.
    const qint64 least = megabytes("settings/grabvideotempfilesize", DefaultChunk) + 3 * frameBytes;
    return std::max(megabytes("settings/backloglimit", DefaultLimit), least);
}

void RecordingPace::beforeFrame()
{
    if (tov::main::Overseer::getInstance()->isApplicationThread())
        return;
    thread_local Recording recording;
    ++recording.uncounted;
    const auto taken = FrameBacklog::totalTaken();
    if (taken.frames == 0)
        return; // the size of a frame is known once the encoder has taken one
    const qint64 frameBytes = taken.bytes / taken.frames;
    FrameBacklog::captured(recording.uncounted, recording.uncounted * frameBytes);
    recording.uncounted = 0;
    QElapsedTimer still;
    still.start();
    qint64 seen = taken.frames;
    FrameBacklog::waitUntilBelow(limitBytes(frameBytes), [&] {
        const qint64 now = FrameBacklog::totalTaken().frames;
        if (now != seen) {
            seen = now;
            still.restart();
        }
        return still.hasExpired(StallMs);
    });
}

} // namespace tov::trajectory
