#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

class QIODevice;

namespace tov::grab {

/// Has the system give memory to the end of a chunk while the frame is drawn that will be written there: fresh memory
/// costs a page fault for every 4 KiB, several times as much as the copying, and the capture thread need not wait for
/// it. Only asks for memory, never writes to it. Without a thread to be had, the faults come when the frame is written.
/// Thread: capture, for all of it.
class MemoryFeeder
{
public:
    MemoryFeeder();
    ~MemoryFeeder();

    /// Reserves the addresses of `bytes` at once, so that the chunk does not move while it grows. A file, or memory
    /// that is not to be had: left as it is.
    static void reserve(QIODevice* chunk, std::size_t bytes);
    /// Begins to get memory for the next `bytes` of the chunk, as far as they are reserved.
    void feed(QIODevice* chunk, std::size_t bytes);

private:
    void work();

    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    char* mp_Begin = nullptr; ///< whole pages to ask for; guarded by m_Mutex
    std::size_t m_Bytes = 0;  ///< guarded by m_Mutex
    bool m_Ending = false;    ///< guarded by m_Mutex
    std::thread m_Thread;
};

} // namespace tov::grab
