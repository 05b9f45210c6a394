#pragma once

#include <QImage>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace tov::commands::grab {

/// Copies the tiles of a picture into place while the next ones are drawn. Some threads share the columns of each tile;
/// every pixel goes through `pixel` and `setPixel`, whose bounds checks stay. Thread: command.
class TileCopier
{
public:
    /// `target` must outlive the copier and is not to be touched between `copy` and `finish`.
    explicit TileCopier(QImage* target);
    /// Finishes.
    ~TileCopier();
    TileCopier(const TileCopier&) = delete;
    TileCopier& operator=(const TileCopier&) = delete;

    /// Copies a tile of `width` x `height` pixels to (x0, y0); returns at once unless too many tiles wait already.
    void copy(const QImage& tile, int x0, int y0, int width, int height);
    /// Returns when every tile is in place.
    void finish();

private:
    struct Tile
    {
        QImage picture;
        std::vector<QImage>
            views; ///< of the target's pixels, one a share: its own counters are not written from two threads
        int x0, y0, width, height;
        int sharesLeft;
    };
    /// Copies every n-th column from `share` on.
    static void copyShare(Tile& tile, int share, int shares);
    QImage makeView() const;
    void work(int share);
    /// Finishes and ends the threads.
    void end();

    QImage* mp_Target; ///< not owned
    int m_Shares = 1;
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<Tile> m_Tiles; ///< guarded by m_Mutex; those that some thread has not copied yet
    quint64 m_Dropped = 0;    ///< guarded by m_Mutex; tiles that have left the queue
    bool m_Ending = false;    ///< guarded by m_Mutex
    std::vector<std::thread> m_Threads;
};

} // namespace tov::commands::grab
