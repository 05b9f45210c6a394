#include "scene/import/readers.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace tov::scene {

void ReadSource::report(const char* at) const
{
    if (progress && !progress(int(double(at - begin) / double(size() ? size() : 1) * 99)))
        throw ReadCancelled();
}

std::array<double, 3> originFor(const double* position)
{
    // Above this, neighbouring single-precision numbers are a thousandth apart.
    constexpr double Large = 10000;
    std::array<double, 3> origin = {0, 0, 0};
    if (std::max({std::abs(position[0]), std::abs(position[1]), std::abs(position[2])}) > Large)
        for (std::size_t i = 0; i < 3; ++i)
            origin[i] = std::floor(position[i]);
    return origin;
}

void checkFinite(const std::vector<float>& values)
{
    for (const float value : values)
        if (!std::isfinite(value))
            throw ReadError(QCoreApplication::translate("tov::scene", "a coordinate is not a finite number"));
}

} // namespace tov::scene
