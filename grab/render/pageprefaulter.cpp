#include "grab/render/pageprefaulter.h"

#include <QBuffer>

#include <algorithm>
#include <exception>
#include <new>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tov::grab::render {

PagePrefaulter::PagePrefaulter()
{
    try {
        m_Thread = std::thread([this] { work(); });
    } catch (const std::exception&) {
        // Without a thread the page faults happen when the frame is written.
    }
}

PagePrefaulter::~PagePrefaulter()
{
    if (!m_Thread.joinable())
        return;
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Ending = true;
        m_Changed.notify_all();
    }
    m_Thread.join();
}

void PagePrefaulter::reserve(QIODevice* chunk, std::size_t bytes)
{
    auto* buffer = qobject_cast<QBuffer*>(chunk);
    if (!buffer)
        return;
    try {
        buffer->buffer().reserve(int(bytes));
    } catch (const std::bad_alloc&) {
        // The buffer then grows frame by frame, as far as it can.
    }
}

void PagePrefaulter::prefault(QIODevice* chunk, std::size_t bytes)
{
    // A chunk without enough reserved room may move when the next frame is written.
    finish();
    auto* buffer = qobject_cast<QBuffer*>(chunk);
    if (!buffer || !m_Thread.joinable())
        return;
    QByteArray& array = buffer->buffer();
    const auto page = std::size_t(sysconf(_SC_PAGESIZE));
    const auto end = std::size_t(array.size()) + bytes;
    if (end > std::size_t(array.capacity()))
        return;
    // Whole pages only: a page at either end may also hold other data, or is mapped already.
    const auto first = (quintptr(array.constData()) + quintptr(array.size()) + page - 1) / page * page;
    const auto last = (quintptr(array.constData()) + end) / page * page;
    if (last <= first)
        return;
    std::lock_guard<std::mutex> guard(m_Mutex);
    mp_Begin = reinterpret_cast<char*>(first);
    m_Bytes = last - first;
    m_Changed.notify_all();
}

void PagePrefaulter::finish()
{
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Bytes = 0;
    m_Changed.wait(lock, [this] { return !m_Busy; });
}

void PagePrefaulter::work()
{
    pthread_setname_np(pthread_self(), "PagePrefaulter");
    // In small steps: other threads that map or unmap memory wait for at most one step, and so does `finish`.
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
        m_Busy = true;
        lock.unlock();
        // Keeps the content. Fails on systems that are too old for it.
        const bool isMapped = madvise(begin, bytes, MADV_POPULATE_WRITE) == 0;
        lock.lock();
        m_Busy = false;
        if (!isMapped)
            m_Bytes = 0;
        m_Changed.notify_all();
    }
}

} // namespace tov::grab::render
