#include "plugins/video/coders/packetfile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <numeric>

namespace tov::plugins::video {

namespace {

/// Ticks per second of retimed mp4 and mov files.
constexpr int FineTicks = 90000;
/// Largest numbers of a frame rate written as a fraction.
constexpr int LargestFraction = 1000000;
/// The largest difference between the rates of two parts: containers round them.
constexpr double RateTolerance = 0.01;

struct Freer
{
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};

QString errorText(int averror)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(averror, text, sizeof text);
    return QString::fromLocal8Bit(text);
}

QString problemOf(const QString& fileName, const QString& what)
{
    return QStringLiteral("'%1' %2").arg(fileName, what);
}

/// A name with a colon is a file name, too.
QByteArray urlOf(const QString& fileName)
{
    return "file:" + QFileInfo(fileName).absoluteFilePath().toUtf8();
}

int onInterrupt(void* stop)
{
    return isStopped(static_cast<const bool*>(stop));
}

/// Times of all frames in ticks, and when the last one disappears; each later than the one before.
std::vector<qint64> ticksOf(const std::function<double(qint64)>& secondsAt, qint64 count, AVRational timeBase)
{
    std::vector<qint64> ticks;
    ticks.reserve(std::size_t(count) + 1);
    for (qint64 i = 0; i <= count; ++i) {
        const qint64 tick = std::llround(secondsAt(i) / av_q2d(timeBase));
        ticks.push_back(ticks.empty() ? tick : std::max(tick, ticks.back() + 1));
    }
    return ticks;
}

/// An output file with one video stream.
class PacketOutput
{
public:
    PacketOutput() = default;
    ~PacketOutput()
    {
        if (mp_Context && mp_Context->pb)
            avio_closep(&mp_Context->pb);
        avformat_free_context(mp_Context);
    }
    PacketOutput(const PacketOutput&) = delete;
    PacketOutput& operator=(const PacketOutput&) = delete;

    /// `rate`: frames per second, 0 if they are not evenly spaced. `ticks` per second, where the format leaves a
    /// choice.
    QString open(const QString& fileName, const char* muxer, const AVStream& like, AVRational rate, int ticks)
    {
        m_Name = fileName;
        int result = avformat_alloc_output_context2(&mp_Context, nullptr, muxer, nullptr);
        mp_Stream = result < 0 ? nullptr : avformat_new_stream(mp_Context, nullptr);
        if (!mp_Stream)
            return QStringLiteral("there is not enough memory");
        avcodec_parameters_copy(mp_Stream->codecpar, like.codecpar);
        // Kept if the format supports it: a codec may have several.
        if (av_codec_get_id(mp_Context->oformat->codec_tag, like.codecpar->codec_tag) != like.codecpar->codec_id)
            mp_Stream->codecpar->codec_tag = 0;
        av_dict_copy(&mp_Stream->metadata, like.metadata, 0);
        mp_Stream->sample_aspect_ratio = like.sample_aspect_ratio;
        mp_Stream->disposition = like.disposition;
        mp_Stream->time_base = rate.num > 0 ? av_inv_q(rate) : AVRational{1, ticks};
        mp_Stream->avg_frame_rate = mp_Stream->r_frame_rate = rate;
        result = avio_open(&mp_Context->pb, urlOf(fileName).constData(), AVIO_FLAG_WRITE);
        AVDictionary* options = nullptr;
        if (qstrcmp(muxer, "mp4") == 0 || qstrcmp(muxer, "mov") == 0) {
            av_dict_set(&options, "movflags", "+write_colr", 0);
            av_dict_set_int(&options, "video_track_timescale", ticks, 0);
        }
        if (result >= 0)
            result = avformat_write_header(mp_Context, &options);
        av_dict_free(&options);
        return result < 0 ? writeProblem(result) : QString();
    }
    AVRational timeBase() const { return mp_Stream->time_base; }
    QString write(AVPacket& packet)
    {
        packet.stream_index = 0;
        packet.pos = -1;
        const int result = av_interleaved_write_frame(mp_Context, &packet);
        return result < 0 ? writeProblem(result) : QString();
    }
    QString finish()
    {
        const int result = av_write_trailer(mp_Context);
        const int closed = avio_closep(&mp_Context->pb);
        return result < 0 || closed < 0 ? writeProblem(std::min(result, closed)) : QString();
    }

private:
    QString writeProblem(int averror) const
    {
        return QStringLiteral("cannot write '%1': %2").arg(m_Name, errorText(averror));
    }

