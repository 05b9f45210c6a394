#include "trajectory/animationmotion.h"
#include "trajectory/pose.h"
#include "trajectory/trajectoryreader.h"

#include <algorithm>
#include <cmath>

namespace tov::trajectory {

namespace {

Point between(const Point& a, const Point& b, double share)
{
    Point point;
    for (std::size_t i = 0; i < 3; ++i)
        point[i] = a[i] + share * (b[i] - a[i]);
    return point;
}

/// An element that is only in one of the maps keeps its matrix until the other one.
MatrixMap between(const MatrixMap& a, const MatrixMap& b, double share)
{
    MatrixMap result;
    for (const auto& [name, matrix] : a) {
        const auto other = b.find(name);
        result[name] = other == b.end() ? matrix : interpolated(matrix, other->second, share);
    }
    return result;
}

/// Evenly spaced times for positions without times, so that they fill `seconds`.
std::vector<double> evenTimes(std::size_t count, double seconds)
{
    std::vector<double> times(count);
    for (std::size_t i = 1; i < count; ++i)
        times[i] = seconds * double(i) / double(count - 1);
    return times;
}

template <typename Value>
bool resampleValues(Timed<Value>& timed, const PlaybackOptions& options, QString* error)
{
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (timed.times.empty() && options.seconds > 0 && !options.everyPosition)
        timed.times = evenTimes(timed.values.size(), options.seconds);
    const auto& times = timed.times;
    if (times.empty() || options.everyPosition)
        return true;
    for (std::size_t i = 0; i < times.size(); ++i)
        if (!std::isfinite(times[i]) || (i > 0 && !(times[i] > times[i - 1])))
            return fail(TrajectoryReader::tr("position %1: the times do not ascend").arg(i + 1));
    const double span = times.back() - times.front();
    const double seconds = options.seconds > 0 ? options.seconds : span;
    const unsigned long count = frameCountOf(seconds, options.fps);
    if (count == 0)
        return fail(TrajectoryReader::tr("%1 s at %2 frames per second are more than 1000000 frames")
                        .arg(QString::number(seconds), QString::number(options.fps)));
    std::vector<Value> values;
    values.reserve(count);
    std::size_t at = 0;
    for (unsigned long frame = 0; frame < count; ++frame) {
        double offset = double(frame) / options.fps;
        if (options.repeat && span > 0)
            offset = std::fmod(offset, span);
        else if (seconds > 0)
            offset = std::min(offset * span / seconds, span);
        const double time = times.front() + offset;
        if (time < times[at])
            at = 0; // the file begins again
        while (at + 2 < times.size() && times[at + 1] <= time)
            ++at;
        if (at + 1 >= times.size())
            values.push_back(timed.values[at]);
        else
            values.push_back(between(timed.values[at], timed.values[at + 1],
                                     std::min((time - times[at]) / (times[at + 1] - times[at]), 1.0)));
    }
    timed.values = std::move(values);
    timed.times.clear();
    return true;
}

} // namespace

bool resample(TimedPoints& points, const PlaybackOptions& options, QString* error)
{
    return resampleValues(points, options, error);
}

bool resample(TimedMaps& maps, const PlaybackOptions& options, QString* error)
{
    return resampleValues(maps, options, error);
}

} // namespace tov::trajectory
