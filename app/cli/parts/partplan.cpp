#include "app/cli/parts/partplan.h"

#include <algorithm>

namespace tov::app {

PartRange rangeOfPart(int part, int parts, qint64 positions)
{
    const qint64 first = (part - 1) * positions / parts;
    return {first, part * positions / parts - first};
}

double estimateSecondsLeft(double perFrame, qint64 missing, int running, double longest)
{
    const double unassigned = perFrame * double(missing) / std::max(running, 1);
    return std::max(longest, 0.0) + unassigned;
}

} // namespace tov::app
