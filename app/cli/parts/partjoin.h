#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace tov::app {

class Session;

/// Joins parts into a new file `output` while the event loop runs, so that the user can interrupt it. `counts`: the
/// frames of each part. False on failure, with one line in `error`, and then `output` does not exist. Thread:
/// application.
bool joinParts(Session& session, const QStringList& parts, const std::vector<qint64>& counts, const QString& output,
               QString* error);

/// How long a finished video plays, in seconds; 0 when it cannot be read. Thread: application.
double playingTime(const QString& fileName);

} // namespace tov::app
