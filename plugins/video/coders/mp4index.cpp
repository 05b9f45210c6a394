#include "plugins/video/coders/mp4index.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>

namespace tov::plugins::video {

namespace {

constexpr int BoxHead = 8;
constexpr int FreeBox = 16;

template <typename T>
void put(QByteArray& to, T value)
{
    uchar bytes[sizeof(T)];
    qToBigEndian<T>(value, bytes);
    to.append(reinterpret_cast<const char*>(bytes), int(sizeof(T)));
}

template <typename T>
T get(const QByteArray& from, int at)
{
    return qFromBigEndian<T>(reinterpret_cast<const uchar*>(from.constData()) + at);
}

template <typename T>
void replace(QByteArray& in, int at, T value)
{
    qToBigEndian<T>(value, reinterpret_cast<uchar*>(in.data()) + at);
}

QByteArray box(const char* type, const QByteArray& contents)
{
    QByteArray result;
    put<quint32>(result, quint32(contents.size() + BoxHead));
    result.append(type, 4);
    result.append(contents);
    return result;
}

struct Child
{
    QByteArray type;
    QByteArray contents; ///< without the head
};

/// The boxes inside a container's contents; empty when their sizes are wrong.
std::vector<Child> children(const QByteArray& contents)
{
    std::vector<Child> result;
    for (int at = 0; at + BoxHead <= contents.size();) {
        const quint32 size = get<quint32>(contents, at);
        if (size < quint32(BoxHead) || size > quint32(contents.size() - at))
            return {};
        result.push_back({contents.mid(at + 4, 4), contents.mid(at + BoxHead, int(size) - BoxHead)});
        at += int(size);
    }
    return result;
}

/// Times of `mvhd`, `tkhd` and `mdhd` follow version and flags; the field before the duration differs.
void setDuration(QByteArray& contents, int fieldsBefore32, int fieldsBefore64, quint64 duration)
{
    if (!contents.isEmpty() && contents.at(0) == 1)
        replace<quint64>(contents, 4 + fieldsBefore64, duration);
    else
        replace<quint32>(contents, 4 + fieldsBefore32, quint32(std::min<quint64>(duration, 0xffffffffu)));
}

/// A table of the index: the number of entries, then the entries.
struct EntryTable
{
    QByteArray bytes;
    quint32 count = 0;

