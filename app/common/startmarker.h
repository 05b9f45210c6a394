#pragma once

namespace tov::app {

/// Detects starts that were not completed. While the program starts, a marker file is in the cache folder. Thread:
/// application.
class StartMarker
{
public:
    /// Looks for starts that were never completed, then marks this one.
    StartMarker();
    /// As `finish`.
    ~StartMarker();
    StartMarker(const StartMarker&) = delete;
    StartMarker& operator=(const StartMarker&) = delete;

    /// True when an earlier start crashed.
    bool hasCrashed() const { return m_Crashed; }
    /// The start is complete.
    void finish();
    /// Like `finish`, for signal handlers: a start that was interrupted did not crash.
    static void clear() noexcept;

private:
    bool m_Crashed = false;
};

} // namespace tov::app
