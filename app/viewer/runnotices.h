#pragma once

#include "kernel/commands/commandprocessor.h"

#include <QObject>

namespace tov::app {
struct RunOutcome;
class RunWatcher;
class SpaceWatch;
} // namespace tov::app

namespace tov::viewer {

class NoticeBar;
class RunsBar;
class SafeRuns;

/// Tells the user about runs: problems while they run, and the file, or why it is missing, when they end.
/// Thread: application.
class RunNotices : public QObject
{
    Q_OBJECT
public:
    /// All of them must outlive this object.
    RunNotices(tov::app::RunWatcher* watcher, SafeRuns* outputs, tov::app::SpaceWatch* space, NoticeBar* notices,
               RunsBar* runs, QObject* parent = nullptr);

private:
    void watchDisk(tov::app::SpaceWatch* space);
    void warnOfMissingTrajectory(const tov::main::CommandRunPointer& run);
    void showOutcome(const tov::main::CommandRunPointer& run, const tov::app::RunOutcome& outcome);
    void showLostRecording(const QString& reason);
    void showStuckRun(const QString& text);

    SafeRuns* mp_Outputs;  ///< not owned
    NoticeBar* mp_Notices; ///< not owned
    RunsBar* mp_Runs;      ///< not owned
};

} // namespace tov::viewer
