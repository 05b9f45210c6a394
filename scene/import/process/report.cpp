#include "scene/import/process/report.h"

#include "scene/import/meshstream.h"

#include <algorithm>
#include <cmath>

#include <unistd.h>

namespace tov::importer {

void report(std::uint8_t code, const std::string& text)
{
    const std::string bytes = std::string(1, char(code)) + text;
    // If the program has ended, the report has no receiver.
    [[maybe_unused]] const auto written = write(tov::scene::stream::ReportDescriptor, bytes.data(), bytes.size());
}

void reportProgress(double share)
{
    static int last = -1;
    const int percent = std::isfinite(share) ? int(std::clamp(share, 0.0, 1.0) * 99) : 0;
    if (percent > last) {
        last = percent;
        report(std::uint8_t(percent));
    }
}

} // namespace tov::importer
