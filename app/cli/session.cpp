#include "app/cli/session.h"

#include "app/cli/verbs.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/workers/overseer.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/import/sceneimport.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryhandler.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <malloc.h>
#include <unistd.h>

namespace tov::app {

using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;

namespace {

StartOptions startOptions(const Options& options)
{
    StartOptions start;
    start.logLevel = options.has(QStringLiteral("verbose")) ? 1000000 : 0;
    start.settingsFile = options.value(QStringLiteral("settings"));
    start.safeMode = options.has(QStringLiteral("safe-mode"));
    start.afterCrash = [quiet = options.has(QStringLiteral("quiet"))] {
        if (!quiet)
            std::fprintf(stderr, "%s\n",
                         QCoreApplication::translate("tov::app",
                                                     "Note: the start before crashed; --safe-mode leaves out "
                                                     "what is not part of the program.")
                             .toLocal8Bit()
                             .constData());
        return false;
    };
    return start;
}

} // namespace

Session::Session(const Options& options, int& argc, char** argv)
    : m_Options(options), m_Quiet(options.has(QStringLiteral("quiet"))), m_Startup(argc, argv, startOptions(options)),
      m_Progress(m_Quiet || options.has(QStringLiteral("verbose")))
{
    m_Startup.setInterruptHandler([this](int count) { interrupted(count); });
    if (!m_Startup.getForeignSettings().isEmpty())
        tell(tr("Note: %1 is no settings file and is left alone; settings hold for this call only.")
                 .arg(m_Startup.getForeignSettings()));
    mp_Space = std::make_unique<SpaceWatch>();
    QObject::connect(mp_Space.get(), &SpaceWatch::lowSpace, [this](const QString& text) { fail(text); });
    tov::util::ZProgressDialog::setPresenter([this](const tov::util::ZProgressDialog::Update& update) {
        if (!update.finished)
            m_Progress.show(update.title, update.percent);
    });
}

Session::~Session()
{
    tov::util::ZProgressDialog::setPresenter({});
    if (mp_Panel)
        tov::scene::Viewer::getInstance()->closePanel(mp_Panel);
    mp_Panel = nullptr;
}

void Session::interrupted(int count)
{
    m_Interrupts = count;
    if (count == 1 && !m_LeaveAtOnce) {
        if (mp_Current)
            tell(tr("Stopping; press Ctrl-C again to leave at once."));
        Overseer::getInstance()->getCommandProcessor()->stopAll();
        if (mp_Reading)
            mp_Reading->stop();
        return;
    }
    m_Progress.clear();
    dropOutput();
    // At once means at once: command threads may be in the middle of something long.
    std::fflush(nullptr);
    _exit(130);
}

VideoProbe Session::readBack(const QString& fileName)
{
    VideoProbe result;
    QEventLoop loop;
    VideoReading reading(fileName);
    QObject::connect(&reading, &VideoReading::done, &loop, [&](const VideoProbe& probe) {
        result = probe;
        loop.quit();
    });
    mp_Reading = &reading;
    loop.exec();
    mp_Reading = nullptr;
    return result;
}

void Session::tell(const QString& message)
{
    if (m_Quiet)
        return;
    m_Progress.clear();
    std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
}

bool Session::fail(const QString& message)
{
    m_Progress.clear();
    m_Told = true;
    printError(message);
    return false;
}

void Session::guardOutput(const QString& fileName)
{
    m_Guarded = fileName;
    m_GuardedBefore = FileSnapshot(fileName);
}

void Session::dropOutput()
{
    // An older file that was written over is lost, and what took its place is half a file.
    if (m_GuardedBefore.hasChanged())
        QFile::remove(QFileInfo(m_Guarded).canonicalFilePath());
}

bool Session::open(const QStringList& files, const ViewOptions& view, bool turning)
{
    // A first Ctrl-C while reading: nothing to stop softly.
    if (!files.isEmpty()) {
        QString error;
        const bool read = tov::scene::SceneImport::addFiles(files, &error, [this](int percent) {
            m_Progress.show(tr("Reading"), percent);
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
            return m_Interrupts == 0;
        });
        m_Progress.clear();
        if (m_Interrupts > 0)
            return false;
        if (!read)
            return fail(error);
        // What reading took for a while goes back to the system: it would stand beside a large picture.
        malloc_trim(0);
    }
    mp_Panel = makePanel(view, turning);
    return true;
}

bool Session::openTrajectory()
{
    auto* handler = tov::trajectory::TrajectoryHandler::getInstance();
    QString error;
    if (m_Options.has(QStringLiteral("turntable"))) {
        const int count = m_Options.value(QStringLiteral("turntable")).toInt();
        if (!handler->selectTurntable(count, &error))
            return fail(error);
    } else if (m_Options.has(QStringLiteral("trajectory"))) {
        if (!handler->openFile(m_Options.value(QStringLiteral("trajectory")), &error))
            return fail(error);
        noteStillness();
    }
    return true;
}

void Session::noteStillness()
{
    const auto* handler = tov::trajectory::TrajectoryHandler::getInstance();
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    auto* root = scene->getRootNode();
    if (handler->getSelectedMode() == tov::trajectory::TrajectoryHandler::ModePlain) {
        if (!root || !root->find(QStringLiteral("carrier")))
            tell(tr("Note: the trajectory moves nothing: the scene has no element named \"carrier\"."));
        return;
    }
    const auto* maps = handler->getAdvancedTrajectoryInfo()->getMatrixMapList();
    if (!maps)
        return;
    for (const auto& map : *maps)
        for (const auto& [name, matrix] : map)
            if (name == QLatin1String("camera") || (root && root->find(name)))
                return;
    tell(
        tr("Note: the trajectory moves nothing: the scene has none of its elements, and it does not move the camera."));
}

bool Session::run(const QString& name, const tov::main::CommandArguments& arguments,
                  const std::function<void(const CommandRunPointer&)>& onStart)
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    m_Watcher.getFailures().clear();
    QString error;
    QObject context;
    // Nobody sits here who would stop it.
    QObject::connect(&m_Watcher, &RunWatcher::recordingLost, &context,
                     [](const CommandRunPointer& lost) { lost->stop(); });
    m_Progress.setRemark(QString());
    mp_Current = processor->start(name, arguments, &error);
    if (!mp_Current) {
        const QString reason = m_Watcher.getFailures().last();
        return fail(reason.isEmpty() ? error : error + QStringLiteral(" (") + reason + QLatin1Char(')'));
    }
    QEventLoop loop;
    const CommandRunPointer run = mp_Current;
    QObject::connect(processor, &CommandProcessor::runChanged, &context, [this, run](const CommandRunPointer& changed) {
        if (changed == run)
            m_Progress.show(run->getText().isEmpty() ? run->getCommandName() : run->getText(), run->getProcessed());
    });
    QObject::connect(mp_Space.get(), &SpaceWatch::measured, &context,
                     [this, run] { m_Progress.setRemark(mp_Space->describe(run->getId())); });
    QObject::connect(&m_Watcher, &RunWatcher::ended, &context, [&loop, run](const CommandRunPointer& ended) {
        if (ended == run)
            loop.quit();
    });
    if (onStart)
        onStart(run);
    loop.exec();
    m_Progress.clear();
    mp_Current.reset();
    const QString message = m_Watcher.getFailures().firstSince(0);
    if (!message.isEmpty())
        return fail(QStringLiteral("%1: %2").arg(name, message));
    return run->succeeded();
}

} // namespace tov::app
