#pragma once

#include <QtGlobal>

namespace tov::app {

/// Positions of a trajectory.
struct PartRange
{
    qint64 first = 0;
    qint64 count = 0;
};

/// The positions of a part: from (part - 1) positions / parts up to, but not including, part positions / parts, both
/// rounded down. Every position belongs to exactly one part, and the sizes of two parts differ by at most 1. `part` is
/// from 1 to `parts`. Thread: any.
PartRange rangeOfPart(int part, int parts, qint64 positions);

/// Seconds until all parts are done, from `perFrame` seconds per frame, `missing` frames that nobody records yet, and
/// `running` processes, the slowest of which needs `longest` seconds more. 0 = nothing is left. Thread: any.
double estimateSecondsLeft(double perFrame, qint64 missing, int running, double longest);

} // namespace tov::app
