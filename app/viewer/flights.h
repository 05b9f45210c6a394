#pragma once

namespace tov::viewer {

/// Whether views fly to a new camera instead of changing at once: the user's setting, unless the desktop asks for no
/// animation. Thread: application, as for all functions here.
bool areFlightsEnabled();
/// Changes the user's setting.
void setFlightsEnabled(bool enabled);
/// How long a flight takes in milliseconds; 0 when flights are off.
int flightDuration();

} // namespace tov::viewer
