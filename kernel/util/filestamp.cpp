#include "kernel/util/filestamp.h"

#include <QFile>

#include <sys/stat.h>

namespace tov::util {

namespace {

qint64 nanoseconds(const timespec& time)
{
    return qint64(time.tv_sec) * 1000000000 + qint64(time.tv_nsec);
}

} // namespace

FileStamp::FileStamp(const QString& fileName) : m_FileName(fileName)
{
    struct stat status;
    if (fileName.isEmpty() || stat(QFile::encodeName(fileName).constData(), &status) != 0)
        return;
    m_Exists = true;
    m_IsRegular = S_ISREG(status.st_mode);
    m_Size = status.st_size;
    m_ModifiedNs = nanoseconds(status.st_mtim);
    m_StatusChangedNs = nanoseconds(status.st_ctim);
    m_Inode = status.st_ino;
    m_Device = status.st_dev;
}

bool FileStamp::hasChanged() const
{
    return !(FileStamp(m_FileName) == *this);
}

bool FileStamp::isSameFileAs(const FileStamp& other) const
{
    return m_Exists && other.m_Exists && m_Inode == other.m_Inode && m_Device == other.m_Device;
}

bool FileStamp::operator==(const FileStamp& other) const
{
    if (!m_Exists || !other.m_Exists)
        return m_Exists == other.m_Exists;
    return isSameFileAs(other) && m_IsRegular == other.m_IsRegular && m_Size == other.m_Size &&
           m_ModifiedNs == other.m_ModifiedNs && m_StatusChangedNs == other.m_StatusChangedNs;
}

QString FileStamp::toString() const
{
    if (!m_Exists)
        return QString();
    return QStringLiteral("%1:%2:%3").arg(m_Size).arg(m_ModifiedNs).arg(quint64(m_Inode));
}

} // namespace tov::util
