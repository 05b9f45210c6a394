#pragma once

#include <QCoreApplication>
#include <QString>
#include <QTemporaryDir>

#include <thread>

namespace tov::app {

/// A named pipe in a private folder. A thread copies what is written into it to an open file, so that code that can
/// only write to a file name writes a stream. Nothing is left on the disk once the first byte has been copied. Thread:
/// application.
class PrivatePipe
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::PrivatePipe)
public:
    /// `name` is the pipe's name without a folder; `target` is open for writing, and not closed.
    PrivatePipe(const QString& name, int target);
    /// Waits for the writers to close the pipe.
    ~PrivatePipe();
    PrivatePipe(const PrivatePipe&) = delete;
    PrivatePipe& operator=(const PrivatePipe&) = delete;

    /// Makes the pipe and begins to copy; false with one line in `error`.
    bool open(QString* error);
    QString getFileName() const { return m_FileName; }
    /// Waits until everything has been copied. All writers must have closed the pipe. False with the system's reason in
    /// `reason` when the target refused something.
    bool finish(QString* reason);

private:
    void copy();

    QTemporaryDir m_Folder;
    QString m_FileName;
    const int m_Target;
    int m_Reader = -1; ///< closed by the thread
    int m_Writer = -1; ///< open until `finish`, so that the stream does not end before the first writer
    int m_Error = 0;   ///< of the system; read after the thread has ended
    std::thread m_Thread;
};

} // namespace tov::app
