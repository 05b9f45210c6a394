#pragma once

namespace tov::app {

/// Tells whether the last start was completed. While the program starts, a file in the cache folder says so. Thread:
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
    /// As `finish`, for signal handlers: a start that was told to stop did not crash.
    static void clear() noexcept;

private:
    bool m_Crashed = false;
};

} // namespace tov::app