    QString m_Name;
    AVFormatContext* mp_Context = nullptr;
    AVStream* mp_Stream = nullptr; ///< owned by the context
};

/// Copies the packets of one file; its frames are shown from `ticks[first]` on.
QString copyPackets(PacketFile& file, const PacketIndex& index, const std::vector<qint64>& ticks, qint64 first,
                    qint64 reordering, PacketOutput& output)
{
    qint64 number = 0;
    QString problem;
    const qint64 step = std::max<qint64>(1, ticks[1] - ticks[0]);
    const QString readProblem = file.read([&](AVPacket& packet) {
        if (number >= qint64(index.shown.size())) {
            problem = QStringLiteral("a file changed while it was read");
            return false;
        }
        const std::size_t shown = std::size_t(first + index.shown[std::size_t(number)]);
        // Decoding times are counted, because some formats store none.
        const qint64 decoded = first + number - reordering;
        packet.pts = ticks[shown];
        packet.dts = decoded >= 0 ? ticks[std::size_t(decoded)] : ticks[0] + decoded * step;
        packet.duration = ticks[shown + 1] - ticks[shown];
        ++number;
        problem = output.write(packet);
        return problem.isEmpty();
    });
    return problem.isEmpty() ? readProblem : problem;
}

/// Why two parts cannot be decoded as one stream; empty when they can.
QString findDifference(const AVStream& first, const AVStream& other)
{
    const AVCodecParameters &a = *first.codecpar, &b = *other.codecpar;
    if (a.codec_id != b.codec_id || a.codec_tag != b.codec_tag)
        return QStringLiteral("differs from the first part in codec");
    if (a.width != b.width || a.height != b.height)
        return QStringLiteral("has %1 x %2 pixels, the first part has %3 x %4")
            .arg(b.width)
            .arg(b.height)
            .arg(a.width)
            .arg(a.height);
    if (a.format != b.format || a.color_space != b.color_space || a.color_range != b.color_range)
        return QStringLiteral("differs from the first part in pixel format");
    if (a.extradata_size != b.extradata_size ||
        (a.extradata_size > 0 && std::memcmp(a.extradata, b.extradata, std::size_t(a.extradata_size)) != 0))
        return QStringLiteral("differs from the first part in codec settings");
    return QString();
}

} // namespace

PacketFile::~PacketFile()
{
    avformat_close_input(&mp_Context);
}

QString PacketFile::open(const QString& fileName)
{
    m_Name = fileName;
    mp_Context = avformat_alloc_context();
    if (!mp_Context)
        return QStringLiteral("there is not enough memory");
    mp_Context->interrupt_callback = {onInterrupt, const_cast<bool*>(m_Stop)};
    // On failure the context is freed.
    int result = avformat_open_input(&mp_Context, urlOf(fileName).constData(), nullptr, nullptr);
    if (result >= 0)
        result = avformat_find_stream_info(mp_Context, nullptr);
    if (result >= 0)
        result = av_find_best_stream(mp_Context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (result < 0)
        return problemOf(fileName, QStringLiteral("cannot be read as a video: %1").arg(errorText(result)));
    mp_Stream = mp_Context->streams[result];
    return QString();
}

QString PacketFile::read(const std::function<bool(AVPacket&)>& take)
{
    const std::unique_ptr<AVPacket, Freer> packet(av_packet_alloc());
    if (!packet)
        return QStringLiteral("there is not enough memory");
    int result = 0;
    bool more = true;
    while (more && (result = av_read_frame(mp_Context, packet.get())) >= 0) {
        if (packet->stream_index == mp_Stream->index)
            more = take(*packet);
        av_packet_unref(packet.get());
    }
    if (isStopped(m_Stop))
        return QStringLiteral("stopped");
    return result < 0 && result != AVERROR_EOF ? problemOf(m_Name, errorText(result)) : QString();
}

qint64 PacketFile::announcedFrames() const
{
    if (mp_Stream->nb_frames > 0)
        return mp_Stream->nb_frames;
    // Matroska writes the length at the end: an unfinished file has none.
    const AVRational rate = av_guess_frame_rate(mp_Context, mp_Stream, nullptr);
    return mp_Context->duration == AV_NOPTS_VALUE
               ? 0
               : std::llround(double(mp_Context->duration) / AV_TIME_BASE * av_q2d(rate));
}

QString PacketFile::index(PacketIndex* index)
{
    std::vector<qint64> times;
    QString problem = read([&times](AVPacket& packet) {
        times.push_back(packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts);
        return true;
    });
    if (!problem.isEmpty())
        return problem;
    if (times.empty())
        return problemOf(m_Name, QStringLiteral("holds no frames"));
    // If a format stores no times, frames are shown in the order in which they are stored.
    if (std::count(times.begin(), times.end(), AV_NOPTS_VALUE) > 0)
        std::iota(times.begin(), times.end(), 0);
    std::vector<qint64> order(times.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&times](qint64 a, qint64 b) { return times[std::size_t(a)] < times[std::size_t(b)]; });
    index->shown.resize(times.size());
    for (std::size_t place = 0; place < order.size(); ++place) {
        index->shown[std::size_t(order[place])] = qint64(place);
        index->reordering = std::max(index->reordering, order[place] - qint64(place));
    }
    index->rate = av_q2d(av_guess_frame_rate(mp_Context, mp_Stream, nullptr));
    return QString();
}

