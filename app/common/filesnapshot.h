#pragma once

#include <QString>

#include <sys/types.h>

namespace tov::app {

/// True when nothing speaks against writing a file of that name; otherwise `error` says in one line why it cannot be
/// written. Thread: any.
bool checkOutputFolder(const QString& fileName, QString* error);

/// The state of a file at one moment, to find out later whether it has been written. Compares no clock times with the
/// clock: clocks are set, and file servers have their own. Thread: any.
class FileSnapshot
{
public:
    /// Of no file.
    FileSnapshot() = default;
    explicit FileSnapshot(const QString& fileName);
    /// True when there is a regular file now that is new or has been written to. False as well when the folder has been
    /// replaced by another one: the files in it belong to somebody else.
    bool hasChanged() const;

private:
    struct State
    {
        dev_t device = 0;
        ino_t inode = 0; ///< 0: there was nothing
        qint64 size = 0;
        timespec written = {};
        timespec changed = {};
    };
    static State readState(const QString& fileName, bool regularOnly);

    QString m_FileName, m_Folder;
    State m_File, m_FolderState;
};

} // namespace tov::app
