#pragma once

#include "app/cli/options/partreader.h"
#include "app/common/runoutcome.h"
#include "app/common/safeoutput.h"

#include <QString>

#include <functional>

namespace tov::app {

class Session;

/// A recording that is split into parts. Its whole trajectory is selected.
struct SharedRecording
{
    QString output;
    QString ending; ///< the format
    QString key;    ///< see `partKey`
    PartRequest request;
    SafeOutput::Older older = SafeOutput::Older::Replace; ///< what becomes of an older file of that name
    QSize size;                                           ///< of the video, pixels
    int fps = 0;
    /// Records the trajectory that is selected into a file, and verifies it.
    std::function<RunOutcome(const QString& fileName)> record;
    /// The key as it is now. It differs from `key` when a file that the recording uses was changed meanwhile; empty,
    /// with one line in `error`, when it cannot be found.
    std::function<QString(QString* error)> findKey;
};

/// Does what --part, --parts and --status ask for; false (reported) on failure or when interrupted. Thread:
/// application.
bool makeParts(Session& session, const SharedRecording& recording);

} // namespace tov::app
