// Trajectory files of all kinds, with their times, and camera paths: numbers that are finite, or one line.

#include "trajectory/animationmotion.h"
#include "trajectory/camerapath.h"
#include "trajectory/trajectoryreader.h"

#include <cmath>
#include <cstdlib>

using namespace tov::trajectory;

namespace {

template <typename Numbers>
void demandFinite(const Numbers& numbers, unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i)
        if (!std::isfinite(numbers[i]))
            std::abort();
}

/// One frame per second keeps the number of frames small.
PlaybackOptions slowly()
{
    PlaybackOptions options;
    options.fps = 1;
    options.seconds = 20;
    return options;
}

bool readPoints(const QByteArray& bytes, QString* error)
{
    TimedPoints points;
    if (!TrajectoryReader::readCsv(bytes, points, error) || !resample(points, slowly(), error))
        return false;
    for (const Point& point : points.values)
        demandFinite(point, 3);
    return true;
}

bool readMaps(const QByteArray& bytes, bool isTum, QString* error)
{
    TimedMaps maps;
    const bool read =
        isTum ? TrajectoryReader::readTum(bytes, maps, error) : TrajectoryReader::readJson(bytes, maps, error);
    if (!read || !resample(maps, slowly(), error))
        return false;
    for (const auto& map : maps.values)
        for (const auto& entry : map)
            demandFinite(entry.second.data(), 16);
    return true;
}

bool readPath(const QByteArray& bytes, QString* error)
{
    CameraPath path;
    if (!CameraPath::fromJson(bytes, path, error))
        return false;
    const auto motion = PathMotion::create(path, 1, 20, error);
    if (!motion)
        return false;
    for (unsigned long frame = 0; frame < motion->frameCount(); ++frame)
        if (const auto camera = motion->cameraAt(frame))
            demandFinite(camera->pose().data(), 16);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), int(size - 1));
    const int kind = data[0] % 4;
    QString error;
    const bool read = kind == 0   ? readPoints(bytes, &error)
                      : kind == 3 ? readPath(bytes, &error)
                                  : readMaps(bytes, kind == 1, &error);
    if (!read && (error.isEmpty() || error.contains(QLatin1Char('\n'))))
        std::abort();
    return 0;
}
