#pragma once

#include <QString>
#include <QtGlobal>

namespace tov::app {

class OptionReader;

/// How a recording is split into parts, which are recorded separately and joined: --part I/N or --parts N.
struct PartRequest
{
    int count = 0; ///< parts; 0 = the recording is not split
    int part = 0;  ///< the part to record, from 1; 0 = those that are missing, then join all
    bool keepsParts = false;
    bool showsStatus = false; ///< only report which parts are done

    bool isShared() const { return count > 0; }
};

/// Positions of a trajectory.
struct PartRange
{
    qint64 first = 0;
    qint64 count = 0;
};

/// Reads --part, --parts, --keep-parts and --status; errors are stored in `reader`. Thread: any.
void readParts(OptionReader& reader, PartRequest& request);

/// The positions of a part: from (part - 1) positions / parts up to, but not including, part positions / parts, both
/// rounded down. Every position belongs to exactly one part, and the sizes of two parts differ by at most 1. `part` is
/// from 1 to `parts`. Thread: any.
PartRange rangeOfPart(int part, int parts, qint64 positions);

/// Seconds until all parts are done, from `perFrame` seconds per frame, `missing` frames that nobody records yet, and
/// `running` processes, the slowest of which needs `longest` seconds more. 0 = nothing is left. Thread: any.
double estimateSecondsLeft(double perFrame, qint64 missing, int running, double longest);

} // namespace tov::app
