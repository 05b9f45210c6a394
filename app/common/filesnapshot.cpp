#include "app/common/filesnapshot.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace tov::app {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

} // namespace

bool checkOutputFolder(const QString& fileName, QString* error)
{
    const QFileInfo info(fileName);
    const QFileInfo folder(info.absolutePath());
    if (info.isDir())
        *error = tr("%1 is a folder; name a file").arg(fileName);
    else if (info.exists() && !info.isFile())
        *error = tr("%1 is not a regular file").arg(fileName);
    else if (!folder.isDir())
        *error = tr("%1 cannot be written: there is no folder %2").arg(fileName, folder.filePath());
    else if (info.exists() ? !info.isWritable() : !folder.isWritable())
        *error = tr("%1 cannot be written: permission denied").arg(fileName);
    else
        return true;
    return false;
}

FileSnapshot::State FileSnapshot::readState(const QString& fileName, bool regularOnly)
{
    State state;
    struct stat status;
    if (stat(QFile::encodeName(fileName).constData(), &status) != 0 || (regularOnly && !S_ISREG(status.st_mode)))
        return state;
    state.device = status.st_dev;
    state.inode = status.st_ino;
    state.size = status.st_size;
    state.written = status.st_mtim;
    state.changed = status.st_ctim;
    return state;
}

FileSnapshot::FileSnapshot(const QString& fileName)
    : m_FileName(fileName), m_Folder(QFileInfo(fileName).absolutePath()), m_File(readState(fileName, true)),
      m_FolderState(readState(m_Folder, false))
{}

bool FileSnapshot::hasChanged() const
{
    if (m_FileName.isEmpty())
        return false;
    const State file = readState(m_FileName, true);
    const State folder = readState(m_Folder, false);
    if (file.inode == 0 || folder.device != m_FolderState.device || folder.inode != m_FolderState.inode)
        return false;
    const auto same = [](const timespec& a, const timespec& b) {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    };
    return file.device != m_File.device || file.inode != m_File.inode || file.size != m_File.size ||
           !same(file.written, m_File.written) || !same(file.changed, m_File.changed);
}

} // namespace tov::app
