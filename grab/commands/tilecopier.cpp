#include "grab/commands/tilecopier.h"

#include <QImage>

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

#include <pthread.h>

namespace tov::commands::grab {

namespace {

constexpr int MaxShares = 4;
/// Smaller tiles are copied faster than a thread is started.
constexpr int MinPixelsPerShare = 128 * 128;

/// A block of adjacent columns of the tile.
struct Columns
{
    int begin;
    int end;
};

Columns columnsOf(int width, int share, int shares)
{
    return {int(qint64(width) * share / shares), int(qint64(width) * (share + 1) / shares)};
}

void copyColumns(QImage& target, const QImage& tile, int x0, int y0, Columns columns)
{
    for (int x = columns.begin; x < columns.end; ++x)
        for (int y = 0; y < tile.height(); ++y)
            target.setPixel(x0 + x, y0 + y, tile.pixel(x, y));
}

/// An image of its own on the target's pixels: `setPixel` writes to counters of the image, which threads cannot share.
QImage makeView(QImage& target)
{
    QImage view(target.bits(), target.width(), target.height(), target.bytesPerLine(), target.format());
    if (target.colorCount() > 0)
        view.setColorTable(target.colorTable());
    return view;
}

int shareCount(const QImage& target, const QImage& tile)
{
    // Pixels that share a byte cannot be written by two threads.
    if (target.depth() < 8)
        return 1;
    const int cores = std::clamp(int(std::thread::hardware_concurrency()), 1, MaxShares);
    return std::clamp(int(qint64(tile.width()) * tile.height() / MinPixelsPerShare), 1, cores);
}

/// Starts a thread for each share except the first one, as far as the system allows. Returns how many were started.
int startHelpers(std::vector<QImage>& views, std::vector<std::thread>& helpers, const QImage& tile, int x0, int y0,
                 int shares)
{
    try {
        for (int share = 1; share < shares; ++share) {
            QImage& view = views[std::size_t(share)];
            helpers.emplace_back([&view, &tile, x0, y0, share, shares] {
                pthread_setname_np(pthread_self(), "TileCopier");
                copyColumns(view, tile, x0, y0, columnsOf(tile.width(), share, shares));
            });
        }
    } catch (const std::exception&) {
        // No thread or no memory for one: the caller copies the rest.
    }
    return int(helpers.size());
}

} // namespace

void copyTile(QImage& target, const QImage& tile, int x0, int y0)
{
    const int shares = shareCount(target, tile);
    std::vector<QImage> views;
    std::vector<std::thread> helpers;
    try {
        helpers.reserve(std::size_t(shares));
        for (int share = 0; share < shares; ++share)
            views.push_back(makeView(target));
    } catch (const std::exception&) {
        copyColumns(target, tile, x0, y0, {0, tile.width()});
        return;
    }
    const int started = startHelpers(views, helpers, tile, x0, y0, shares);
    copyColumns(views[0], tile, x0, y0, columnsOf(tile.width(), 0, shares));
    for (int share = started + 1; share < shares; ++share)
        copyColumns(views[0], tile, x0, y0, columnsOf(tile.width(), share, shares));
    for (std::thread& helper : helpers)
        helper.join();
}

} // namespace tov::commands::grab
