#include "scene/view/capturetimes.h"

#include <new>

namespace tov::scene {

void CaptureTimes::clear()
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Moments.clear();
}

void CaptureTimes::add()
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    try {
        m_Moments.push_back(Clock::now());
    } catch (const std::bad_alloc&) {
        // A recording must not end because of this: its frames are then spread evenly.
    }
}

std::vector<CaptureTimes::Clock::time_point> CaptureTimes::get() const
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Moments;
}

} // namespace tov::scene
