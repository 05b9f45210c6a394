#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <sys/types.h>

namespace tov::util {

/// The state of a file or folder at one moment, to find out later whether it was written or replaced. Compares what
/// `stat` reports, never the clock: clocks are adjusted, and file servers have their own. Symbolic links are followed.
/// Thread: any.
class TOV_EXPORT FileStamp
{
public:
    /// The stamp of a file that does not exist.
    FileStamp() = default;
    /// The current state of `fileName`.
    explicit FileStamp(const QString& fileName);

    /// The name that the stamp was taken of.
    QString fileName() const { return m_FileName; }
    /// True when the name existed.
    bool exists() const { return m_Exists; }
    /// True when the name was a regular file.
    bool isRegularFile() const { return m_IsRegular; }
    /// The size in bytes.
    qint64 size() const { return m_Size; }
    /// Time of the last write, in nanoseconds since the epoch.
    qint64 modifiedNs() const { return m_ModifiedNs; }
    /// The inode number; 0 when the name did not exist.
    ino_t inode() const { return m_Inode; }
    /// The number of the device with the file; 0 when the name did not exist.
    dev_t device() const { return m_Device; }

    /// True when the file is now another one, was written to, appeared or disappeared. A write that restores the time
    /// of the last write is noticed as well (by the time of the last status change).
    bool hasChanged() const;
    /// True when both are stamps of one existing file or folder (device and inode), even if its content differs.
    bool isSameFileAs(const FileStamp& other) const;
    /// True when nothing has changed between the two stamps.
    bool operator==(const FileStamp& other) const;

    /// Size, time of the last write and inode as one word for cache files; empty when the file did not exist. Without
    /// the device number, which may be another one after a restart of the machine.
    QString toString() const;

private:
    QString m_FileName;
    bool m_Exists = false;
    bool m_IsRegular = false;
    qint64 m_Size = 0;
    qint64 m_ModifiedNs = 0;
    qint64 m_StatusChangedNs = 0;
    ino_t m_Inode = 0;
    dev_t m_Device = 0;
};

} // namespace tov::util
