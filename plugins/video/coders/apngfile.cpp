#include "plugins/video/coders/apngfile.h"

#include "plugins/video/coders/bytewriter.h"
#include "plugins/video/coders/mappedfile.h"

extern "C" {
#include <libavutil/crc.h>
}

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

namespace tov::plugins::video {

namespace {

const QByteArray Signature("\x89PNG\r\n\x1a\n", 8);
/// Length and type before a chunk's data, the checksum after it.
constexpr int ChunkHead = 8, ChunkTail = 4;
constexpr int ControlBytes = 26; ///< data of a frame control chunk
constexpr int HeaderBytes = 13;
constexpr int DelayAt = 20, DelayBytes = 4, BlendAt = 25;
/// Delays are fractions of two 16-bit numbers.
constexpr qint64 LargestDelay = 65535;

struct Chunk
{
    QByteArray type;
    qint64 begin; ///< of the data
    qint64 size;  ///< of the data
};

/// The structure of an animated PNG.
struct Apng
{
    MappedFile file;
    std::vector<Chunk> chunks;
    qint64 frames = 0;
    QByteArray header;       ///< of the picture: size and kind of the pixels
    quint32 plays = 0;       ///< how often the animation is repeated, 0 = forever
    bool isPlain = false;    ///< a single frame is stored as an ordinary picture
    QByteArray firstControl; ///< data of the first frame control chunk; generated, without a delay, for a plain picture

