#pragma once

#include "trajectory/recordingpace.h"

#include <atomic>
#include <cstddef>
#include <list>
#include <mutex>
#include <utility>

namespace tov::trajectory {

/// The common part of both kinds of trajectory: a list, which may be replaced while others read it, and the position in
/// it.
template <typename List>
class Path
{
public:
    /// The latest list, null before the first one. It stays unchanged while a recording runs; without one, until
    /// `KeptLists` more were set. Thread: any.
    const List* getList() const
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        return m_Lists.empty() ? nullptr : &m_Lists.back();
    }
    /// Replaces the list; the position is limited to it. Thread: application.
    void setList(List list)
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        const std::size_t count = list.size();
        // Other threads may read the older ones.
        while (m_Lists.size() > KeptLists && !RecordingPace::isRecording())
            m_Lists.pop_front();
        m_Lists.push_back(std::move(list));
        if (m_Position >= count)
            m_Position = count == 0 ? 0 : count - 1;
    }

    /// Thread: any.
    unsigned long getPosition() const { return m_Position; }
    /// Thread: any.
    void setPosition(unsigned long position) { m_Position = position; }

private:
    static constexpr std::size_t KeptLists = 8;
    std::atomic<unsigned long> m_Position{0};
    mutable std::mutex m_Mutex;
    std::list<List> m_Lists; ///< guarded by m_Mutex; the last one is current, the others may have readers
};

} // namespace tov::trajectory
