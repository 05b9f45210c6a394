#pragma once

#include <QString>

#include <sys/types.h>

namespace tov::app {

/// True when a file of that name can be written as far as that can be seen beforehand; otherwise `error` says why not,
/// in one line. Thread: any.
bool checkOutputFolder(const QString& fileName, QString* error);

/// What stood under a name, to be held against what stands there after something should have been written. Asks no
/// clock: clocks are set, and file servers have their own. Thread: any.
class OutputMark
{
public:
    /// Of no file.
    OutputMark() = default;
    explicit OutputMark(const QString& fileName);
    /// True when there is an ordinary file now that is new or has been written to. False as well when the folder is
    /// another one than it was: what lies there is somebody else's.
    bool isTouched() const;

private:
    struct State
    {
        dev_t device = 0;
        ino_t inode = 0; ///< 0: there was nothing
        qint64 size = 0;
        timespec written = {};
        timespec changed = {};
    };
    static State stateOf(const QString& fileName, bool ordinary);

    QString m_FileName, m_Folder;
    State m_File, m_FolderState;
};

} // namespace tov::app
