#pragma once

#include "app/common/runoutcome.h"
#include "app/common/safeoutput.h"
#include "kernel/commands/commandprocessor.h"

#include <QObject>

#include <map>
#include <memory>

namespace tov::viewer {

/// Starts commands that write a file so that an older file of that name is replaced only by a complete and verified
/// one: the command writes under a temporary name. Reports the outcome of every run, of others too, with the names that
/// the user knows. Thread: application.
class SafeRuns : public QObject
{
    Q_OBJECT
public:
    /// The file of a run.
    struct Target
    {
        QString fileName;
        QString ending; ///< its format, without a dot
        tov::app::SafeOutput::Older older = tov::app::SafeOutput::Older::Replace;
        qint64 frames = -1; ///< that the video must have; -1 = unknown, or a picture
    };
    /// `watcher` must outlive this object.
    explicit SafeRuns(const tov::app::RunWatcher* watcher, QObject* parent = nullptr);
    /// Waits for the files that are being renamed. Others stay under their temporary names.
    ~SafeRuns() override;

    /// Runs a command whose parameter "filename" gets a temporary name; `arguments` has the others. Null, with one line
    /// in `error`, when it cannot start or when the file cannot be written.
    tov::main::CommandRunPointer start(const QString& command, tov::main::CommandArguments arguments,
                                       const Target& target, QString* error);
    /// Tells that the result of a run of another object goes to that file.
    void setFileName(const tov::main::CommandRun& run, const QString& fileName) { m_Names[run.getId()] = fileName; }
    /// The file that the user gets from a run; empty when it writes none.
    QString fileNameOf(const tov::main::CommandRun& run) const;
    /// The files of the runs that were started here and have no result yet.
    QStringList getFileNames() const;
    /// True until the file of every run that was started here has its name or is given up.
    bool isBusy() const { return !m_Files.empty(); }

signals:
    /// Once for every run of the program, after its file has its name.
    void ended(const tov::main::CommandRunPointer& run, const tov::app::RunOutcome& outcome);
    /// No run is busy any more.
    void idle();

private:
    struct File
    {
        File(const Target& wanted) : target(wanted), output(wanted.fileName, wanted.ending, wanted.older) {}
        Target target;
        tov::app::SafeOutput output;
    };
    static void checkCompleteness(const tov::main::CommandRun& run, const File& file, tov::app::RunOutcome& outcome);
    void finish(const tov::main::CommandRunPointer& run, tov::app::RunOutcome outcome);
    void deliver(const tov::main::CommandRunPointer& run, const tov::app::RunOutcome& outcome);
    void report(const tov::main::CommandRunPointer& run, const tov::app::RunOutcome& outcome);

    std::map<quint64, std::unique_ptr<File>> m_Files; ///< by run
    std::map<quint64, QString> m_Names;               ///< by run, of files that others write
};

} // namespace tov::viewer
