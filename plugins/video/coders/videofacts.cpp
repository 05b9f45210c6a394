#include "plugins/video/coders/videofacts.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
}

#include <chrono>
#include <memory>
#include <string>

namespace tov::plugins::video {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto Limit = std::chrono::minutes(2);

struct Freer
{
    void operator()(AVFormatContext* p) const { avformat_close_input(&p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};

/// Not zero once the time that `end` points to is over.
int isLate(void* end)
{
    return Clock::now() > *static_cast<const Clock::time_point*>(end);
}

} // namespace

int probeVideo(const char* fileName, long long* frames, double* seconds)
{
    Clock::time_point end = Clock::now() + Limit;
    AVFormatContext* raw = avformat_alloc_context();
    std::unique_ptr<AVPacket, Freer> packet(av_packet_alloc());
    if (!raw || !packet) {
        avformat_free_context(raw);
        return -1;
    }
    raw->interrupt_callback = {isLate, &end};
    // A name with a colon is a file's, too. On failure the context is freed.
    const std::string name = std::string("file:") + fileName;
    if (avformat_open_input(&raw, name.c_str(), nullptr, nullptr) < 0)
        return isLate(&end) ? -1 : 0;
    std::unique_ptr<AVFormatContext, Freer> context(raw);
    int result = avformat_find_stream_info(raw, nullptr);
    const int stream = result < 0 ? result : av_find_best_stream(raw, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (stream < 0)
        return isLate(&end) ? -1 : 0;
    long long count = 0;
    while ((result = av_read_frame(raw, packet.get())) >= 0) {
        count += packet->stream_index == stream;
        av_packet_unref(packet.get());
    }
    if (isLate(&end))
        return -1;
    *frames = count;
    *seconds = raw->duration == AV_NOPTS_VALUE ? 0 : double(raw->duration) / AV_TIME_BASE;
    return result == AVERROR_EOF ? 1 : 0;
}

} // namespace tov::plugins::video
