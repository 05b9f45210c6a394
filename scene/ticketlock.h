#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace tov::scene {

/// A lock that serves threads in the order of their requests. With a plain mutex a loop that locks again at once can
/// starve all other threads for seconds. Not recursive. Thread: any.
class TicketLock
{
public:
    /// Waits for its turn: threads get the lock in the order of their calls.
    void lock()
    {
        std::unique_lock<std::mutex> guard(m_Mutex);
        const std::uint64_t ticket = m_Next++;
        m_Changed.wait(guard, [this, ticket] { return m_Serving == ticket; });
    }
    /// Gives the lock to the thread that has waited longest.
    void unlock()
    {
        {
            std::lock_guard<std::mutex> guard(m_Mutex);
            ++m_Serving;
        }
        m_Changed.notify_all();
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::uint64_t m_Next = 0;    ///< guarded by m_Mutex
    std::uint64_t m_Serving = 0; ///< guarded by m_Mutex
};

} // namespace tov::scene
