#pragma once

#include "app/cli/options.h"
#include "app/cli/progressline.h"
#include "app/cli/view.h"
#include "app/common/filesnapshot.h"
#include "app/common/runoutcome.h"
#include "app/common/spacewatch.h"
#include "app/common/startup.h"
#include "app/common/videoprobe.h"
#include "kernel/commands/commandprocessor.h"

#include <QCoreApplication>

#include <memory>

namespace tov::app {

/// One call of a verb that loads models and runs commands. Thread: application.
class Session
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::Session)
public:
    Session(const Options& options, int& argc, char** argv);
    ~Session();

    /// Loads the models named on the command line and makes the panel; false (told) on failure.
    bool open(const QStringList& files, const ViewOptions& view, bool turning);
    /// Selects what --turntable or --trajectory ask for; false (told) on failure.
    bool openTrajectory();

    /// Runs one command text to its end with progress on the terminal. False (told) when it could not start or logged
    /// an error. `onStart` is called once it runs.
    bool run(const QString& name, const tov::main::CommandArguments& arguments,
             const std::function<void(const tov::main::CommandRunPointer&)>& onStart = {});

    /// True once Ctrl-C (or SIGTERM) came.
    bool wasInterrupted() const { return m_Interrupts > 0; }
    /// What is removed if the process has to leave at once: an output that was made or written since.
    void guardOutput(const QString& fileName);
    /// Output that stopping cannot end early (pictures): the first Ctrl-C leaves at once.
    void leaveAtFirstInterrupt() { m_LeaveAtOnce = true; }
    /// Removes a guarded output that was made or written during this session.
    void dropOutput();
    /// True when the guarded output was made or written during this session.
    bool isOutputTouched() const { return m_GuardedBefore.hasChanged(); }

    /// Reads a finished video; Ctrl-C ends it early.
    VideoProbe readBack(const QString& fileName);

    Startup& getStartup() { return m_Startup; }
    bool isQuiet() const { return m_Quiet; }
    /// Tells something that is no error, unless quiet.
    void tell(const QString& message);
    bool isTold() const { return m_Told; }
    /// Prints one line on standard error and remembers that the failure has been told.
    bool fail(const QString& message);

private:
    /// Tells where the trajectory that was opened moves nothing in this scene.
    void noteStillness();
    void interrupted(int count);

    const Options& m_Options;
    bool m_Quiet;
    Startup m_Startup;
    RunWatcher m_Watcher{FailureLog::Console::Collect};
    ProgressLine m_Progress;
    int m_Interrupts = 0;
    bool m_LeaveAtOnce = false;
    bool m_Told = false;
    std::unique_ptr<SpaceWatch> mp_Space;
    QString m_Guarded;
    FileSnapshot m_GuardedBefore;
    tov::gui::ScenePanel* mp_Panel = nullptr; ///< closed in the destructor
    tov::main::CommandRunPointer mp_Current;
    VideoReading* mp_Reading = nullptr; ///< `readBack`'s
};

} // namespace tov::app
