#include "plugins/video/coders/videofacts.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
}

#include <atomic>
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

/// Conditions under which reading ends early.
struct ReadLimit
{
    const bool* stop; ///< not owned; reached through std::atomic_ref
    Clock::time_point end = Clock::now() + Limit;
};

/// Not 0 when reading must end.
int isOver(void* limit)
{
    const auto& limits = *static_cast<const ReadLimit*>(limit);
    return std::atomic_ref<bool>(const_cast<bool&>(*limits.stop)).load() || Clock::now() > limits.end;
}

} // namespace

int probeVideo(const char* fileName, const bool* stop, long long* frames, double* seconds)
{
    ReadLimit limit{stop};
    AVFormatContext* raw = avformat_alloc_context();
    std::unique_ptr<AVPacket, Freer> packet(av_packet_alloc());
    if (!raw || !packet) {
        avformat_free_context(raw);
        return -1;
    }
    raw->interrupt_callback = {isOver, &limit};
    // A name with a colon is a file name, too. On failure the context is freed.
    const std::string name = std::string("file:") + fileName;
    if (avformat_open_input(&raw, name.c_str(), nullptr, nullptr) < 0)
        return isOver(&limit) ? -1 : 0;
    std::unique_ptr<AVFormatContext, Freer> context(raw);
    int result = avformat_find_stream_info(raw, nullptr);
    const int stream = result < 0 ? result : av_find_best_stream(raw, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (stream < 0)
        return isOver(&limit) ? -1 : 0;
    long long count = 0;
    while ((result = av_read_frame(raw, packet.get())) >= 0 && !isOver(&limit)) {
        count += packet->stream_index == stream;
        av_packet_unref(packet.get());
    }
    if (isOver(&limit))
        return -1;
    *frames = count;
    *seconds = raw->duration == AV_NOPTS_VALUE ? 0 : double(raw->duration) / AV_TIME_BASE;
    // Frames before a damaged end are counted.
    return count > 0 || result == AVERROR_EOF ? 1 : 0;
}

} // namespace tov::plugins::video
