#pragma once

#include <QFile>
#include <QString>

#include <sys/stat.h>

namespace tov::grab::video {

/// Whether there is a pipe of that name, or a link to one. Opening it would wait for a reader, for ever if none comes,
/// and no picture or video could be read from it again. Thread: any.
inline bool isPipe(const QString& fileName)
{
    struct stat status;
    return stat(QFile::encodeName(fileName).constData(), &status) == 0 && S_ISFIFO(status.st_mode);
}

} // namespace tov::grab::video
