#include "plugins/video/coders/giffile.h"

#include "plugins/video/coders/bytewriter.h"
#include "plugins/video/coders/mappedfile.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>

namespace tov::plugins::video {

namespace {

constexpr int HeadBytes = 13; ///< signature and logical screen descriptor
constexpr int FlagsAt = 10;   ///< of the screen descriptor, from the beginning of the file
constexpr int ImageBytes = 10;
constexpr int ImageFlagsAt = 9;
constexpr int DelayAt = 4; ///< in a graphic control extension
constexpr int ControlBytes = 8;
constexpr uchar Extension = 0x21, Image = 0x2c, Trailer = 0x3b, GraphicControl = 0xf9;
constexpr uchar OwnTable = 0x80, TableSize = 0x07;
/// Players take shorter delays, in hundredths of a second, for a tenth of a second.
constexpr qint64 ShortestDelay = 2;
constexpr qint64 LongestDelay = 65535;

int tableBytes(uchar flags)
{
    return flags & OwnTable ? 3 << ((flags & TableSize) + 1) : 0;
}

struct GifFrame
{
    qint64 begin; ///< of its graphic control extension
    qint64 image; ///< of its image descriptor
    qint64 end;
};

/// The structure of a GIF.
struct Gif
{
    MappedFile file;
    std::vector<GifFrame> frames;

    /// Returns the problem, empty if there was none. Every frame must have a graphic control extension.
    QString open(const QString& fileName)
    {
        QString problem = file.open(fileName);
        if (!problem.isEmpty())
            return problem;
        return file.bytes(0, 6) == "GIF89a" && walk() && !frames.empty()
                   ? QString()
                   : QStringLiteral("'%1' is not a complete animated GIF").arg(fileName);
    }
    /// Everything before the first frame: header, colours, repetition.
    qint64 headEnd() const { return frames.front().begin; }
    QByteArray globalTable() const { return file.bytes(HeadBytes, tableBytes(file.byte(FlagsAt))); }

private:
    bool walk()
    {
        qint64 at = HeadBytes + tableBytes(file.byte(FlagsAt));
        qint64 control = -1;
        while (file.has(at, 1)) {
            const uchar kind = file.byte(at);
            if (kind == Trailer)
                return control < 0 && at + 1 == file.size();
            if (kind == Extension) {
                if (file.byte(at + 1) == GraphicControl)
                    control = at;
                at = afterSubBlocks(at + 2);
            } else if (kind == Image && control >= 0 && file.has(at, ImageBytes)) {
                const qint64 data = at + ImageBytes + tableBytes(file.byte(at + ImageFlagsAt));
                const qint64 end = afterSubBlocks(data + 1);
                frames.push_back({control, at, end});
                control = -1;
                at = end;
            } else {
                return false;
            }
            if (at < 0)
                return false;
        }
        return false;
    }
    /// The offset after a sequence of sub-blocks; negative when it is truncated.
    qint64 afterSubBlocks(qint64 at) const
    {
        while (file.has(at, 1) && file.byte(at) != 0)
            at += 1 + file.byte(at);
        return file.has(at, 1) ? at + 1 : -1;
    }
};

void copy(ByteWriter& output, const MappedFile& from, qint64 begin, qint64 end)
{
    output.put(reinterpret_cast<const char*>(from.data()) + begin, end - begin);
}

/// A graphic control extension, with another delay.
QByteArray controlWith(const MappedFile& file, const GifFrame& frame, qint64 delay)
{
    QByteArray control = file.bytes(frame.begin, ControlBytes);
    qToLittleEndian<quint16>(quint16(delay), control.data() + DelayAt);
    return control;
}

/// An image descriptor with a table of colours of its own.
QByteArray imageWithTable(const MappedFile& file, const GifFrame& frame, const QByteArray& table, uchar globalFlags)
{
    QByteArray image = file.bytes(frame.image, ImageBytes);
    image[ImageFlagsAt] = char(uchar(image[ImageFlagsAt]) | OwnTable | (globalFlags & TableSize));
    return image + table;
}

} // namespace

QString retimeGif(const QString& fileName, const QString& output, const Timing& timing)
{
    Gif gif;
    QString problem = gif.open(fileName);
    if (!problem.isEmpty())
        return problem;
    const qint64 count = qint64(gif.frames.size());
    if (!timing.starts.empty() && qint64(timing.starts.size()) != count)
        return QStringLiteral("'%1' holds %2 frames instead of %3")
            .arg(fileName, QString::number(count), QString::number(timing.starts.size()));
    const auto hundredths = [](double seconds) { return std::llround(seconds * 100); };
    if (hundredths(timing.seconds) < count * ShortestDelay)
        return QStringLiteral("a GIF of %1 frames cannot play in %2 s: players show each for 0.02 s at least")
            .arg(count)
            .arg(timing.seconds);
    ByteWriter written(output);
    copy(written, gif.file, 0, gif.headEnd());
    qint64 shown = 0;
    for (qint64 i = 0; i < count; ++i) {
        const GifFrame& frame = gif.frames[std::size_t(i)];
        // Frames that are too short for players are shown longer; the next ones make up for it.
        const qint64 delay = std::clamp(hundredths(timing.at(i + 1, count)) - shown, ShortestDelay, LongestDelay);
        shown += delay;
        written.put(controlWith(gif.file, frame, delay));
        copy(written, gif.file, frame.begin + ControlBytes, frame.end);
    }
    written.put(QByteArray(1, char(Trailer)));
    return written.finish();
}

QString joinGifs(const QStringList& parts, const std::vector<qint64>& counts, const QString& output)
{
    std::vector<Gif> gifs(std::size_t(parts.size()));
    for (std::size_t i = 0; i < gifs.size(); ++i) {
        Gif& gif = gifs[i];
        QString problem = gif.open(parts[int(i)]);
        if (!problem.isEmpty())
            return problem;
        if (!counts.empty() && qint64(gif.frames.size()) != counts[i])
            return QStringLiteral("'%1' holds %2 frames instead of %3")
                .arg(parts[int(i)], QString::number(gif.frames.size()), QString::number(counts[i]));
        if (gif.file.bytes(6, 4) != gifs.front().file.bytes(6, 4))
            return QStringLiteral("'%1' differs from the first part in size").arg(parts[int(i)]);
    }
    const Gif& first = gifs.front();
    ByteWriter written(output);
    copy(written, first.file, 0, first.headEnd());
    for (const Gif& gif : gifs) {
        const QByteArray table = gif.globalTable();
        for (const GifFrame& frame : gif.frames) {
            // A frame without a colour table of its own uses that of its part.
            const bool borrows = !(gif.file.byte(frame.image + ImageFlagsAt) & OwnTable);
            if (&gif == &first || !borrows || table == first.globalTable()) {
                copy(written, gif.file, frame.begin, frame.end);
                continue;
            }
            copy(written, gif.file, frame.begin, frame.image);
            written.put(imageWithTable(gif.file, frame, table, gif.file.byte(FlagsAt)));
            copy(written, gif.file, frame.image + ImageBytes, frame.end);
        }
    }
    written.put(QByteArray(1, char(Trailer)));
    return written.finish();
}

qint64 countGifFrames(const QString& fileName)
{
    Gif gif;
    return gif.open(fileName).isEmpty() ? qint64(gif.frames.size()) : -1;
}

} // namespace tov::plugins::video
