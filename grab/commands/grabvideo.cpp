#include "grab/commands/grabvideo.h"

// clang-format off
// The order matters: each list registers its events when the library is loaded.
#include "scene/events.h"
#include "kernel/main/globalevents.h"
// clang-format on

#include "grab/commands/localvalue.h"
#include "grab/module/modulegrab.h"
#include "grab/render/applicationthread.h"
#include "grab/video/videoencoder.h"
#include "grab/videohandler.h"
#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/log/logger.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QIcon>
#include <QSemaphore>
#include <QThread>

#include <boost/bind/bind.hpp>

#include <atomic>
#include <utility>

namespace tov::commands::grab {

using tov::grab::render::onApplicationThread;
using tov::gui::ScenePanel;
using tov::log::Logger;
using tov::main::CommandGUIDescriptor;
using tov::main::Overseer;
using tov::main::Parameter;
using tov::main::ParameterSet;

namespace {

const char* const SourceFile = "commands/grabvideo";
constexpr int ErrorLevel = tov::log::LevelError;
constexpr int ResultLevel = tov::log::LevelResult;
constexpr int InformationLevel = tov::log::LevelInformation;

const char* const DirectoryKey = "lastGrabVideoDirectory";

// Support staff search for records by these line numbers, so they are literals and never change.
constexpr int ParameterLines[4] = {185, 192, 199, 206};
constexpr int SizeLine = 219;
constexpr int NoPanelLine = 226;
constexpr int AlreadyRunningLine = 232;
constexpr int AbortedLine = 287;
constexpr int EncodingStartedLine = 292;
constexpr int EncodingDoneLine = 295;

void log(int level, int line, const QString& message)
{
    Logger::log(level, SourceFile, line, "execute", nullptr, message);
}

/// True for 1 to 15. Zero (the panel's size) and negative numbers pass the unsigned comparison, on purpose.
bool isTooSmall(int size)
{
    return unsigned(size) - 1u < 15u;
}

} // namespace

const char* GrabVideo::CommandName = "grabvideo";
QPointer<ScenePanel> GrabVideo::mp_ActivePanel;
std::set<ScenePanel*> GrabVideo::m_PanelSet;
bool GrabVideo::m_Registered =
    tov::grab::ModuleGrab::ModuleGrabFactory::getInstance()->registerPrimaryCommand(GrabVideo::create);

tov::main::Command* GrabVideo::create()
{
    return new GrabVideo;
}

GrabVideo::GrabVideo()
    : Command(new tov::main::CommandDescriptor(CommandName, QStringLiteral("Grabs a video of the active view")),
              new CommandGUIDescriptor(CommandGUIDescriptor::Ordinary, QObject::tr("Grab"), 20, CommandName,
                                       QObject::tr("Video"),
                                       new QIcon(QStringLiteral(":/module_grab/image/grabvideo.png"))))
{
    auto* set = new ParameterSet(0);
    auto* fileName = new Parameter<QString>(QStringLiteral("filename"), QObject::tr("Filename to save video"));
    mp_PanelFactory = new tov::main::FileParameterPanelFactory(boost::bind(&GrabVideo::createSaveDialog, this));
    fileName->setParameterPanelFactory(mp_PanelFactory);
    set->addParameter(fileName);
    auto* width = new Parameter<int>(QStringLiteral("width"), QObject::tr("Width of the video (0=window-width)"));
    width->setDefaultParameterForDefaultGUI(QStringLiteral("0"));
    set->addParameter(width);
    auto* height = new Parameter<int>(QStringLiteral("height"), QObject::tr("Height of the video (0=window-height)"));
    height->setDefaultParameterForDefaultGUI(QStringLiteral("0"));
    set->addParameter(height);
    // The numbers in the description are inverted; the text is kept because users know it.
    auto* sync = new Parameter<bool>(
        QStringLiteral("sync"),
        QObject::tr("If enabled (0=true, 1=false) then the grabbing will be synced with the collisionpath steps"));
    sync->setDefaultParameterForDefaultGUI(QStringLiteral("1"));
    set->addParameter(sync);
    addParameterSet(set);

    tov::main::EventManager::getInstance()->registerEventFunction(
        tov::events::scene::SCENEPANEL_CHANGED,
        boost::bind(&GrabVideo::scenePanelChanged, this, boost::placeholders::_1),
        static_cast<tov::main::Command*>(this), nullptr);
    disableCommand(true);
}

GrabVideo::~GrabVideo()
{
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<tov::main::Command*>(this));
    delete mp_PanelFactory;
    mp_PanelFactory = nullptr;
}

