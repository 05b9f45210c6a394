#pragma once

#include <QFile>
#include <QString>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::grab::video {

/// Whether the name is that of a named pipe, or of a link to one. Thread: any.
inline bool isPipe(const QString& fileName)
{
    struct stat status;
    return stat(QFile::encodeName(fileName).constData(), &status) == 0 && S_ISFIFO(status.st_mode);
}

/// Opens a file for writing and empties it. A named pipe is opened only if a reader has it open already; this never
/// waits for a reader. False if the file could not be opened. Thread: any.
inline bool openForWriting(QFile& file)
{
    const QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::Truncate;
    if (!isPipe(file.fileName()))
        return file.open(mode);
    const QByteArray name = QFile::encodeName(file.fileName());
    // Without O_NONBLOCK, opening a pipe for writing waits for a reader; with it, it fails if there is none.
    const int probe = ::open(name.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (probe < 0)
        return false;
    // Keeps the pipe open in case the reader closes it right now: the next call must not wait for another reader.
    const int reader = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const bool isOpen = reader >= 0 && file.open(mode);
    if (reader >= 0)
        ::close(reader);
    ::close(probe);
    return isOpen;
}

} // namespace tov::grab::video
