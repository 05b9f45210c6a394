#pragma once

#include "app/cli/options/requests.h"

#include <QByteArray>
#include <QColor>
#include <QString>

namespace tov::app {

/// What determines the frames of a recording and how they are stored. The machine and the folders of files do not.
struct RecordingFacts
{
    QByteArray scene; ///< see `sceneDigest`
    QString view;     ///< the name of the standard view
    QColor background;
    QString ending; ///< the format
    int fps = 0;
    int kbps = 0;
    int samples = 0;
};

/// Identifies a recording in parts: 32 hexadecimal digits, equal for equal recordings with the same number of parts,
/// different when a frame, its time or its coding can differ. Files that the request names (trajectory, path, light,
/// stored view) are compared by content. Empty, with one line in `error`, when one of them cannot be read. Thread: any.
QString partKey(const VideoRequest& request, const RecordingFacts& facts, QString* error);

} // namespace tov::app