    /// Returns the problem, empty if there was none.
    QString open(const QString& fileName)
    {
        QString problem = file.open(fileName);
        if (!problem.isEmpty())
            return problem;
        return walk() ? QString() : QStringLiteral("'%1' is not a complete animated PNG").arg(fileName);
    }
    QByteArray data(const Chunk& chunk) const { return file.bytes(chunk.begin, chunk.size); }

private:
    bool walk()
    {
        if (file.bytes(0, Signature.size()) != Signature)
            return false;
        qint64 announced = -1;
        bool hasPicture = false;
        for (qint64 at = Signature.size(); file.has(at, ChunkHead);) {
            const Chunk chunk{file.bytes(at + 4, 4), at + ChunkHead, file.bigEndian32(at)};
            if (!file.has(chunk.begin, chunk.size + ChunkTail))
                return false;
            chunks.push_back(chunk);
            at = chunk.begin + chunk.size + ChunkTail;
            hasPicture = hasPicture || chunk.type == "IDAT";
            if (chunk.type == "IHDR") {
                header = data(chunk);
            } else if (chunk.type == "acTL") {
                announced = file.bigEndian32(chunk.begin);
                plays = file.bigEndian32(chunk.begin + 4);
            } else if (chunk.type == "fcTL" && chunk.size == ControlBytes) {
                if (++frames == 1)
                    firstControl = data(chunk);
            } else if (chunk.type == "IEND") {
                if (announced < 0)
                    makePlain();
                return at == file.size() && hasPicture && header.size() == HeaderBytes &&
                       frames == (isPlain ? 1 : announced);
            }
        }
        return false;
    }
    void makePlain()
    {
        isPlain = true;
        frames = 1;
        // Number, width, height; position, delay and operations are 0.
        firstControl = QByteArray(4, 0) + header.left(8) + QByteArray(ControlBytes - 12, 0);
    }
};

/// Writes chunks, and numbers those of the animation.
class ApngOutput
{
public:
    explicit ApngOutput(const QString& fileName) : m_Writer(fileName) { m_Writer.put(Signature); }
    void put(const QByteArray& type, const QByteArray& data)
    {
        QByteArray chunk(4, 0);
        qToBigEndian<quint32>(quint32(data.size()), chunk.data());
        chunk += type + data;
        const AVCRC* table = av_crc_get_table(AV_CRC_32_IEEE_LE);
        const quint32 sum =
            ~av_crc(table, ~0u, reinterpret_cast<const uchar*>(chunk.constData()) + 4, std::size_t(chunk.size()) - 4);
        QByteArray tail(ChunkTail, 0);
        qToBigEndian<quint32>(sum, tail.data());
        chunk += tail;
        m_Writer.put(chunk);
    }
    /// A chunk whose data begin with its number in the animation.
    void putNumbered(const QByteArray& type, QByteArray data)
    {
        qToBigEndian<quint32>(m_Sequence++, data.data());
        put(type, data);
    }
    QString finish() { return m_Writer.finish(); }

private:
    ByteWriter m_Writer;
    quint32 m_Sequence = 0;
};

/// A frame's delay as a fraction of a second: in milliseconds, coarser for long delays.
void setDelay(QByteArray& control, qint64 milliseconds)
{
    qint64 denominator = 1000;
    while (milliseconds > LargestDelay && denominator > 1) {
        milliseconds /= 10;
        denominator /= 10;
    }
    qToBigEndian<quint16>(quint16(std::min(milliseconds, LargestDelay)), control.data() + DelayAt);
    qToBigEndian<quint16>(quint16(denominator), control.data() + DelayAt + 2);
}

/// Writes the chunks of one file into an animation of `total` frames; `change` is called for each frame control.
void putChunks(ApngOutput& output, const Apng& apng, bool isFirst, qint64 total, quint32 plays,
               const std::function<void(QByteArray& control)>& change)
{
    bool controlled = !apng.isPlain;
    const auto putControl = [&](QByteArray control) {
        change(control);
        output.putNumbered("fcTL", control);
    };
    for (const Chunk& chunk : apng.chunks) {
        const QByteArray data = apng.data(chunk);
        if (chunk.type == "IDAT" && !std::exchange(controlled, true))
            putControl(apng.firstControl);
        if (chunk.type == "fcTL") {
            putControl(data);
        } else if (chunk.type == "fdAT") {
            output.putNumbered("fdAT", data);
        } else if (chunk.type == "IDAT" && !isFirst) {
            output.putNumbered("fdAT", QByteArray(4, 0) + data);
        } else if (chunk.type == "IHDR" && isFirst) {
            output.put("IHDR", data);
            QByteArray animation(8, 0);
            qToBigEndian<quint32>(quint32(total), animation.data());
            qToBigEndian<quint32>(plays, animation.data() + 4);
            output.put("acTL", animation);
        } else if (isFirst && chunk.type != "acTL" && chunk.type != "IEND") {
            output.put(chunk.type, data);
        }
    }
}

/// How long frames are shown, as stored; empty when no part specifies it.
QByteArray findDelay(const std::vector<Apng>& parts)
{
    for (const Apng& part : parts)
        if (!part.isPlain)
            return part.firstControl.mid(DelayAt, DelayBytes);
    return QByteArray();
}

QString findDifference(const Apng& first, const Apng& part)
{
    if (part.header != first.header)
        return QStringLiteral("differs from the first part in size or pixel format");
    // Each picture has a palette of its own, but an animation has only one.
    for (const Chunk& chunk : part.chunks)
        if (chunk.type == "PLTE" || chunk.type == "tRNS")
            return QStringLiteral("has a palette; parts with palettes cannot be joined");
    return QString();
}

} // namespace

QString retimeApng(const QString& fileName, const QString& output, const Timing& timing)
{
    Apng apng;
    QString problem = apng.open(fileName);
    if (!problem.isEmpty())
        return problem;
    if (!timing.starts.empty() && qint64(timing.starts.size()) != apng.frames)
        return QStringLiteral("'%1' holds %2 frames instead of %3")
            .arg(fileName, QString::number(apng.frames), QString::number(timing.starts.size()));
    const auto milliseconds = [](double seconds) { return std::llround(seconds * 1000); };
    ApngOutput written(output);
    qint64 frame = 0, shown = 0;
    putChunks(written, apng, true, apng.frames, apng.plays, [&](QByteArray& control) {
        const qint64 delay = std::max<qint64>(1, milliseconds(timing.at(++frame, apng.frames)) - shown);
        shown += delay;
        setDelay(control, delay);
    });
    written.put("IEND", QByteArray());
    return written.finish();
}

QString joinApngs(const QStringList& parts, const std::vector<qint64>& counts, const QString& output)
{
    std::vector<Apng> apngs(std::size_t(parts.size()));
    qint64 total = 0;
    for (std::size_t i = 0; i < apngs.size(); ++i) {
        Apng& apng = apngs[i];
        QString problem = apng.open(parts[int(i)]);
        if (!problem.isEmpty())
            return problem;
        problem = findDifference(apngs.front(), apng);
        if (problem.isEmpty() && !counts.empty() && apng.frames != counts[i])
            problem = QStringLiteral("holds %1 frames instead of %2").arg(apng.frames).arg(counts[i]);
        if (!problem.isEmpty())
            return QStringLiteral("'%1' %2").arg(parts[int(i)], problem);
        total += apng.frames;
    }
    const QByteArray delay = findDelay(apngs);
    if (delay.isEmpty())
        return QStringLiteral("'%1' has no duration for its frame").arg(parts.front());
    ApngOutput written(output);
    for (const Apng& apng : apngs) {
        bool begins = true;
        putChunks(written, apng, &apng == &apngs.front(), total, apngs.front().plays, [&](QByteArray& control) {
            if (apng.isPlain)
                control.replace(DelayAt, DelayBytes, delay);
            // A part's first frame replaces the last frame of the previous part.
            if (std::exchange(begins, false))
                control[BlendAt] = 0;
        });
    }
    written.put("IEND", QByteArray());
    return written.finish();
}

qint64 countApngFrames(const QString& fileName)
{
    Apng apng;
    return apng.open(fileName).isEmpty() ? apng.frames : -1;
}

} // namespace tov::plugins::video
