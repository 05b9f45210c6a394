#pragma once

#include <QCoreApplication>
#include <QString>

#include <optional>

namespace tov::app {

/// A lock on a file, which keeps other processes, on this or other machines, from recording the same part. The system
/// releases it when the process ends for any reason, so no lock is ever left behind. Thread: any, one at a time.
class PartLock
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::PartLock)
public:
    /// Who holds a lock, and since when.
    struct Holder
    {
        QString host;
        qint64 process = 0;
        qint64 since = 0; ///< seconds since the epoch, by the clock of the holder
    };
    enum class Result
    {
        Acquired,
        Busy, ///< another process holds it
        Failed,
    };

    PartLock() = default;
    PartLock(const PartLock&) = delete;
    PartLock& operator=(const PartLock&) = delete;
    /// Releases the lock and removes its file.
    ~PartLock();

    /// Tries to get the lock, and does not wait for it. Unless it is acquired, `error` is set to one line that names
    /// the holder, or the reason why the file cannot be locked.
    Result acquire(const QString& fileName, QString* error);
    /// The process that holds the lock now; no value if it is free.
    static std::optional<Holder> findHolder(const QString& fileName);

private:
    QString m_FileName;
    int m_Descriptor = -1; ///< -1 = not acquired
};

} // namespace tov::app