tov::main::Command* GrabVideo::clone() const
{
    // Not guarded on purpose: a command that cannot be cloned crashes in the next line.
    auto* copy = static_cast<GrabVideo*>(Command::clone());
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<tov::main::Command*>(copy));
    auto* prototype = const_cast<GrabVideo*>(this);
    prototype->disableCommand(true);
    copy->disableCommand(false);
    copy->mp_Origin = prototype;
    return copy;
}

void GrabVideo::scenePanelChanged(const tov::main::Event* event)
{
    auto* panel = static_cast<ScenePanel*>(event->getData());
    disableCommand(panel ? m_PanelSet.count(panel) > 0 : true);
    mp_ActivePanel = panel;
}

QFileDialog* GrabVideo::createSaveDialog()
{
    QStringList filters;
    QString defaultSuffix;
    for (const auto& [extension, description] : tov::grab::video::VideoEncoder::getInstance()->getLoadableFiles()) {
        const QString lower = extension.toLower();
        // In sequence on purpose: a placeholder in the description is filled with the extension.
        filters << QStringLiteral("%1 (*.%2)").arg(description).arg(lower);
        if (defaultSuffix.isEmpty())
            defaultSuffix = lower;
    }
    const QString directory = tovSettings().value(QLatin1String(DirectoryKey)).toString();
    auto* dialog = new QFileDialog;
    dialog->setWindowTitle(QObject::tr("Save Video"));
    dialog->setNameFilters(filters);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDefaultSuffix(defaultSuffix);
    dialog->setDirectory(directory);
    return dialog;
}

void GrabVideo::enableOrigin()
{
    if (mp_Origin)
        mp_Origin->disableCommand(false);
}

