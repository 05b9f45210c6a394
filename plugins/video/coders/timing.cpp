#include "plugins/video/coders/timing.h"

#include <atomic>

namespace tov::plugins::video {

bool isStopped(const bool* stop)
{
    return stop && std::atomic_ref<bool>(const_cast<bool&>(*stop)).load();
}

} // namespace tov::plugins::video
