#include "grab/commands/tilecopier.h"

#include "kernel/log/logger.h"

#include <algorithm>
#include <system_error>

namespace tov::commands::grab {

using tov::log::Logger;

namespace {

/// Tiles that may wait: enough that neither side idles.
constexpr std::size_t MaxWaiting = 3;
constexpr unsigned MaxThreads = 4;

} // namespace

TileCopier::TileCopier(QImage* target) : mp_Target(target)
{
    m_Shares = int(std::clamp(std::thread::hardware_concurrency(), 1u, MaxThreads));
    try {
        for (int share = 0; share < m_Shares; ++share)
            m_Threads.emplace_back([this, share] { work(share); });
    } catch (const std::system_error&) {
        // Not enough threads are to be had: then tiles are copied where they come.
        end();
    }
}

TileCopier::~TileCopier()
{
    end();
}

void TileCopier::end()
{
    finish();
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Ending = true;
        m_Changed.notify_all();
    }
    for (std::thread& thread : m_Threads)
        thread.join();
    m_Threads.clear();
}

QImage TileCopier::makeView() const
{
    QImage view(const_cast<uchar*>(mp_Target->constBits()), mp_Target->width(), mp_Target->height(),
                mp_Target->bytesPerLine(), mp_Target->format());
    if (mp_Target->colorCount() > 0)
        view.setColorTable(mp_Target->colorTable());
    return view;
}

void TileCopier::copy(const QImage& tile, int x0, int y0, int width, int height)
{
    // The target as it is now, its pixels its own, as `setPixel` would make them.
    mp_Target->detach();
    Tile entry{tile, {}, x0, y0, width, height, m_Shares};
    for (int share = 0; share < m_Shares; ++share)
        entry.views.push_back(makeView());
    if (m_Threads.empty()) {
        for (int share = 0; share < m_Shares; ++share)
            copyShare(entry, share, m_Shares);
        return;
    }
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Changed.wait(lock, [this] { return m_Tiles.size() < MaxWaiting; });
    m_Tiles.push_back(std::move(entry));
    m_Changed.notify_all();
}

void TileCopier::finish()
{
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Changed.wait(lock, [this] { return m_Tiles.empty(); });
}

void TileCopier::work(int share)
{
    quint64 next = 0;
    std::unique_lock<std::mutex> lock(m_Mutex);
    for (;;) {
        m_Changed.wait(lock, [&] { return m_Ending || next < m_Dropped + m_Tiles.size(); });
        if (next >= m_Dropped + m_Tiles.size())
            return;
        // A tile stays in the queue until the last share is done, so the reference holds; the end of the queue moves
        // only.
        Tile& tile = m_Tiles[std::size_t(next - m_Dropped)];
        lock.unlock();
        copyShare(tile, share, m_Shares);
        lock.lock();
        --m_Tiles[std::size_t(next - m_Dropped)].sharesLeft;
        ++next;
        while (!m_Tiles.empty() && m_Tiles.front().sharesLeft == 0) {
            m_Tiles.pop_front();
            ++m_Dropped;
        }
        m_Changed.notify_all();
    }
}

void TileCopier::copyShare(Tile& tile, int share, int shares)
{
    QImage& view = tile.views[std::size_t(share)];
    const int begin = tile.x0 + int(qint64(tile.width) * share / shares);
    const int end = tile.x0 + int(qint64(tile.width) * (share + 1) / shares);
    const int targetWidth = view.width(), targetHeight = view.height();
    for (int x = begin; x < end; ++x) {
        for (int j = 0; j < tile.height; ++j) {
            // Pixel by pixel, each checked, on purpose.
            if (x >= targetWidth || tile.y0 + j >= targetHeight) {
                Logger::log(tov::log::LevelError, "commands/grabimage", __LINE__, "saveImage", nullptr,
                            "setPixel(%d, %d) oversizes target image dimensions (%d, %d)", x, tile.y0 + j, targetWidth,
                            targetHeight);
                break;
            }
            view.setPixel(x, tile.y0 + j, tile.picture.pixel(x - tile.x0, j));
        }
    }
}

} // namespace tov::commands::grab
