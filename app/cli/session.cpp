#include "app/cli/session.h"

#include "app/common/checks.h"
#include "app/cli/setup/motionsetup.h"
#include "app/cli/setup/looksetup.h"
#include "app/cli/setup/sceneoptions.h"
#include "app/cli/setup/viewsetup.h"
#include "kernel/commands/command.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/main/settings.h"
#include "kernel/workers/overseer.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryhandler.h"

#include <QEventLoop>
#include <QLocale>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace tov::app {

using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::trajectory::TrajectoryHandler;

namespace {

/// Every record of the log.
constexpr int FullLog = 1000000;
constexpr int InterruptedStatus = 130;

StartOptions startOptions(const Options& options, Reporter& reporter)
{
    StartOptions start;
    start.logLevel = options.has(QStringLiteral("verbose")) ? FullLog : 0;
    start.settingsFile = options.value(QStringLiteral("settings"));
    start.safeMode = options.has(QStringLiteral("safe-mode"));
    start.afterCrash = [&reporter] {
        reporter.note(QCoreApplication::translate(
            "tov::app", "Note: the previous start crashed; --safe-mode loads only what is part of the program"));
        return false;
    };
    return start;
}

} // namespace

Session::Session(const Options& options, Reporter& reporter, int& argc, char** argv)
    : m_Reporter(reporter), m_Startup(argc, argv, startOptions(options, reporter))
{
    m_Startup.setInterruptHandler([this](int count) { interrupt(count); });
    if (!m_Startup.getForeignSettings().isEmpty())
        m_Reporter.warning(tr("%1 is not a settings file and is not changed; settings are valid for this call only")
                               .arg(m_Startup.getForeignSettings()));
    else
        tov::main::useTemporarySettings(); // settings of one call must not become the user's
    mp_Watcher = std::make_unique<RunWatcher>(FailureLog::Console::Collect);
    QObject::connect(mp_Watcher.get(), &RunWatcher::recordingLost, [](const CommandRunPointer& run) { run->stop(); });
    mp_Space = std::make_unique<SpaceWatch>();
    QObject::connect(mp_Space.get(), &SpaceWatch::lowSpace, [this](const QString& text) { m_StopReason = text; });
    QObject::connect(mp_Space.get(), &SpaceWatch::measured, [this] {
        if (!mp_Current)
            return;
        m_Reporter.setProgressRemark(mp_Space->describe(mp_Current->getId()));
        warnIfFramesMayBeLost();
    });
    tov::util::ZProgressDialog::setPresenter([this](const tov::util::ZProgressDialog::Update& update) {
        if (!update.finished)
            m_Reporter.progress(update.title, update.percent);
    });
}

Session::~Session()
{
    tov::util::ZProgressDialog::setPresenter({});
    m_Reporter.clearProgress();
    if (mp_Panel)
        tov::scene::Viewer::getInstance()->closePanel(mp_Panel);
    mp_Panel = nullptr;
}

void Session::interrupt(int count)
{
    m_Interrupts = count;
    if (count == 1 && !m_LeavesAtOnce) {
        if (mp_Current)
            m_Reporter.note(tr("Stopping; press Ctrl-C again to leave at once"));
        Overseer::getInstance()->getCommandProcessor()->stopAll();
        mp_Watcher->skipVerification();
        return;
    }
    m_Reporter.clearProgress();
    // Command threads may still be busy.
    std::fflush(nullptr);
    _exit(InterruptedStatus);
}

bool Session::showModels(const QStringList& files, const ViewRequest& view)
{
    QString error;
    QStringList warnings;
    TrajectoryHandler::getInstance()->selectMode(TrajectoryHandler::ModeNone);
    m_RestPose.restore();
    const bool isShown =
        m_Models.show(modelsOf(files, view), m_Reporter.isStrict(), &error, warnings, [this](int percent) {
            m_Reporter.progress(tr("Reading"), percent);
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
            return m_Interrupts == 0;
        });
    m_Reporter.clearProgress();
    if (m_Interrupts > 0)
        return false;
    for (const QString& warning : warnings)
        m_Reporter.warning(warning);
    return isShown || m_Reporter.fail(error);
}

bool Session::showView(const ViewRequest& view, const QString& name, bool isTurning)
{
    QString error;
    if (!applyLook(view.look, &error))
        return m_Reporter.fail(error);
    if (!mp_Panel)
        mp_Panel = new tov::gui::ScenePanel;
    mp_Panel->resize(view.panel);
    mp_Panel->setFollowsTrajectory(true);
    if (!applyView(*mp_Panel, view, name, isTurning, &error))
        return m_Reporter.fail(error);
    tov::scene::Viewer::getInstance()->setActivePanel(mp_Panel);
    return true;
}

bool Session::selectMotion(const MotionRequest& motion, const ViewRequest& view, int fps)
{
    QString error;
    m_RestPose.capture();
    if (motion.animation && motion.kind != MotionRequest::Kind::Path && isFitted(view)) {
        if (!fitAnimation(*mp_Panel, motion, &error))
            return m_Reporter.fail(error);
        if (view.zoom != 1)
            mp_Panel->zoom(view.zoom);
        m_RestPose.restore();
        m_RestPose.capture();
    }
    if (!selectTrajectory(motion, view, fps, &error))
        return m_Reporter.fail(error);
    if (motion.kind == MotionRequest::Kind::Trajectory)
        warnIfNothingMoves();
    return true;
}