    /// Extends the last run of equal values, or begins a new run.
    void addToRun(quint32 value)
    {
        if (count > 0 && get<quint32>(bytes, bytes.size() - 4) == value) {
            replace<quint32>(bytes, bytes.size() - 8, get<quint32>(bytes, bytes.size() - 8) + 1);
            return;
        }
        put<quint32>(bytes, 1);
        put<quint32>(bytes, value);
        ++count;
    }
    QByteArray contents() const
    {
        QByteArray result(4, 0); // version and flags
        put<quint32>(result, count);
        return result + bytes;
    }
};

/// The data that completes the index of a track.
struct TrackIndex
{
    QByteArray tables;       ///< boxes of the sample table, except the description of the codec
    quint32 timeScale;       ///< ticks per second
    quint64 mediaDuration;   ///< ticks
    quint64 shownDuration;   ///< ticks
    std::int64_t firstShown; ///< ticks from the decoding of the first frame to its display
};

/// Rewrites boxes of one container; `change` returns the new box, or nothing for one that is left out.
template <typename Change>
QByteArray rewritten(const QByteArray& contents, Change change)
{
    QByteArray result;
    for (const Child& child : children(contents))
        result += change(child);
    return result;
}

QByteArray unchanged(const Child& child)
{
    return box(child.type.constData(), child.contents);
}

/// The sample tables, which replace the empty ones of a fragmented file.
QByteArray indexedInformation(const QByteArray& contents, const TrackIndex& track)
{
    return rewritten(contents, [&track](const Child& child) {
        if (child.type != "stbl")
            return unchanged(child);
        const QByteArray description = rewritten(
            child.contents, [](const Child& table) { return table.type == "stsd" ? unchanged(table) : QByteArray(); });
        return box("stbl", description + track.tables);
    });
}

QByteArray indexedMedia(const QByteArray& contents, const TrackIndex& track)
{
    return rewritten(contents, [&track](Child child) {
        if (child.type == "mdhd") {
            const bool wide = child.contents.at(0) == 1;
            replace<quint32>(child.contents, 4 + (wide ? 16 : 8), track.timeScale);
            setDuration(child.contents, 12, 20, track.mediaDuration);
        } else if (child.type == "minf") {
            child.contents = indexedInformation(child.contents, track);
        }
        return unchanged(child);
    });
}

/// Skips the time before the first frame is shown: frames are decoded early, but not shown early.
QByteArray editList(const TrackIndex& track, quint32 movieScale)
{
    QByteArray list(4, 0);
    put<quint32>(list, 1);
    // Rounded up: frames beyond the end of the list would not be shown.
    put<quint32>(list, quint32((track.shownDuration * movieScale + track.timeScale - 1) / track.timeScale));
    put<qint32>(list, qint32(track.firstShown));
    put<quint32>(list, 0x00010000);
    return box("edts", box("elst", list));
}

QByteArray indexedTrack(const QByteArray& contents, const TrackIndex& track, quint32 movieScale)
{
    return rewritten(contents, [&](Child child) {
        if (child.type == "edts")
            return QByteArray();
        if (child.type == "mdia")
            child.contents = indexedMedia(child.contents, track);
        if (child.type != "tkhd")
            return unchanged(child);
        setDuration(child.contents, 16, 24, track.shownDuration * movieScale / track.timeScale);
        return unchanged(child) + (track.firstShown > 0 ? editList(track, movieScale) : QByteArray());
    });
}

/// The contents of the final index, from those of the preliminary one.
QByteArray indexedMovie(const QByteArray& contents, const TrackIndex& track)
{
    quint32 movieScale = 1000;
    return rewritten(contents, [&](Child child) {
        if (child.type == "mvex")
            return QByteArray(); // announces fragments
        if (child.type == "mvhd") {
            const bool wide = child.contents.at(0) == 1;
            movieScale = get<quint32>(child.contents, 4 + (wide ? 16 : 8));
            setDuration(child.contents, 12, 20, track.shownDuration * movieScale / track.timeScale);
        } else if (child.type == "trak") {
            child.contents = indexedTrack(child.contents, track, movieScale);
        }
        return unchanged(child);
    });
}

/// Whether a field of a track fragment header or run is present (ISO/IEC 14496-12).
bool hasField(const QByteArray& box, quint32 flag)
{
    return (get<quint32>(box, 0) & 0xffffff & flag) != 0;
}

/// The size of samples whose run does not store it, from the track fragment header; 0 if the header has no size.
quint32 commonSampleSize(const QByteArray& header)
{
    int at = 8; // version, flags, track
    at += hasField(header, 0x1) ? 8 : 0;
    at += hasField(header, 0x2) ? 4 : 0;
    at += hasField(header, 0x8) ? 4 : 0;
    return hasField(header, 0x10) && at + 4 <= header.size() ? get<quint32>(header, at) : 0;
}

/// Appends the sizes of the samples of a track fragment run.
void appendSampleSizes(const QByteArray& run, quint32 commonSize, std::deque<std::uint32_t>& sizes)
{
    const quint32 count = get<quint32>(run, 4);
    const bool hasSizes = hasField(run, 0x200);
    const int before = hasField(run, 0x100) ? 4 : 0;
    const int after = (hasField(run, 0x400) ? 4 : 0) + (hasField(run, 0x800) ? 4 : 0);
    int at = 8 + (hasField(run, 0x1) ? 4 : 0) + (hasField(run, 0x4) ? 4 : 0);
    for (quint32 i = 0; i < count; ++i) {
        at += before;
        if (hasSizes && at + 4 > run.size())
            break;
        sizes.push_back(hasSizes ? get<quint32>(run, at) : commonSize);
        at += (hasSizes ? 4 : 0) + after;
    }
}

} // namespace

QByteArray Mp4Index::filter(const std::uint8_t* data, int size)
{
    QByteArray out;
    while (size > 0) {
        if (m_BoxLeft == 0) {
            // The header of the next box, which may arrive in pieces.
            const int wanted = std::min(size, BoxHead - m_Head.size());
            m_Head.append(reinterpret_cast<const char*>(data), wanted);
            data += wanted;
            size -= wanted;
            if (m_Head.size() < BoxHead)
                break;
            const QByteArray type = m_Head.mid(4, 4);
            if (m_FreePosition < 0 && type != "ftyp") {
                // After the file's type, before everything else.
                m_FreePosition = m_Written;
                out += box("free", QByteArray(FreeBox - BoxHead, 0));
                m_Written += FreeBox;
            }
            m_BoxLeft = std::int64_t(get<quint32>(m_Head, 0)) - BoxHead;
            m_Keep = type == "moof" ? Keep::Fragment : type == "moov" && m_Moov.isEmpty() ? Keep::Index : Keep::Nothing;
            if (type == "mdat")
                m_Data.push_back({m_Written + BoxHead, m_BoxLeft});
            out += m_Head;
            m_Written += BoxHead;
            m_Head.clear();
            continue;
        }
        const int part = int(std::min<std::int64_t>(size, m_BoxLeft));
        out.append(reinterpret_cast<const char*>(data), part);
        if (m_Keep == Keep::Index)
            m_Moov.append(reinterpret_cast<const char*>(data), part);
        else if (m_Keep == Keep::Fragment)
            m_Moof.append(reinterpret_cast<const char*>(data), part);
        m_Written += part;
        m_BoxLeft -= part;
        if (m_BoxLeft == 0 && m_Keep == Keep::Fragment)
            readFragment();
        data += part;
        size -= part;
    }
    return out;
}

void Mp4Index::addSample(const Sample& sample)
{
    // The tables of the file hold 32 bits, and times ascend.
    m_Times.push_back(
        {std::uint32_t(std::max<std::int64_t>(0, sample.dts - m_LastDts)), std::int32_t(sample.pts - sample.dts)});
    m_LastDts = sample.dts;
    if (sample.key)
        m_Keys.push_back(std::uint32_t(m_Times.size()));
}

void Mp4Index::readFragment()
{
    // The sizes of the samples in the file: the muxer may have rewritten the packets.
    for (const Child& track : children(m_Moof)) {
        if (track.type != "traf")
            continue;
        quint32 commonSize = 0;
        for (const Child& part : children(track.contents)) {
            if (part.type == "tfhd")
                commonSize = commonSampleSize(part.contents);
            else if (part.type == "trun" && part.contents.size() >= 8)
                appendSampleSizes(part.contents, commonSize, m_Sizes);
        }
    }
    m_Moof.clear();
}

QByteArray Mp4Index::patch(std::int64_t fileSize) const
{
    QByteArray head;
    put<quint32>(head, 1); // the size follows, in 64 bits
    head.append("mdat", 4);
    put<quint64>(head, quint64(fileSize - m_FreePosition));
    return head;
}

std::vector<std::uint32_t> Mp4Index::samplesPerRange() const
{
    std::vector<std::uint32_t> counts(m_Data.size());
    std::size_t range = 0;
    std::int64_t used = 0;
    for (const std::uint32_t size : m_Sizes) {
        while (range < m_Data.size() && used + size > m_Data[range].size) {
            if (used != m_Data[range].size)
                return {};
            ++range;
            used = 0;
        }
        if (range == m_Data.size())
            return {};
        ++counts[range];
        used += size;
    }
    return counts;
}

QByteArray Mp4Index::chunkTables(const std::vector<std::uint32_t>& counts) const
{
    EntryTable samples, offsets;
    quint32 lastCount = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0)
            continue;
        put<quint64>(offsets.bytes, quint64(m_Data[i].begin));
        ++offsets.count;
        if (counts[i] == lastCount)
            continue; // as many samples as in the previous chunk
        lastCount = counts[i];
        put<quint32>(samples.bytes, offsets.count);
        put<quint32>(samples.bytes, lastCount);
        put<quint32>(samples.bytes, 1);
        ++samples.count;
    }
    QByteArray sizes(8, 0); // version, flags, no common size
    put<quint32>(sizes, quint32(m_Sizes.size()));
    for (const std::uint32_t size : m_Sizes)
        put<quint32>(sizes, size);
    return box("stsc", samples.contents()) + box("stsz", sizes) + box("co64", offsets.contents());
}

