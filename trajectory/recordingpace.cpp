#include "trajectory/recordingpace.h"

#include "kernel/main/settings.h"
#include "kernel/util/framebacklog.h"
#include "kernel/util/processmemory.h"
#include "kernel/workers/overseer.h"

#include <QElapsedTimer>
#include <QSettings>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>

namespace tov::trajectory {

using tov::util::FrameBacklog;

namespace {

/// Recordings and capture threads; the counters start at 0 with the first of those that exist at the same time.
std::atomic<int> recordings{0};

void addRecording()
{
    if (recordings++ == 0)
        FrameBacklog::clear();
}

struct Runs
{
    std::mutex mutex;
    std::map<const RecordingPace::Run*, std::function<bool()>> known; ///< guarded by mutex
};

Runs& runs()
{
    static auto* instance = new Runs;
    return *instance;
}
constexpr qint64 Megabyte = 1000000;
constexpr qint64 DefaultChunkMb = 50;
constexpr unsigned long PollMs = 5;

/// Whether a recording was asked to stop and has not ended.
bool isAnyStopped()
{
    std::lock_guard<std::mutex> guard(runs().mutex);
    return std::any_of(runs().known.begin(), runs().known.end(), [](const auto& run) { return run.second(); });
}

/// Notices that an encoder no longer makes progress.
class Stall
{
public:
    Stall() { m_Since.start(); }
    void noteProgress() { m_Since.restart(); }
    bool isReached() const
    {
        return m_Since.hasExpired(isAnyStopped() ? RecordingPace::StoppedStallMs : RecordingPace::StallMs);
    }

private:
    QElapsedTimer m_Since;
};

/// One capture thread.
class Recording
{
public:
    Recording() { addRecording(); }
    ~Recording() { --recordings; }
    void beforeFrame();

private:
    void waitForMemory();
    void waitForEncoder(FrameBacklog::Amount taken);

    qint64 m_Uncounted = 0;     ///< frames that were captured before their size was known
    qint64 m_MemoryBefore = -1; ///< bytes of the process after the first frame; -1 before it
};

void Recording::beforeFrame()
{
    ++m_Uncounted;
    const auto taken = FrameBacklog::totalTaken();
    // The size of a frame is known once the encoder has taken one.
    if (taken.frames == 0)
        waitForMemory();
    else
        waitForEncoder(taken);
}

/// The first frame uploads the model, and a codec has memory of its own: neither belongs to pending frames. A codec's
/// shows when nothing is freed although the limit is reached.
void Recording::waitForMemory()
{
    qint64 memory = tov::util::allocatedMemory();
    if (m_Uncounted <= 2)
        m_MemoryBefore = memory;
    const qint64 limit = RecordingPace::limitBytes(0);
    qint64 least = memory;
    Stall stall;
    while (memory - m_MemoryBefore >= limit && FrameBacklog::totalTaken().frames == 0) {
        if (stall.isReached()) {
            m_MemoryBefore = memory - limit / 2;
            return;
        }
        QThread::msleep(PollMs);
        memory = tov::util::allocatedMemory();
        if (memory <= least - Megabyte) {
            least = memory;
            stall.noteProgress();
        }
    }
}

void Recording::waitForEncoder(FrameBacklog::Amount taken)
{
    const qint64 frameBytes = taken.bytes / taken.frames;
    FrameBacklog::captured(m_Uncounted, m_Uncounted * frameBytes);
    m_Uncounted = 0;
    Stall stall;
    qint64 seen = taken.frames;
    FrameBacklog::waitUntilBelow(RecordingPace::limitBytes(frameBytes), [&] {
        const qint64 now = FrameBacklog::totalTaken().frames;
        if (now != seen) {
            seen = now;
            stall.noteProgress();
        }
        return stall.isReached();
    });
}

} // namespace

qint64 RecordingPace::limitBytes(qint64 frameBytes)
{
    const auto megabytes = [](const char* key, qint64 preset) {
        bool isNumber = false;
        const qint64 value = tovSettings().value(QLatin1String(key)).toLongLong(&isNumber);
        return isNumber && value > 0 && value < 1000000 ? value * Megabyte : preset;
    };
    qint64 preset = DefaultLimitMb * Megabyte;
    if (frameBytes > 0)
        preset = std::min(preset, MostFrames * frameBytes);
    // Frames in the chunk that is being filled cannot be taken.
    const qint64 chunk = megabytes("settings/grabvideotempfilesize", DefaultChunkMb * Megabyte);
    const qint64 least = frameBytes > 0 ? chunk + 3 * frameBytes : 2 * chunk;
    return std::max(megabytes("settings/backloglimit", preset), least);
}

RecordingPace::Run::Run(std::function<bool()> isStopped)
{
    addRecording();
    std::lock_guard<std::mutex> guard(runs().mutex);
    runs().known.emplace(this, std::move(isStopped));
}

RecordingPace::Run::~Run()
{
    {
        std::lock_guard<std::mutex> guard(runs().mutex);
        runs().known.erase(this);
    }
    --recordings;
}

bool RecordingPace::isRecording()
{
    return recordings > 0;
}

void RecordingPace::beforeFrame()
{
    if (tov::main::Overseer::getInstance()->isApplicationThread())
        return;
    thread_local Recording recording;
    recording.beforeFrame();
}

} // namespace tov::trajectory