QString retimePackets(const QString& fileName, const QString& output, const char* muxer, const Timing& timing,
                      const bool* stop)
{
    PacketIndex index;
    PacketFile first(stop), second(stop);
    QString problem = first.open(fileName);
    if (problem.isEmpty())
        problem = first.index(&index);
    if (!problem.isEmpty())
        return problem;
    const qint64 count = qint64(index.shown.size());
    if (!timing.starts.empty() && qint64(timing.starts.size()) != count)
        return problemOf(fileName,
                         QStringLiteral("holds %1 frames instead of %2").arg(count).arg(timing.starts.size()));
    // AVI has only one rate, in the header; Matroska stores times in milliseconds.
    const bool even = timing.starts.empty() || qstrcmp(muxer, "avi") == 0;
    const AVRational rate = even ? av_d2q(double(count) / timing.seconds, LargestFraction) : AVRational{0, 1};
    PacketOutput written;
    problem = second.open(fileName);
    if (problem.isEmpty())
        problem = written.open(output, muxer, second.stream(), rate, FineTicks);
    if (!problem.isEmpty())
        return problem;
    const Timing evenly{{}, timing.seconds};
    const Timing& used = even ? evenly : timing;
    const std::vector<qint64> ticks = ticksOf([&](qint64 i) { return used.at(i, count); }, count, written.timeBase());
    problem = copyPackets(second, index, ticks, 0, index.reordering, written);
    return problem.isEmpty() ? written.finish() : problem;
}

QString joinPackets(const QStringList& parts, const std::vector<qint64>& counts, const QString& output,
                    const char* muxer, const bool* stop)
{
    std::vector<PacketIndex> indexes(std::size_t(parts.size()));
    PacketFile first(stop);
    QString problem = first.open(parts.front());
    qint64 total = 0, reordering = 0;
    for (int i = 0; problem.isEmpty() && i < parts.size(); ++i) {
        PacketIndex& index = indexes[std::size_t(i)];
        PacketFile part(stop);
        problem = part.open(parts[i]);
        if (problem.isEmpty())
            problem = part.index(&index);
        if (!problem.isEmpty())
            break;
        const qint64 count = qint64(index.shown.size());
        const qint64 announced = part.announcedFrames();
        const qint64 wanted = counts.empty() ? announced : counts[std::size_t(i)];
        const QString difference = findDifference(first.stream(), part.stream());
        if (announced != count)
            problem = problemOf(parts[i],
                                QStringLiteral("is not complete: it holds %1 of %2 frames").arg(count).arg(announced));
        else if (count != wanted)
            problem = problemOf(parts[i], QStringLiteral("holds %1 frames instead of %2").arg(count).arg(wanted));
        else if (!difference.isEmpty())
            problem = problemOf(parts[i], difference);
        else if (std::abs(index.rate / indexes.front().rate - 1) > RateTolerance)
            problem = problemOf(parts[i], QStringLiteral("has %1 frames per second, the first part has %2")
                                              .arg(index.rate)
                                              .arg(indexes.front().rate));
        total += count;
        reordering = std::max(reordering, index.reordering);
    }
    if (!problem.isEmpty())
        return problem;
    const AVRational rate = av_d2q(indexes.front().rate, LargestFraction);
    const AVRational base = first.stream().time_base;
    PacketOutput written;
    problem = written.open(output, muxer, first.stream(), rate, base.num == 1 ? base.den : FineTicks);
    if (!problem.isEmpty())
        return problem;
    const std::vector<qint64> ticks =
        ticksOf([&rate](qint64 i) { return double(i) / av_q2d(rate); }, total, written.timeBase());
    qint64 done = 0;
    for (int i = 0; problem.isEmpty() && i < parts.size(); ++i) {
        PacketFile part(stop);
        problem = part.open(parts[i]);
        if (problem.isEmpty())
            problem = copyPackets(part, indexes[std::size_t(i)], ticks, done, reordering, written);
        done += qint64(indexes[std::size_t(i)].shown.size());
    }
    return problem.isEmpty() ? written.finish() : problem;
}

qint64 countPackets(const QString& fileName, const bool* stop)
{
    PacketFile file(stop);
    qint64 count = 0;
    const QString problem = file.open(fileName);
    const bool readable = problem.isEmpty() && file.read([&count](AVPacket&) { return ++count > 0; }).isEmpty();
    return readable ? count : -1;
}

} // namespace tov::plugins::video
