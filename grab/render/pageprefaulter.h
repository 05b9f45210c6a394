#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

class QIODevice;

namespace tov::grab::render {

/// Lets the system map the memory at the end of a chunk while the frame that will be written there is drawn. New memory
/// costs a page fault for every 4 KiB, which takes several times as long as copying the data, and a helper thread
/// spares the capture thread the wait. The helper never changes the content of the memory. Without a helper thread the
/// page faults happen when the frame is written. Thread: capture, for all methods.
class PagePrefaulter
{
public:
    PagePrefaulter();
    ~PagePrefaulter();
    PagePrefaulter(const PagePrefaulter&) = delete;
    PagePrefaulter& operator=(const PagePrefaulter&) = delete;

    /// Reserves room for `bytes` in a memory chunk, so that the chunk does not move while it grows. Does nothing for a
    /// file, or if there is not enough memory.
    static void reserve(QIODevice* chunk, std::size_t bytes);
    /// Starts to map the next `bytes` of a memory chunk, if they are reserved. Call `finish` before the chunk is handed
    /// over or deleted.
    void prefault(QIODevice* chunk, std::size_t bytes);
    /// Cancels the rest of the last request. When this returns, the helper thread does not use the chunk any more.
    void finish();

private:
    void work();

    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    char* mp_Begin = nullptr; ///< next whole page to map; guarded by m_Mutex
    std::size_t m_Bytes = 0;  ///< bytes left to map; guarded by m_Mutex
    bool m_Busy = false;      ///< the helper thread is mapping memory; guarded by m_Mutex
    bool m_Ending = false;    ///< guarded by m_Mutex
    std::thread m_Thread;
};

} // namespace tov::grab::render
