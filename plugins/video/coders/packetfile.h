#pragma once

#include "plugins/video/coders/timing.h"

#include <QStringList>

#include <functional>
#include <memory>

struct AVFormatContext;
struct AVPacket;
struct AVStream;

namespace tov::plugins::video {

/// The facts about a file that are needed to write its packets again.
struct PacketIndex
{
    std::vector<qint64> shown; ///< of the n-th packet: its position in display order
    qint64 reordering = 0;     ///< packets by which decoding is ahead of display, at most
    double rate = 0;           ///< frames per second
};

/// A file of one video stream, opened for reading its packets. Thread: any, one at a time.
class PacketFile
{
public:
    /// `stop`: see `retimeFile`.
    explicit PacketFile(const bool* stop) : m_Stop(stop) {}
    ~PacketFile();
    PacketFile(const PacketFile&) = delete;
    PacketFile& operator=(const PacketFile&) = delete;

    /// Returns the problem, empty if there was none.
    QString open(const QString& fileName);
    /// The video stream of the open file.
    const AVStream& stream() const { return *mp_Stream; }
    /// Calls `take` for each packet of the video stream, which it may change, until it returns false. Returns the
    /// problem.
    QString read(const std::function<bool(AVPacket&)>& take);
    /// Reads every packet. Returns the problem.
    QString index(PacketIndex* index);
    /// Frames according to the file's header; 0 when unknown.
    qint64 announcedFrames() const;

private:
    const bool* m_Stop;
    QString m_Name;
    AVFormatContext* mp_Context = nullptr;
    AVStream* mp_Stream = nullptr; ///< owned by the context
};

/// `retimeFile` and `joinFiles` for formats that FFmpeg's muxers write; `muxer` is FFmpeg's name. They write `output`
/// and do not verify it.
QString retimePackets(const QString& fileName, const QString& output, const char* muxer, const Timing& timing,
                      const bool* stop);
/// As `joinFiles`; `muxer` is FFmpeg's name of the format, `stop` ends it early.
QString joinPackets(const QStringList& parts, const std::vector<qint64>& counts, const QString& output,
                    const char* muxer, const bool* stop);
/// Frames in a file; negative when it cannot be read.
qint64 countPackets(const QString& fileName, const bool* stop);

} // namespace tov::plugins::video
