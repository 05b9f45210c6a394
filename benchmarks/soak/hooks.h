#pragma once

#include <QtGlobal>

#include <atomic>
#include <vector>

namespace tov::soak {

/// Bytes of memory that `sysinfo` reports as free while the process holds `residentAtStart`; -1 = the real figure.
extern std::atomic<qint64> simulatedFree;
/// Resident bytes when the simulation began.
extern std::atomic<qint64> residentAtStart;

/// The application thread's waits for the locks of the shared context and the scene before it paints, in milliseconds.
extern std::vector<double> paintWaits;

} // namespace tov::soak
