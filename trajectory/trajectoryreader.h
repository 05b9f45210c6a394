#pragma once

#include "kernel/main/export.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryinfo.h"

#include <QCoreApplication>
#include <QByteArray>
#include <QString>

namespace tov::trajectory {

struct PlaybackOptions;

/// Values with their times in seconds; without times one value per frame.
template <typename Value>
struct Timed
{
    std::vector<double> times; ///< ascending; empty: none
    std::vector<Value> values;
};
typedef Timed<Point> TimedPoints;
typedef Timed<MatrixMap> TimedMaps;

/// Readers of trajectory files, from memory. On failure false and one line in `error`, "line N: ..." where there are
/// lines. Thread: any.
class TOV_EXPORT TrajectoryReader
{
    Q_DECLARE_TR_FUNCTIONS(tov::trajectory::TrajectoryReader)
public:
    /// "x,y,z" or "t,x,y,z" per line; blanks and semicolons separate as well; "#" begins a comment; a heading is
    /// skipped.
    static bool readCsv(const QByteArray& data, TimedPoints& points, QString* error);
    /// The points alone, without their times.
    static bool readCsv(const QByteArray& data, std::vector<Point>& points, QString* error);
    /// "t x y z qx qy qz qw" per line, camera to scene; "#" begins a comment.
    static bool readTum(const QByteArray& data, TimedMaps& maps, QString* error);
    /// The poses alone, without their times.
    static bool readTum(const QByteArray& data, MatrixMapList& list, QString* error);
    /// A list of objects: element name to 16 numbers row by row, and "time" to seconds (all of them or none).
    static bool readJson(const QByteArray& data, TimedMaps& maps, QString* error);
    /// The matrices alone, without their times.
    static bool readJson(const QByteArray& data, MatrixMapList& list, QString* error);
};

/// If there are times and the options use them, replaces the values by those of the frames: frame i shows the time i /
/// fps, positions between two times are interpolated (matrices by translation, rotation and scale), and the frames
/// cover the duration of the file. False and one line in `error` for more than `MaxFrames` frames, and for times that
/// do not ascend. Thread: any.
TOV_EXPORT bool resample(TimedPoints& points, const PlaybackOptions& options, QString* error);
/// The same for matrices.
TOV_EXPORT bool resample(TimedMaps& maps, const PlaybackOptions& options, QString* error);

} // namespace tov::trajectory
