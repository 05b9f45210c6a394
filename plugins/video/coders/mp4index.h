#pragma once

#include <QByteArray>

#include <cstdint>
#include <deque>
#include <vector>

namespace tov::plugins::video {

/// Turns a growing file of fragments into one ordinary indexed file at the end, by appending an index and patching 16
/// bytes near the start; nothing is read back. While it grows, the file plays as fragments do.
///
/// The muxer's bytes pass through `filter`, which inserts a 16-byte "free" box after the file's type. At the end that
/// box becomes the header of one "mdat" that contains the preliminary index and all fragments, followed by
/// `finalIndex`.
class Mp4Index
{
public:
    /// The times of each packet, in the order in which they went into the muxer.
    struct Sample
    {
        std::int64_t pts; ///< in `timeScale` units, the first dts being 0
        std::int64_t dts;
        bool key;
    };

    /// Takes the next bytes that the muxer writes, returns the bytes to be written to the file instead.
    QByteArray filter(const std::uint8_t* data, int size);
    /// Adds the times of the packet that goes into the muxer next.
    void addSample(const Sample& sample);
    /// True after the first `addSample`.
    bool hasSamples() const { return !m_Times.empty(); }

    /// The index for all samples, made from the preliminary one; `frameDuration` in ticks, `timeScale` in ticks per
    /// second. Empty when samples and fragments do not match.
    QByteArray finalIndex(std::int64_t frameDuration, std::uint32_t timeScale) const;
    /// Position and contents of the patch near the start, once `finalIndex` has been written at `fileSize`.
    std::int64_t patchPosition() const { return m_FreePosition; }
    /// The bytes of that patch.
    QByteArray patch(std::int64_t fileSize) const;

private:
    void readFragment();
    /// How many samples each data box holds; empty when they do not fill the boxes.
    std::vector<std::uint32_t> samplesPerRange() const;
    /// The tables of sample positions.
    QByteArray chunkTables(const std::vector<std::uint32_t>& counts) const;

    struct Range
    {
        std::int64_t begin;
        std::int64_t size;
    };

    QByteArray m_Head;          ///< bytes of the box header that is being collected
    std::int64_t m_Written = 0; ///< bytes returned so far
    std::int64_t m_BoxLeft = 0; ///< bytes of the current box that are still to come
    enum class Keep
    {
        Nothing,
        Index,    ///< the preliminary index
        Fragment, ///< the header of a fragment
    };
    Keep m_Keep = Keep::Nothing;       ///< what the current box is
    QByteArray m_Moov;                 ///< the preliminary index
    QByteArray m_Moof;                 ///< the fragment header that is being collected
    std::deque<std::uint32_t> m_Sizes; ///< of the samples, as the muxer wrote them
    std::int64_t m_FreePosition = -1;
    std::vector<Range> m_Data; ///< payloads of the fragments' data boxes

    /// Kept for hours of recording, so it is small, and not in a vector, which is copied each time it grows.
    struct Time
    {
        std::uint32_t step; ///< of the dts, from the previous sample
        std::int32_t shift; ///< from dts to pts
    };
    std::deque<Time> m_Times;
    std::deque<std::uint32_t> m_Keys; ///< numbers of the key samples, from 1
    std::int64_t m_LastDts = 0;
};

} // namespace tov::plugins::video
