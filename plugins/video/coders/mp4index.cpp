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

/// The boxes inside a container's contents; empty when they do not add up.
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

/// Times of `mvhd`, `tkhd` and `mdhd` stand behind version and flags; the field before the duration differs.
void setDuration(QByteArray& contents, int fieldsBefore32, int fieldsBefore64, quint64 duration)
{
    if (!contents.isEmpty() && contents.at(0) == 1)
        replace<quint64>(contents, 4 + fieldsBefore64, duration);
    else
        replace<quint32>(contents, 4 + fieldsBefore32, quint32(std::min<quint64>(duration, 0xffffffffu)));
}

} // namespace

QByteArray Mp4Index::filter(const std::uint8_t* data, int size)
{
    QByteArray out;
    while (size > 0) {
        if (m_BoxLeft == 0) {
            // The head of the next box, which may come in pieces.
            const int wanted = std::min(size, BoxHead - m_Head.size());
            m_Head.append(reinterpret_cast<const char*>(data), wanted);
            data += wanted;
            size -= wanted;
            if (m_Head.size() < BoxHead)
                break;
            const QByteArray type = m_Head.mid(4, 4);
            if (m_FreePosition < 0 && type != "ftyp") {
                // Behind the file's type, before everything else.
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
    // The tables of the file hold 32 bits, and times go forward.
    m_Times.push_back(
        {std::uint32_t(std::max<std::int64_t>(0, sample.dts - m_LastDts)), std::int32_t(sample.pts - sample.dts)});
    m_LastDts = sample.dts;
    if (sample.key)
        m_Keys.push_back(std::uint32_t(m_Times.size()));
}

void Mp4Index::readFragment()
{
    // The sizes of the samples as they lie in the file: the muxer may have rewritten the packets. Fields are there when
    // their flag is set (ISO/IEC 14496-12, track fragment header and run).
    for (const Child& traf : children(m_Moof)) {
        if (traf.type != "traf")
            continue;
        quint32 commonSize = 0;
        for (const Child& part : children(traf.contents)) {
            const auto has = [&part](quint32 flag) { return (get<quint32>(part.contents, 0) & 0xffffff & flag) != 0; };
            if (part.type == "tfhd") {
                int at = 8; // version, flags, track
                at += has(0x1) ? 8 : 0;
                at += has(0x2) ? 4 : 0;
                at += has(0x8) ? 4 : 0;
                if (has(0x10) && at + 4 <= part.contents.size())
                    commonSize = get<quint32>(part.contents, at);
            } else if (part.type == "trun" && part.contents.size() >= 8) {
                const quint32 count = get<quint32>(part.contents, 4);
                int at = 8 + (has(0x1) ? 4 : 0) + (has(0x4) ? 4 : 0);
                for (quint32 i = 0; i < count; ++i) {
                    at += has(0x100) ? 4 : 0;
                    quint32 size = commonSize;
                    if (has(0x200)) {
                        if (at + 4 > part.contents.size())
                            break;
                        size = get<quint32>(part.contents, at);
                        at += 4;
                    }
                    at += has(0x400) ? 4 : 0;
                    at += has(0x800) ? 4 : 0;
                    m_Sizes.push_back(size);
                }
            }
        }
    }
    m_Moof.clear();
}

QByteArray Mp4Index::patch(std::int64_t fileSize) const
{
    QByteArray head;
    put<quint32>(head, 1); // the size stands behind, in 64 bits
    head.append("mdat", 4);
    put<quint64>(head, quint64(fileSize - m_FreePosition));
    return head;
}

QByteArray Mp4Index::finalIndex(std::int64_t frameDuration, std::uint32_t timeScale) const
{
    // Each sample lies behind the one before, data box by data box: a chunk each.
    std::vector<quint32> counts(m_Data.size());
    std::size_t range = 0;
    std::int64_t used = 0;
    for (const std::uint32_t size : m_Sizes) {
        while (range < m_Data.size() && used + size > m_Data[range].size) {
            if (used != m_Data[range].size)
                return QByteArray();
            ++range;
            used = 0;
        }
        if (range == m_Data.size())
            return QByteArray();
        ++counts[range];
        used += size;
    }
    if (m_Sizes.empty() || m_Sizes.size() != m_Times.size() || m_FreePosition < 0)
        return QByteArray();

    // Times: the decoding step of each sample, and how much later it is shown.
    QByteArray stts, ctts, stss, stsc, stsz, co64;
    quint32 sttsCount = 0, cttsCount = 0, stscCount = 0, chunkCount = 0, lastCount = 0;
    std::int64_t dts = 0, firstShown = std::numeric_limits<std::int64_t>::max(), end = 0;
    bool reordered = false;
    const auto runs = [](QByteArray& table, quint32& count, quint32 value) {
        if (count > 0 && get<quint32>(table, table.size() - 4) == value) {
            replace<quint32>(table, table.size() - 8, get<quint32>(table, table.size() - 8) + 1);
            return;
        }
        put<quint32>(table, 1);
        put<quint32>(table, value);
        ++count;
    };
    for (std::size_t i = 0; i < m_Times.size(); ++i) {
        dts += m_Times[i].step;
        const std::int64_t pts = dts + m_Times[i].shift;
        runs(stts, sttsCount, i + 1 < m_Times.size() ? m_Times[i + 1].step : quint32(frameDuration));
        runs(ctts, cttsCount, quint32(std::max(0, m_Times[i].shift)));
        reordered = reordered || m_Times[i].shift != 0;
        put<quint32>(stsz, m_Sizes[i]);
        firstShown = std::min(firstShown, pts);
        end = std::max(end, pts + frameDuration);
    }
    for (const std::uint32_t key : m_Keys)
        put<quint32>(stss, key);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0)
            continue;
        put<quint64>(co64, quint64(m_Data[i].begin));
        ++chunkCount;
        if (counts[i] == lastCount)
            continue; // as many samples as the chunk before
        lastCount = counts[i];
        put<quint32>(stsc, chunkCount);
        put<quint32>(stsc, lastCount);
        put<quint32>(stsc, 1);
        ++stscCount;
    }
    const quint64 mediaDuration = quint64(dts + frameDuration);
    const quint64 shownDuration = quint64(end - firstShown);
    const auto counted = [](quint32 count, const QByteArray& table) {
        QByteArray contents(4, 0); // version and flags
        put<quint32>(contents, count);
        return contents + table;
    };

    QByteArray moov;
    quint32 movieScale = 1000;
    for (Child child : children(m_Moov)) {
        if (child.type == "mvex")
            continue; // says that there are fragments
        if (child.type == "mvhd") {
            const bool wide = child.contents.at(0) == 1;
            movieScale = get<quint32>(child.contents, 4 + (wide ? 16 : 8));
            setDuration(child.contents, 12, 20, shownDuration * movieScale / timeScale);
        } else if (child.type == "trak") {
            QByteArray trak;
            for (Child part : children(child.contents)) {
                if (part.type == "edts")
                    continue;
                if (part.type == "tkhd") {
                    setDuration(part.contents, 16, 24, shownDuration * movieScale / timeScale);
                    trak += box("tkhd", part.contents);
                    if (reordered && firstShown > 0) {
                        // What is decoded early is not shown early.
                        QByteArray elst(4, 0);
                        put<quint32>(elst, 1);
                        // Rounded up: what a list that is too short leaves out is not shown.
                        put<quint32>(elst, quint32((shownDuration * movieScale + timeScale - 1) / timeScale));
                        put<qint32>(elst, qint32(firstShown));
                        put<quint32>(elst, 0x00010000);
                        trak += box("edts", box("elst", elst));
                    }
                    continue;
                }
                if (part.type == "mdia") {
                    QByteArray mdia;
                    for (Child media : children(part.contents)) {
                        if (media.type == "mdhd") {
                            const bool wide = media.contents.at(0) == 1;
                            // The samples' own scale.
                            replace<quint32>(media.contents, 4 + (wide ? 16 : 8), timeScale);
                            setDuration(media.contents, 12, 20, mediaDuration);
                        } else if (media.type == "minf") {
                            QByteArray minf;
                            for (Child information : children(media.contents)) {
                                if (information.type == "stbl") {
                                    QByteArray stbl;
                                    for (const Child& table : children(information.contents))
                                        if (table.type == "stsd")
                                            stbl += box("stsd", table.contents);
                                    stbl += box("stts", counted(sttsCount, stts));
                                    if (reordered)
                                        stbl += box("ctts", counted(cttsCount, ctts));
                                    if (m_Keys.size() < m_Times.size())
                                        stbl += box("stss", counted(quint32(m_Keys.size()), stss));
                                    stbl += box("stsc", counted(stscCount, stsc));
                                    QByteArray sizes(8, 0); // version, flags, no common size
                                    put<quint32>(sizes, quint32(m_Times.size()));
                                    stbl += box("stsz", sizes + stsz);
                                    stbl += box("co64", counted(chunkCount, co64));
                                    information.contents = stbl;
                                }
                                minf += box(information.type.constData(), information.contents);
                            }
                            media.contents = minf;
                        }
                        mdia += box(media.type.constData(), media.contents);
                    }
                    part.contents = mdia;
                }
                trak += box(part.type.constData(), part.contents);
            }
            child.contents = trak;
        }
        moov += box(child.type.constData(), child.contents);
    }
    return box("moov", moov);
}

} // namespace tov::plugins::video