bool GrabVideo::readParameters(Request& request)
{
    Parameter<QString> fileName(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue fileNameValue(fileName);
    Parameter<int> width(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue widthValue(width);
    Parameter<int> height(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue heightValue(height);
    Parameter<bool> sync(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue syncValue(sync);
    tov::main::AbstractParameter* const locals[4] = {&fileName, &width, &height, &sync};
    ParameterSet* set = getCurrentParameterSet();
    for (std::size_t i = 0; i < 4; ++i)
        if (!m_TypeSolver.solve(locals[i], set->at(i))) {
            log(InformationLevel, ParameterLines[i], QObject::tr("Parameter failure"));
            return false;
        }
    request.fileName = *static_cast<QString*>(fileName.getValuePointer());
    request.width = *static_cast<int*>(width.getValuePointer());
    request.height = *static_cast<int*>(height.getValuePointer());
    request.synced = *static_cast<bool*>(sync.getValuePointer());
    return true;
}

/// From the test of the active panel to the start of the recording. Runs as one worker on the application thread, so no
/// panel is destroyed between test and use. True if the recording has started.
bool GrabVideo::begin(const Request& request)
{
    if (mp_ActivePanel.isNull()) {
        log(ErrorLevel, NoPanelLine, QObject::tr("There is no active scene window selected"));
        enableOrigin();
        return false;
    }
    if (m_PanelSet.count(mp_ActivePanel)) {
        log(ErrorLevel, AlreadyRunningLine, QStringLiteral("Video grabbing is currently running on that scene window"));
        enableOrigin();
        return false;
    }
    tovSettings().setValue(QLatin1String(DirectoryKey), QFileInfo(request.fileName).absolutePath());
    {
        std::lock_guard<std::mutex> guard(m_WaitMutex);
        mp_WaitSemaphore = new QSemaphore(0);
        if (m_StopPending)
            mp_WaitSemaphore->release();
        m_StopPending = false;
        m_PanelLetGo = false;
    }
    mp_Handler = new tov::grab::VideoHandler;
    m_FinishedConnection = connect(mp_Handler, &tov::grab::VideoHandler::grabbingFinished, this,
                                   &GrabVideo::grabbingFinished, Qt::DirectConnection);
    m_ProgressConnection = connect(mp_Handler, &tov::grab::VideoHandler::progressChanged, this,
                                   &GrabVideo::progressChanged, Qt::DirectConnection);
    mp_GrabbedPanel = mp_ActivePanel;
    m_PanelSet.insert(mp_GrabbedPanel);
    const auto panelConnection =
        connect(mp_GrabbedPanel, &QObject::destroyed, this, &GrabVideo::grabbingPanelClosed, Qt::DirectConnection);
    {
        std::lock_guard<std::mutex> guard(m_WaitMutex);
        m_PanelConnection = panelConnection;
    }
    updateProcessed(-1);
    updateText(QObject::tr("RAW-Video grabbing started"));
    const bool started =
        request.synced
            ? mp_Handler->startSyncedGrabbing(request.fileName, request.width, request.height, mp_GrabbedPanel)
            : mp_Handler->startGrabbing(request.fileName, request.width, request.height, mp_GrabbedPanel);
    if (!started)
        forgetPanel();
    return started;
}

void GrabVideo::forgetPanel()
{
    disconnectPanel();
    m_PanelSet.erase(mp_GrabbedPanel);
    if (mp_GrabbedPanel == mp_ActivePanel)
        enableOrigin();
}

void GrabVideo::execute()
{
    if (getCurrentParameterSetId() != 0)
        return;
    acceptStops(true);
    struct End
    {
        GrabVideo* command;
        ~End() { command->acceptStops(false); }
    } const end{this};
    run();
}

void GrabVideo::acceptStops(bool accepts)
{
    std::lock_guard<std::mutex> guard(m_WaitMutex);
    m_AcceptsStops = accepts;
    // A stop before the first run is kept for that run.
    if (!accepts)
        m_StopPending = false;
}

void GrabVideo::run()
{
    Request request;
    if (!readParameters(request)) {
        enableOrigin();
        return;
    }
    if (isTooSmall(request.width) || isTooSmall(request.height)) {
        log(ErrorLevel, SizeLine, QObject::tr("Selected width or height is to small (min. 16)"));
        enableOrigin();
        return;
    }
    bool started = false;
    onApplicationThread([&] { started = begin(request); });
    if (started) {
        mp_WaitSemaphore->acquire();
        onApplicationThread([this] { forgetPanel(); });
        if (!std::atomic_ref<bool>(m_PanelClosed).load()) {
            log(InformationLevel, EncodingStartedLine, QObject::tr("Video encoding started"));
            updateText(QObject::tr("Video encoding started"));
            mp_Handler->stopGrabbing();
            log(ResultLevel, EncodingDoneLine, QObject::tr("Video '%1' encoding done").arg(request.fileName));
        } else {
            log(ResultLevel, AbortedLine, QObject::tr("Video grabbing aborted"));
            mp_Handler->abortGrabbing();
        }
    }
    delete mp_Handler;
    mp_Handler = nullptr;
    std::lock_guard<std::mutex> guard(m_WaitMutex);
    delete mp_WaitSemaphore;
    mp_WaitSemaphore = nullptr;
}

void GrabVideo::releaseWaiter()
{
    std::lock_guard<std::mutex> guard(m_WaitMutex);
    if (mp_WaitSemaphore)
        mp_WaitSemaphore->release();
    else if (m_AcceptsStops)
        m_StopPending = true;
}

void GrabVideo::disconnectPanel()
{
    // The user's stop and the end of the capture may come at the same time: only one of them gets the handle.
    QMetaObject::Connection connection;
    {
        std::lock_guard<std::mutex> guard(m_WaitMutex);
        m_PanelLetGo = true;
        // Disconnecting uses the panel, which the application thread may destroy right now. Other threads only set the
        // flag; the application thread disconnects in `forgetPanel`.
        if (QThread::currentThread() != Overseer::getInstance()->getApplicationThread())
            return;
        std::swap(connection, m_PanelConnection);
    }
    QObject::disconnect(connection);
}

void GrabVideo::abort()
{
    std::atomic_ref<bool>(m_PanelClosed).store(false);
    disconnectPanel();
    releaseWaiter();
}

void GrabVideo::grabbingPanelClosed()
{
    // Disconnects the handler where `abort` disconnects the panel; the asymmetry is intended.
    {
        std::lock_guard<std::mutex> guard(m_WaitMutex);
        if (m_PanelLetGo)
            return;
    }
    std::atomic_ref<bool>(m_PanelClosed).store(true);
    QObject::disconnect(m_FinishedConnection);
    QObject::disconnect(m_ProgressConnection);
    releaseWaiter();
}

void GrabVideo::grabbingFinished()
{
    abort();
}

void GrabVideo::progressChanged(int value)
{
    updateProcessed(value);
}

} // namespace tov::commands::grab
