#pragma once

#include "app/cli/options/requests.h"

#include <QStringList>
#include <QVariant>

#include <map>

namespace tov::app {

/// The settings that a recording reads, for one recording: the user's own are restored when the object is destroyed, so
/// that no result depends on the one before it. Thread: application.
class RecordingSettings
{
public:
    /// Frames per second; players do not honour shorter delays.
    static constexpr int HighestGifFps = 50;

    /// Stores the current values.
    RecordingSettings();
    ~RecordingSettings();
    RecordingSettings(const RecordingSettings&) = delete;
    RecordingSettings& operator=(const RecordingSettings&) = delete;

    /// False with one line in `error` when the request depends on a setting that is not a number.
    static bool check(const VideoRequest& request, QString* error);
    /// Frames per second: as requested, or the setting.
    static int rateOf(const VideoRequest& request);
    /// kbit/s: as requested, or enough for the size and the rate and at least the setting.
    static int bitrateOf(const VideoRequest& request);
    /// The size of the recorded frames: even numbers.
    static QSize sizeOf(const VideoRequest& request);

    /// Limits the memory of pending frames to what is available, and to half of --max-memory.
    void limitMemory(const VideoRequest& request);
    /// The arguments of the command that sets the rest: chunk size, rate, bit rate, chunks in memory.
    QStringList arguments(const VideoRequest& request) const;

private:
    std::map<QString, QVariant> m_Before; ///< by key; invalid = not set
};

} // namespace tov::app
