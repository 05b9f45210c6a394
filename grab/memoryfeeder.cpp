#include "grab/memoryfeeder.h"

#include <QBuffer>

#include <algorithm>
#include <exception>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace tov::grab {

MemoryFeeder::MemoryFeeder()
{
    try {
        m_Thread = std::thread([this] { work(); });
    } catch (const std::exception&) {
        // None to be had, or no memory for it.
    }
}

MemoryFeeder::~MemoryFeeder()
{
    if (!m_Thread.joinable())
        return;
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Ending = true;
        m_Changed.notify_one();
    }
    m_Thread.join();
}

void MemoryFeeder::reserve(QIODevice* chunk, std::size_t bytes)
{
    auto* buffer = qobject_cast<QBuffer*>(chunk);
    if (!buffer)
        return;
    try {
        buffer->buffer().reserve(int(bytes));
    } catch (const std::bad_alloc&) {
        // Then it grows frame by frame, as far as it can.
    }
}

void MemoryFeeder::feed(QIODevice* chunk, std::size_t bytes)
{
    auto* buffer = qobject_cast<QBuffer*>(chunk);
    if (!buffer || !m_Thread.joinable())
        return;
    QByteArray& array = buffer->buffer();
    const auto page = std::size_t(sysconf(_SC_PAGESIZE));
    const auto end = std::size_t(array.size()) + bytes;
    if (end > std::size_t(array.capacity()))
        return;
    // Whole pages only: a part of one at either end belongs to somebody else, or is there already.
    const auto first = (quintptr(array.constData()) + quintptr(array.size()) + page - 1) / page * page;
    const auto last = (quintptr(array.constData()) + end) / page * page;
    if (last <= first)
        return;
    std::lock_guard<std::mutex> guard(m_Mutex);
    mp_Begin = reinterpret_cast<char*>(first);
    m_Bytes = last - first;
    m_Changed.notify_one();
}

void MemoryFeeder::work()
{
    // In small steps: whoever maps or frees memory meanwhile waits for one of them.
    constexpr std::size_t StepBytes = 1 << 20;
    std::unique_lock<std::mutex> lock(m_Mutex);
    for (;;) {
        m_Changed.wait(lock, [this] { return m_Ending || m_Bytes > 0; });
        if (m_Ending)
            return;
        char* const begin = mp_Begin;
        const std::size_t bytes = std::min(m_Bytes, StepBytes);
        mp_Begin += bytes;
        m_Bytes -= bytes;
        lock.unlock();
        // Leaves the content alone. The chunk may be gone already, or the system too old for it.
        const bool given = madvise(begin, bytes, MADV_POPULATE_WRITE) == 0;
        lock.lock();
        if (!given && mp_Begin == begin + bytes)
            m_Bytes = 0;
    }
}

} // namespace tov::grab
