#pragma once

#include "kernel/main/export.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryinfo.h"

#include <QCoreApplication>
#include <QByteArray>
#include <QString>

namespace tov::trajectory {

/// Readers of trajectory files, from memory. On failure false and one line in `error`, "line N: ..." where there are
/// lines. Thread: any.
class TOV_EXPORT TrajectoryReader
{
    Q_DECLARE_TR_FUNCTIONS(tov::trajectory::TrajectoryReader)
public:
    /// "x,y,z" a line; blanks or semicolons part as well; "#" begins a comment; a heading line is skipped.
    static bool readCsv(const QByteArray& data, std::vector<Point>& points, QString* error);
    /// "t x y z qx qy qz qw" a line, camera to scene; "#" begins a comment.
    static bool readTum(const QByteArray& data, MatrixMapList& list, QString* error);
    /// A list of objects: element name to 16 numbers row by row.
    static bool readJson(const QByteArray& data, MatrixMapList& list, QString* error);
};

} // namespace tov::trajectory
