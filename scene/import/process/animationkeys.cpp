#include "scene/import/process/readers.h"

#include <algorithm>
#include <cmath>

namespace tov::importer {

bool cleanKeys(ChannelData& channel, std::size_t valuesPerKey, const std::string& place, StreamWriter& writer)
{
    const auto refuse = [&](const char* what) {
        writer.addWarning(place + ": " + what);
        return false;
    };
    if (channel.times.empty() || valuesPerKey == 0)
        return refuse("a channel has no keys");
    if (channel.values.size() != channel.times.size() * valuesPerKey)
        return refuse("a channel has the wrong number of values for its keys");
    const auto isFinite = [](auto value) { return std::isfinite(value); };
    if (!std::all_of(channel.times.begin(), channel.times.end(), isFinite) ||
        !std::all_of(channel.values.begin(), channel.values.end(), isFinite))
        return refuse("a channel has keys that are not finite numbers");
    if (!std::is_sorted(channel.times.begin(), channel.times.end()))
        return refuse("the times of a channel are not in order");
    // The last of several keys at the same time is used.
    std::size_t kept = 0;
    for (std::size_t i = 0; i < channel.times.size(); ++i) {
        if (kept > 0 && channel.times[kept - 1] == channel.times[i])
            --kept;
        channel.times[kept] = channel.times[i];
        std::copy_n(channel.values.begin() + std::ptrdiff_t(i * valuesPerKey), valuesPerKey,
                    channel.values.begin() + std::ptrdiff_t(kept * valuesPerKey));
        ++kept;
    }
    channel.times.resize(kept);
    channel.values.resize(kept * valuesPerKey);
    return true;
}

} // namespace tov::importer
