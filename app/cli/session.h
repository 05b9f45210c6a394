#pragma once

#include "app/cli/setup/modelstore.h"
#include "app/cli/options/options.h"
#include "app/cli/reports/reporter.h"
#include "app/cli/options/requests.h"
#include "app/cli/setup/restpose.h"
#include "app/common/runoutcome.h"
#include "app/common/spacewatch.h"
#include "app/common/startup.h"
#include "kernel/commands/commandprocessor.h"

#include <QCoreApplication>

#include <functional>
#include <memory>

namespace tov::gui {
class ScenePanel;
}

namespace tov::main {
class Command;
}

namespace tov::app {

/// The running program behind a verb: models, a panel, runs of commands. Thread: application.
class Session
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::Session)
public:
    Session(const Options& options, Reporter& reporter, int& argc, char** argv);
    ~Session();

    /// Makes these models, or those of the scene file of the view, the scene; false (reported) on failure.
    bool showModels(const QStringList& files, const ViewRequest& view);
    /// Gives the hidden panel a view, and makes it the active one; false (reported) on failure.
    bool showView(const ViewRequest& view, const QString& name, bool isTurning);
    tov::gui::ScenePanel* getPanel() const { return mp_Panel; }
    /// Selects the requested motion; false (reported) on failure.
    bool selectMotion(const MotionRequest& motion, const ViewRequest& view, int fps);

    /// Shows the moment of the scene file's motion that was stored; false (reported) on failure.
    bool showStoredMoment(const ViewRequest& view);
    /// Writes the scene file that the request names, if it names one; false (reported) on failure.
    bool saveScene(const ViewRequest& view);

    /// Whether free recordings are changed to play as long as they were recorded (default: no).
    void setPlaysInRealTime(bool inRealTime) { mp_Watcher->setPlaysInRealTime(inRealTime); }

    typedef std::function<void(const tov::main::CommandRunPointer&)> RunFunction;
    /// Runs a command by name to its end and returns its outcome. Progress is shown meanwhile; `onStart` is called once
    /// it runs.
    RunOutcome run(const QString& name, const tov::main::CommandArguments& arguments, const RunFunction& onStart = {});
    /// The same for a command that the caller made and that the processor deletes afterwards.
    RunOutcome run(tov::main::Command* command);

    /// True once SIGINT, SIGTERM or SIGHUP was received.
    bool wasInterrupted() const { return m_Interrupts > 0; }
    /// For work that cannot be stopped in between (pictures): the first interrupt ends the process.
    void leaveAtFirstInterrupt() { m_LeavesAtOnce = true; }

    Startup& getStartup() { return m_Startup; }
    Reporter& getReporter() { return m_Reporter; }

private:
    RunOutcome waitFor(const tov::main::CommandRunPointer& run, const RunFunction& onStart);
    void warnIfFramesMayBeLost();
    void warnIfNothingMoves();
    void interrupt(int count);

    Reporter& m_Reporter;
    Startup m_Startup;
    ModelStore m_Models;
    RestPose m_RestPose; ///< of the models, while a motion is selected
    std::unique_ptr<RunWatcher> mp_Watcher;
    std::unique_ptr<SpaceWatch> mp_Space;
    tov::gui::ScenePanel* mp_Panel = nullptr; ///< closed in the destructor
    tov::main::CommandRunPointer mp_Current;
    bool m_HasWarned = false; ///< of frames of the current run
    QString m_StopReason;     ///< why the program itself stopped the current run
    int m_Interrupts = 0;
    bool m_LeavesAtOnce = false;
};

} // namespace tov::app
