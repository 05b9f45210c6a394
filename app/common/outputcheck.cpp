#include "app/common/outputcheck.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::app {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

} // namespace

QString linkTarget(const QString& fileName)
{
    // As many links as the kernel follows.
    constexpr int MostLinks = 40;
    QString target = fileName;
    for (int links = 0; links < MostLinks && QFileInfo(target).isSymLink(); ++links)
        target = QFile::symLinkTarget(target);
    return target;
}

bool isNamedPipe(const QString& fileName)
{
    struct stat status;
    return stat(QFile::encodeName(fileName).constData(), &status) == 0 && S_ISFIFO(status.st_mode);
}

bool isNameOf(const QString& fileName, int descriptor)
{
    struct stat named = {}, opened = {};
    return fstat(descriptor, &opened) == 0 && stat(QFile::encodeName(fileName).constData(), &named) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

int openPipe(const QString& fileName, QString* error)
{
    const int pipe = open(QFile::encodeName(fileName).constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (pipe >= 0 && fcntl(pipe, F_SETFL, 0) == 0)
        return pipe;
    *error = errno == ENXIO ? tr("cannot write to the pipe '%1': no program reads from it").arg(fileName)
                            : tr("cannot write to the pipe '%1': %2").arg(fileName, qt_error_string(errno));
    if (pipe >= 0)
        close(pipe);
    return -1;
}

bool checkOutputFolder(const QString& fileName, QString* error)
{
    const QFileInfo info(linkTarget(fileName));
    const QFileInfo folder(info.absolutePath());
    if (info.isDir())
        *error = tr("%1 is a folder; name a file").arg(fileName);
    else if (info.exists() && !info.isFile() && !isNamedPipe(fileName))
        *error = tr("%1 is not a regular file").arg(fileName);
    else if (!folder.isDir())
        *error = tr("%1 cannot be written: there is no folder %2").arg(fileName, folder.filePath());
    else if (info.exists() ? !info.isWritable() : !folder.isWritable())
        *error = tr("%1 cannot be written: permission denied").arg(fileName);
    else
        return true;
    return false;
}

} // namespace tov::app
