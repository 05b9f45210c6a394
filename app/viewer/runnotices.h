#pragma once

#include "app/common/output.h"
#include "kernel/commands/commandprocessor.h"

#include <QElapsedTimer>
#include <QObject>

#include <map>
#include <memory>

namespace tov::app {
class RecordingLost;
}

namespace tov::viewer {

class NoticeBar;
class RunsBar;

/// Tells the user about runs: problems while they run, and the file, or why there is none, when they end.
/// Thread: application.
class RunNotices : public QObject
{
    Q_OBJECT
public:
    /// Both bars must outlive this object.
    RunNotices(NoticeBar* notices, RunsBar* runs, QObject* parent = nullptr);
    ~RunNotices() override;

private:
    /// What is known of a run when it begins.
    struct Started
    {
        QString fileName;
        tov::app::OutputMark before;
        QElapsedTimer clock;
    };
    struct LastError;

    void watchDisk();
    void runBegan(const tov::main::CommandRunPointer& run);
    void runEnded(const tov::main::CommandRunPointer& run);
    void showResult(const Started& started);
    void showFailure(const Started& started, const tov::main::CommandRunPointer& run, bool written);
    void showLostRecording(const QString& reason);
    void showStuckRun(const QString& text);

    NoticeBar* mp_Notices;                   ///< not owned
    RunsBar* mp_Runs;                        ///< not owned
    std::shared_ptr<LastError> mp_LastError; ///< registered as a log sink
    std::unique_ptr<tov::app::RecordingLost> mp_Lost;
    std::map<quint64, Started> m_Started; ///< by run
};

} // namespace tov::viewer