bool Session::showStoredMoment(const ViewRequest& view)
{
    // The camera is that of the request already.
    mp_Panel->setFollowsTrajectory(false);
    MotionRequest motion;
    motion.kind = MotionRequest::Kind::Scene;
    if (!selectMotion(motion, view, 0))
        return false;
    auto* handler = TrajectoryHandler::getInstance();
    if (handler->getCount() > 0)
        handler->setPosition(std::min<unsigned long>(view.scene->motion.position, handler->getCount() - 1));
    return true;
}

bool Session::saveScene(const ViewRequest& view)
{
    if (view.savedScene.isEmpty())
        return true;
    SceneFile scene;
    scene.models = m_Models.collect();
    scene.look = tov::scene::SceneDrawer::getLook();
    scene.background = view.look.background;
    scene.extent = tov::scene::Viewer::getInstance()->getGlobalScene()->getExtent();
    scene.views.push_back({mp_Panel->getCamera(), true});
    if (view.scene)
        scene.bookmarks = view.scene->bookmarks;
    const auto* handler = TrajectoryHandler::getInstance();
    scene.motion = {handler->getSelection(), handler->getPosition()};
    QString error;
    return scene.save(view.savedScene, &error) || m_Reporter.fail(error);
}

/// Frames of a free recording wait for the encoder in memory, then in temporary files. When both are full, the
/// recording ends.
void Session::warnIfFramesMayBeLost()
{
    const quint64 run = mp_Current->getId();
    const bool isFree = mp_Current->getArgument(QStringLiteral("sync")) == QLatin1String("0");
    const qint64 pending = mp_Space->getWaiting(run);
    const qint64 left = availableMemory(0) + std::max<qint64>(0, mp_Space->getRoom(run));
    if (!isFree || m_HasWarned || pending <= left)
        return;
    m_HasWarned = true;
    m_Reporter.warning(tr("the encoder is too slow: %1 of frames are pending, and there is room for %2 more; then the "
                          "recording ends")
                           .arg(QLocale().formattedDataSize(pending), QLocale().formattedDataSize(left)));
}

void Session::warnIfNothingMoves()
{
    const auto* handler = TrajectoryHandler::getInstance();
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    auto* root = scene->getRootNode();
    if (handler->getSelectedMode() == TrajectoryHandler::ModePlain) {
        if (!root || !root->find(QStringLiteral("carrier")))
            m_Reporter.warning(tr("the trajectory moves nothing: the scene has no element named \"carrier\""));
        return;
    }
    const auto* maps = handler->getAdvancedTrajectoryInfo()->getMatrixMapList();
    if (!maps)
        return;
    // The maps of motions that are computed frame by frame are empty.
    bool isComputed = true;
    for (const auto& map : *maps)
        for (const auto& [name, matrix] : map) {
            if (name == QLatin1String("camera") || (root && root->find(name)))
                return;
            isComputed = false;
        }
    if (isComputed)
        return;
    m_Reporter.warning(tr("the trajectory moves nothing: it neither names an element of the scene nor the camera"));
}

RunOutcome Session::run(const QString& name, const tov::main::CommandArguments& arguments, const RunFunction& onStart)
{
    mp_Watcher->getFailures().clear();
    QString error;
    const CommandRunPointer run = Overseer::getInstance()->getCommandProcessor()->start(name, arguments, &error);
    if (run)
        return waitFor(run, onStart);
    RunOutcome outcome;
    const QString reason = mp_Watcher->getFailures().last();
    outcome.reason = reason.isEmpty() ? error : QStringLiteral("%1 (%2)").arg(error, reason);
    return outcome;
}

RunOutcome Session::run(tov::main::Command* command)
{
    mp_Watcher->getFailures().clear();
    return waitFor(Overseer::getInstance()->getCommandProcessor()->processCommand(command, 1, false), {});
}

RunOutcome Session::waitFor(const CommandRunPointer& run, const RunFunction& onStart)
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    RunOutcome outcome;
    QEventLoop loop;
    QObject context;
    mp_Current = run;
    m_StopReason.clear();
    m_HasWarned = false;
    m_Reporter.setProgressRemark(QString());
    const qint64 frames = RunWatcher::isRecording(*run) ? qint64(TrajectoryHandler::getInstance()->getCount()) : 0;
    QObject::connect(processor, &CommandProcessor::runChanged, &context, [&](const CommandRunPointer& changed) {
        if (changed == run)
            m_Reporter.progress(run->getText().isEmpty() ? run->getCommandName() : run->getText(), run->getProcessed(),
                                frames);
    });
    QObject::connect(mp_Watcher.get(), &RunWatcher::ended, &context,
                     [&](const CommandRunPointer& ended, const RunOutcome& result) {
                         if (ended != run)
                             return;
                         outcome = result;
                         loop.quit();
                     });
    if (onStart)
        onStart(run);
    loop.exec();
    m_Reporter.clearProgress();
    mp_Current.reset();
    if (!m_StopReason.isEmpty()) {
        outcome.status = RunOutcome::Status::Failed;
        outcome.reason = m_StopReason;
    }
    return outcome;
}

} // namespace tov::app
