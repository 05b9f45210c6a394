// Trajectory files of all three kinds give finite numbers, or one line of error message.

#include "trajectory/trajectoryreader.h"

#include <cmath>
#include <cstdlib>

using tov::trajectory::TrajectoryReader;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), int(size - 1));
    QString error;
    bool read = false;
    if (data[0] % 3 == 0) {
        std::vector<tov::trajectory::Point> points;
        read = TrajectoryReader::readCsv(bytes, points, &error);
    } else {
        tov::trajectory::MatrixMapList list;
        read = data[0] % 3 == 1 ? TrajectoryReader::readTum(bytes, list, &error)
                                : TrajectoryReader::readJson(bytes, list, &error);
        if (read)
            for (const auto& map : list)
                for (const auto& entry : map)
                    for (unsigned int i = 0; i < 16; ++i)
                        if (!std::isfinite(entry.second.data()[i]))
                            std::abort();
    }
    if (!read && (error.isEmpty() || error.contains(QLatin1Char('\n'))))
        std::abort();
    return 0;
}