QByteArray Mp4Index::finalIndex(std::int64_t frameDuration, std::uint32_t timeScale) const
{
    // Each data box is a chunk; its samples are contiguous.
    const std::vector<std::uint32_t> counts = samplesPerRange();
    if (counts.empty() || m_Sizes.empty() || m_Sizes.size() != m_Times.size() || m_FreePosition < 0)
        return QByteArray();
    // Times: the decoding step of each sample, and how much later it is shown.
    EntryTable steps, shifts, keys;
    std::int64_t dts = 0, firstShown = std::numeric_limits<std::int64_t>::max(), end = 0;
    bool reordered = false;
    for (std::size_t i = 0; i < m_Times.size(); ++i) {
        dts += m_Times[i].step;
        const std::int64_t pts = dts + m_Times[i].shift;
        steps.addToRun(i + 1 < m_Times.size() ? m_Times[i + 1].step : quint32(frameDuration));
        shifts.addToRun(quint32(std::max(0, m_Times[i].shift)));
        reordered = reordered || m_Times[i].shift != 0;
        firstShown = std::min(firstShown, pts);
        end = std::max(end, pts + frameDuration);
    }
    for (const std::uint32_t key : m_Keys)
        put<quint32>(keys.bytes, key);
    keys.count = quint32(m_Keys.size());
    QByteArray tables = box("stts", steps.contents());
    if (reordered)
        tables += box("ctts", shifts.contents());
    if (m_Keys.size() < m_Times.size())
        tables += box("stss", keys.contents());
    tables += chunkTables(counts);
    const TrackIndex track{tables, timeScale, quint64(dts + frameDuration), quint64(end - firstShown),
                           reordered ? firstShown : 0};
    return box("moov", indexedMovie(m_Moov, track));
}

} // namespace tov::plugins::video
