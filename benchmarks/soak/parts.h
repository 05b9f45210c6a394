#pragma once

#include <QString>

/// The parts of the load tests. Each starts with a scene of 20000 triangles; `folder` is for its files, `temporary` the
/// folder for temporary files. Thread: application.
namespace tov::soak {

constexpr int SmallDiskMb = 400;

/// A recording whose encoder is ten times slower than the capture.
void recordWithSlowEncoder(const QString& folder, const QString& temporary);
/// A recording of 90000 frames.
void recordLong(const QString& folder, const QString& temporary);
/// Eight panels that record at once.
void recordPanels(const QString& folder, const QString& temporary);
/// Recordings that fill a small disk. `temporary` is one of `SmallDiskMb`; see `mountSmallDisk`.
void fillDisks(const QString& folder, const QString& temporary);
/// Mounts a file system of `SmallDiskMb` on the folder, for this process only. False, with an error message, where that
/// is not allowed. Call it before there are threads.
bool mountSmallDisk(const QString& folder);
/// How long a thread waits for the locks that a recording takes.
void measureLocks(const QString& folder, const QString& temporary);
/// The program's window, whose view is turned continuously while it is recorded.
void measureWindow(const QString& folder, const QString& temporary);
/// A picture of 1.2 gigapixels.
void drawLargePicture(const QString& folder, const QString& temporary);
/// Models of 10 million triangles and of 20 million points.
void readLargeModels(const QString& folder, const QString& temporary);
/// Many recordings and pictures, whose resources must not grow.
void repeatJobs(const QString& folder, const QString& temporary);

} // namespace tov::soak
