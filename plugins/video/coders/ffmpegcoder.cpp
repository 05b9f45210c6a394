#include "plugins/video/coders/ffmpegcoder.h"

#include "kernel/log/logger.h"
#include "plugins/video/coders/ffmpegoutput.h"
#include "plugins/video/coders/framereader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <atomic>
#include <utility>

namespace tov::plugins::video {

using tov::log::Logger;

namespace {

const char* const SourceFile = "plugins/video/ffmpeg";

/// Ticks of a frame in the indexed formats: fine enough for every player.
constexpr int TicksPerFrame = 512;
constexpr int DefaultFps = 25;
/// Beyond this rate the clocks of the file formats overflow (32 bits, in ticks).
constexpr int HighestFps = 1000000;
/// Seconds between key frames at most: how finely players can seek.
constexpr int KeySeconds = 2;
/// Frames by which the HEVC codec's decoding order is ahead of the display order: one level of referenced B frames.
constexpr qint64 HevcReorder = 2;

struct Freer
{
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
    void operator()(AVFormatContext* p) const { avformat_free_context(p); }
    void operator()(AVFrame* p) const { av_frame_free(&p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
    void operator()(AVFilterGraph* p) const { avfilter_graph_free(&p); }
    void operator()(SwsContext* p) const { sws_freeContext(p); }
};

template <typename T>
using Owned = std::unique_ptr<T, Freer>;

bool isRgb(AVPixelFormat format)
{
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return descriptor && (descriptor->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
}

/// Full range, as in JPEG.
bool isJpeg(AVPixelFormat format)
{
    return format == AV_PIX_FMT_YUVJ420P;
}

/// Whether the muxer itself turns a file of fragments into an indexed one at the end, as FFmpeg 7.1 and later can. It
/// must be able to seek, and its HEVC files are one frame too short.
bool indexesFragments(const AVOutputFormat* muxer, const Format& format, const QIODevice& output)
{
    const AVClass* options = muxer->priv_class;
    return options && !output.isSequential() && qstrcmp(format.codec, "libx265") != 0 &&
           av_opt_find(&options, "hybrid_fragmented", "movflags", 0, AV_OPT_SEARCH_FAKE_OBJ) != nullptr;
}

} // namespace

struct FFmpegCoder::Pipeline
{
    std::unique_ptr<Mp4Index> index; ///< null for formats without one, and when the muxer writes it
    std::unique_ptr<FFmpegOutput> output;
    Owned<AVFormatContext> muxer;
    Owned<AVCodecContext> codec;
    Owned<SwsContext> scaler;
    Owned<AVFilterGraph> graph;
    AVFilterContext* source = nullptr; ///< owned by the graph
    AVFilterContext* sink = nullptr;   ///< owned by the graph
    Owned<AVFrame> frame;              ///< in the encoder's (or filter's) format
    Owned<AVFrame> filtered;
    Owned<AVPacket> packet;
    AVStream* stream = nullptr; ///< owned by the muxer
    qint64 packets = 0;         ///< received from the codec so far
    qint64 firstDts = AV_NOPTS_VALUE;
};

FFmpegCoder::FFmpegCoder(const Format& format) : FrameCoder(SourceFile), m_Format(format) {}
FFmpegCoder::~FFmpegCoder() = default;

bool FFmpegCoder::isAvailable(const Format& format)
{
    return avcodec_find_encoder_by_name(format.codec) && av_guess_format(format.muxer, nullptr, nullptr);
}

int FFmpegCoder::framesPerSecond() const
{
    const int requested = job().fps > 0 ? std::min(job().fps, HighestFps) : DefaultFps;
    return m_Format.highestFps > 0 ? std::min(requested, m_Format.highestFps) : requested;
}

bool FFmpegCoder::open()
{
    d = std::make_unique<Pipeline>();
    if (!job().output)
        return fail(__LINE__, __func__, QStringLiteral("There is no output file to write the video to"));
    return openMuxer() && openCodec() && openScaler() && (!m_Format.filter || openFilter()) && writeHeader();
}

bool FFmpegCoder::openMuxer()
{
    const AVOutputFormat* format = av_guess_format(m_Format.muxer, nullptr, nullptr);
    if (!format)
        return fail(__LINE__, __func__,
                    QStringLiteral("The FFmpeg libraries of this machine lack the file format %1")
                        .arg(QLatin1String(m_Format.muxer)));
    if (m_Format.indexed && !indexesFragments(format, m_Format, *job().output))
        d->index = std::make_unique<Mp4Index>();
    d->output = std::make_unique<FFmpegOutput>(job().output, d->index.get());
    AVFormatContext* muxer = nullptr;
    const int result = avformat_alloc_output_context2(&muxer, nullptr, m_Format.muxer, nullptr);
    d->muxer.reset(muxer);
    d->stream = result < 0 ? nullptr : avformat_new_stream(muxer, nullptr);
    if (!d->stream || !d->output->context())
        return failForMemory(__LINE__, __func__, result);
    muxer->pb = d->output->context();
    muxer->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_FLUSH_PACKETS;
    return true;
}

void FFmpegCoder::configureCodec() const
{
    AVCodecContext* codec = d->codec.get();
    const int fps = framesPerSecond();
    const AVPixelFormat pixelFormat = av_get_pix_fmt(m_Format.pixelFormat);
    const bool rgb = isRgb(pixelFormat);
    const bool jpeg = isJpeg(pixelFormat);
    codec->width = job().width;
    codec->height = job().height;
    codec->pix_fmt = pixelFormat;
    codec->time_base = AVRational{1, fps};
    codec->framerate = AVRational{fps, 1};
    codec->gop_size = std::max(1, std::min(250, fps * KeySeconds));
    codec->sample_aspect_ratio = AVRational{1, 1};
    // BT.709 in limited range, tagged as such in stream and container; JPEG has its own.
    codec->color_primaries = AVCOL_PRI_BT709;
    codec->color_trc = rgb ? AVCOL_TRC_IEC61966_2_1 : AVCOL_TRC_BT709;
    codec->colorspace = rgb ? AVCOL_SPC_RGB : jpeg ? AVCOL_SPC_BT470BG : AVCOL_SPC_BT709;
    codec->color_range = rgb || jpeg ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    if (m_Format.rateControlled)
        codec->bit_rate = std::max(1000, job().kbps);
    codec->thread_count = 0;
    if (d->muxer->oformat->flags & AVFMT_GLOBALHEADER)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
}

bool FFmpegCoder::openCodec()
{
    const AVCodec* encoder = avcodec_find_encoder_by_name(m_Format.codec);
    if (!encoder)
        return fail(__LINE__, __func__,
                    QStringLiteral("The FFmpeg libraries of this machine lack the codec %1")
                        .arg(QLatin1String(m_Format.codec)));
    d->codec.reset(avcodec_alloc_context3(encoder));
    d->frame.reset(av_frame_alloc());
    d->filtered.reset(av_frame_alloc());
    d->packet.reset(av_packet_alloc());
    if (!d->codec || !d->frame || !d->filtered || !d->packet)
        return failForMemory(__LINE__, __func__);
    configureCodec();
    AVDictionary* options = nullptr;
    if (m_Format.lookahead)
        av_dict_set_int(&options, m_Format.lookahead, std::clamp(framesPerSecond() / 2, 1, m_Format.highestLookahead),
                        0);
    for (const auto& [name, value] : m_Format.codecOptions) {
        if (qstrcmp(name, "qscale") == 0) {
            d->codec->flags |= AV_CODEC_FLAG_QSCALE;
            d->codec->global_quality = FF_QP2LAMBDA * atoi(value);
        } else {
            av_dict_set(&options, name, value, 0);
        }
    }
    const int result = avcodec_open2(d->codec.get(), encoder, &options);
    av_dict_free(&options);
    if (result < 0)
        return fail(__LINE__, __func__,
                    QStringLiteral("The codec %1 cannot be opened for %2 x %3 pixels")
                        .arg(QLatin1String(m_Format.codec))
                        .arg(job().width)
                        .arg(job().height),
                    result);
    return true;
}

bool FFmpegCoder::openScaler()
{
    const AVCodecContext* codec = d->codec.get();
    const AVPixelFormat from = m_Format.alpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0;
    // A filter takes the frames unchanged.
    d->frame->format = m_Format.filter ? from : codec->pix_fmt;
    d->frame->width = job().width;
    d->frame->height = job().height;
    d->frame->color_range = codec->color_range;
    d->frame->colorspace = codec->colorspace;
    d->frame->color_primaries = codec->color_primaries;
    d->frame->color_trc = codec->color_trc;
    if (av_frame_get_buffer(d->frame.get(), 0) < 0)
        return failForMemory(__LINE__, __func__);
    d->scaler.reset(sws_getContext(
        job().width, job().height, from, job().width, job().height, AVPixelFormat(d->frame->format),
        SWS_AREA | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
    if (!d->scaler)
        return failForMemory(__LINE__, __func__);
    if (!isRgb(codec->pix_fmt)) {
        const bool jpeg = isJpeg(codec->pix_fmt);
        const int* coefficients = sws_getCoefficients(jpeg ? SWS_CS_ITU601 : SWS_CS_ITU709);
        sws_setColorspaceDetails(d->scaler.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1, coefficients, jpeg ? 1 : 0, 0,
                                 1 << 16, 1 << 16);
    }
    return true;
}

bool FFmpegCoder::writeHeader()
{
    const AVCodecContext* codec = d->codec.get();
    const int ticks = framesPerSecond() * TicksPerFrame;
    avcodec_parameters_from_context(d->stream->codecpar, codec);
    // The tag that all players of HEVC in MPEG-4 files know: parameter sets are in the header only.
    if (codec->codec_id == AV_CODEC_ID_HEVC && m_Format.indexed)
        d->stream->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    d->stream->time_base = m_Format.indexed ? AVRational{1, ticks} : codec->time_base;
    d->stream->avg_frame_rate = codec->framerate;
    d->stream->r_frame_rate = codec->framerate;
    AVDictionary* options = nullptr;
    for (const auto& [name, value] : m_Format.muxerOptions)
        av_dict_set(&options, name, value, 0);
    // Without it a recording of one frame has no delay.
    if (qstrcmp(m_Format.muxer, "gif") == 0)
        av_dict_set_int(&options, "final_delay", std::max(2, (100 + framesPerSecond() / 2) / framesPerSecond()), 0);
    if (m_Format.indexed) {
        av_dict_set(&options, "movflags",
                    d->index ? "+empty_moov+default_base_moof+skip_trailer+write_colr"
                             : "+hybrid_fragmented+negative_cts_offsets+default_base_moof+write_colr",
                    0);
        av_dict_set(&options, "frag_duration", "250000", 0);
        av_dict_set(&options, "use_editlist", "0", 0);
        av_dict_set_int(&options, "video_track_timescale", ticks, 0);
    }
    const int result = avformat_write_header(d->muxer.get(), &options);
    av_dict_free(&options);
    return result >= 0 || fail(__LINE__, __func__, QStringLiteral("The video file cannot be written"), result);
}

bool FFmpegCoder::openFilter()
{
    d->graph.reset(avfilter_graph_alloc());
    char arguments[256];
    const AVRational base = d->codec->time_base;
    std::snprintf(arguments, sizeof arguments, "video_size=%dx%d:pix_fmt=%d:time_base=%d/%d:pixel_aspect=1/1",
                  job().width, job().height, d->frame->format, base.num, base.den);
    int result = d->graph ? avfilter_graph_create_filter(&d->source, avfilter_get_by_name("buffer"), "in", arguments,
                                                         nullptr, d->graph.get())
                          : AVERROR(ENOMEM);
    if (result >= 0)
        result = avfilter_graph_create_filter(&d->sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                              d->graph.get());
    if (result >= 0) {
        AVFilterInOut* outputs = avfilter_inout_alloc();
        AVFilterInOut* inputs = avfilter_inout_alloc();
        outputs->name = av_strdup("in");
        outputs->filter_ctx = d->source;
        outputs->pad_idx = 0;
        outputs->next = nullptr;
        inputs->name = av_strdup("out");
        inputs->filter_ctx = d->sink;
        inputs->pad_idx = 0;
        inputs->next = nullptr;
        result = avfilter_graph_parse_ptr(d->graph.get(), m_Format.filter, &inputs, &outputs, nullptr);
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
    }
    if (result >= 0)
        result = avfilter_graph_config(d->graph.get(), nullptr);
    return result >= 0 || fail(__LINE__, __func__, QStringLiteral("The colours cannot be converted"), result);
}

bool FFmpegCoder::codeFrame(const uchar* bgra)
{
    qint64 time = m_Frames++;
    if (m_Format.highestFps > 0 && job().fps > m_Format.highestFps) {
        time = time * m_Format.highestFps / job().fps;
        if (std::exchange(m_Slot, time) == time)
            return true;
    }
    if (m_Format.alpha)
        bgra = m_Alpha.convert(bgra, job().width, job().height, !isRgb(d->codec->pix_fmt));
    // The codec may still hold the previous frame.
    int result = av_frame_make_writable(d->frame.get());
    if (result < 0)
        return failForMemory(__LINE__, __func__, result);
    const uint8_t* const planes[4] = {bgra, nullptr, nullptr, nullptr};
    const int strides[4] = {job().width * 4, 0, 0, 0};
    sws_scale(d->scaler.get(), planes, strides, 0, job().height, d->frame->data, d->frame->linesize);
    d->frame->pts = time;
    // A fixed quality is read from each frame, not from the codec's context.
    d->frame->quality = d->codec->global_quality;
    return d->graph ? filterAndSend(false) : send(false);
}

bool FFmpegCoder::filterAndSend(bool flush)
{
    int result = av_buffersrc_add_frame_flags(d->source, flush ? nullptr : d->frame.get(), AV_BUFFERSRC_FLAG_KEEP_REF);
    while (result >= 0) {
        result = av_buffersink_get_frame(d->sink, d->filtered.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            break;
        if (result < 0)
            break;
        std::swap(d->frame, d->filtered);
        const bool sent = send(false);
        std::swap(d->frame, d->filtered);
        av_frame_unref(d->filtered.get());
        if (!sent)
            return false;
    }
    if (result < 0 && result != AVERROR(EAGAIN) && result != AVERROR_EOF)
        return fail(__LINE__, __func__, QStringLiteral("The colours of a frame cannot be converted"), result);
    return !flush || send(true);
}

bool FFmpegCoder::send(bool flush)
{
    AVCodecContext* codec = d->codec.get();
    int result = avcodec_send_frame(codec, flush ? nullptr : d->frame.get());
    if (result < 0 && result != AVERROR_EOF)
        return fail(__LINE__, __func__, QStringLiteral("A frame cannot be encoded"), result);
    for (;;) {
        result = avcodec_receive_packet(codec, d->packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return true;
        if (result < 0)
            return fail(__LINE__, __func__, QStringLiteral("A frame cannot be encoded"), result);
        AVPacket* packet = d->packet.get();
        packet->stream_index = d->stream->index;
        if (packet->duration == 0)
            packet->duration = 1;
        // The HEVC codec leaves decoding times unset when a stream is shorter than its reordering delay: recordings of
        // one or two frames get random ones now and then. At a fixed rate they can be counted.
        if (codec->codec_id == AV_CODEC_ID_HEVC)
            packet->dts = std::min<qint64>(d->packets - HevcReorder, packet->pts);
        ++d->packets;
        if (d->firstDts == AV_NOPTS_VALUE)
            d->firstDts = packet->dts;
        // Decoding times begin at 0; codecs that reorder frames begin below 0.
        if (m_Format.indexed) {
            packet->pts -= d->firstDts;
            packet->dts -= d->firstDts;
        }
        av_packet_rescale_ts(packet, codec->time_base, d->stream->time_base);
        if (d->index)
            d->index->addSample({packet->pts, packet->dts, (packet->flags & AV_PKT_FLAG_KEY) != 0});
        result = av_interleaved_write_frame(d->muxer.get(), packet);
        if (result < 0 || d->output->failed())
            return fail(
                __LINE__, __func__,
                QStringLiteral("The video file cannot be written any further; its content so far can be played"),
                result < 0 ? result : AVERROR(EIO));
    }
}

void FFmpegCoder::complete()
{
    if (!(d->graph ? filterAndSend(true) : send(true)))
        return;
    int result = av_write_trailer(d->muxer.get());
    avio_flush(d->muxer->pb);
    if (result >= 0 && d->output->failed())
        result = AVERROR(EIO);
    if (result < 0) {
        fail(__LINE__, __func__, QStringLiteral("The video file cannot be completed; its content so far can be played"),
             result);
    } else if (d->index && d->index->hasSamples() && !job().output->isSequential()) {
        // From fragments to one indexed file: the index is appended, then the header is patched. If the index does not
        // fit on the disk, the fragments still play.
        const QByteArray index = d->index->finalIndex(TicksPerFrame, quint32(d->stream->time_base.den));
        const qint64 end = job().output->pos();
        const QByteArray patch = d->index->patch(end);
        if (index.isEmpty() || !d->output->write(index.constData(), index.size()) ||
            !d->output->seek(d->index->patchPosition()) || !d->output->write(patch.constData(), patch.size()))
            fail(__LINE__, __func__,
                 QStringLiteral("The video file's index cannot be written; it plays, but players seek slowly"));
    }
}

void FFmpegCoder::close()
{
    d.reset();
}

} // namespace tov::plugins::video
