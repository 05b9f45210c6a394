#pragma once

#include <QString>

#include <sys/types.h>

namespace tov::app {

/// True when a file of that name can be written; otherwise `error` says why not, in one line. Thread: any.
bool checkOutputFolder(const QString& fileName, QString* error);

/// The state of a file at one moment, to find out later whether it has been written. Never compares file times with
/// the clock: clocks are changed, and file servers have their own. Thread: any.
class FileSnapshot
{
public:
    /// The state of a file that does not exist.
    FileSnapshot() = default;
    explicit FileSnapshot(const QString& fileName);
    /// True when there is a regular file now that is new or has been written to. False as well when the folder has
    /// been replaced by another one: the files in it are not ours.
    bool hasChanged() const;

private:
    struct State
    {
        dev_t device = 0;
        ino_t inode = 0; ///< 0: there was no file
        qint64 size = 0;
        timespec written = {};
        timespec changed = {};
    };
    static State readState(const QString& fileName, bool regularOnly);

    QString m_FileName, m_Folder;
    State m_File, m_FolderState;
};

} // namespace tov::app
