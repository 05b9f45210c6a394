#include "app/common/startup.h"

#include "app/common/installlayout.h"
#include "app/common/libraryprobe.h"
#include "app/common/startmarker.h"
#include "app/common/translation.h"
#include "kernel/events/eventhandler.h"
#include "kernel/log/console.h"
#include "kernel/log/terminalsink.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "plugins/platform/select/headless.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/viewer.h"

#include <QApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QTextCodec>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tov::app {

using tov::log::Logger;
using tov::main::Overseer;
using tov::scene::Viewer;

namespace {

int signalPipe[2] = {-1, -1};
std::atomic<int> interrupts{0};

void onInterrupt(int)
{
    const int saved = errno;
    StartMarker::clear();
    // A third one means that the application thread does not respond.
    if (interrupts.fetch_add(1) >= 2)
        _exit(130);
    const char byte = 1;
    [[maybe_unused]] const auto written = write(signalPipe[1], &byte, 1);
    errno = saved;
}

void ignore(int signal)
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = SIG_IGN;
    sigaction(signal, &action, nullptr);
}

/// Passes Qt's own messages on to the log. Messages that the software renderer prints at every start are dropped.
void onQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (message.contains(QLatin1String("software rasterizer")) || message.contains(QLatin1String("XDG_RUNTIME_DIR")))
        return;
    if (message.startsWith(QLatin1String("The X11 connection broke"))) {
        // Qt ends the process next, and runs destructors while other threads still run.
        std::fprintf(stderr, "tov: %s\n",
                     QCoreApplication::translate("tov::app",
                                                 "the display is gone (X server); what was written so far is "
                                                 "kept")
                         .toLocal8Bit()
                         .constData());
        std::fflush(stderr);
        _exit(1);
    }
    const int level = type == QtCriticalMsg || type == QtFatalMsg ? tov::log::LevelError : tov::log::LevelInformation;
    Logger::log(level, "qt", 0, "", nullptr, message);
    if (type == QtFatalMsg) {
        // The log's own thread would be too late.
        std::fprintf(stderr, "tov: %s\n", tov::log::escaped(message).toLocal8Bit().constData());
        std::fflush(stderr);
        _exit(1);
    }
}

/// Each pending chunk in a file has a descriptor, and there may be many.
void raiseDescriptorLimit()
{
    constexpr rlim_t Enough = 65536;
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= std::min(Enough, limit.rlim_max))
        return;
    limit.rlim_cur = std::min(Enough, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// Large blocks get mappings of their own, which the system has back as soon as they are freed. By default the C
/// library moves blocks of up to 32 MB into its heap once some have been freed; the chunks of a recording then leave
/// gaps between the frames that a codec holds, and the heap grows with the length of the recording.
void keepLargeBlocksApart()
{
    constexpr int LargeBytes = 4 << 20, UnusedHeapBytes = 16 << 20;
    mallopt(M_MMAP_THRESHOLD, LargeBytes);
    mallopt(M_TRIM_THRESHOLD, UnusedHeapBytes);
}

} // namespace

void prepareProcess()
{
    keepLargeBlocksApart();
    raiseDescriptorLimit();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    ignore(SIGPIPE);
    ignore(SIGXFSZ);
    // The session's message bus is used where there is one. Without its address the library would start a bus of
    // its own, another program, which would outlive this one.
    if (!qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"))
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:runtime=yes");
}

struct Startup::Private
{
    std::unique_ptr<tov::log::TerminalSink> sink;
    std::unique_ptr<QApplication> application;
    std::unique_ptr<tov::main::ModuleLoader> loader;
    std::unique_ptr<QSocketNotifier> notifier;
    std::function<void(int)> onInterrupt;
    QString foreignSettings;
    bool starting = true;

    void createApplication(int& argc, char** argv, bool window);
    void openSettings(const QString& fileName);
    void watchSignals();
    static void probeLibraries(bool safeMode);
    static void startHost();
    void loadModules(const std::function<void(const QString&)>& progress);
};

void Startup::Private::createApplication(int& argc, char** argv, bool window)
{
    QCoreApplication::setOrganizationName(QStringLiteral("tov"));
    QCoreApplication::setApplicationName(QStringLiteral("tov"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TOV_VERSION));
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    tov::platform::setDefaultFormat();
    // The program's own Qt plug-ins: the PNG writer, and the platform without a screen.
    QCoreApplication::addLibraryPath(InstallLayout::qtPlugins());
    if (!window)
        tov::platform::prepareHeadless(InstallLayout::qtPlugins());
    application = std::make_unique<QApplication>(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    installTranslations();
}

void Startup::Private::openSettings(const QString& fileName)
{
    if (!fileName.isEmpty())
        tov::main::setSettingsFile(fileName);
    if (!tov::main::isForeignFile(tov::main::settingsFile()))
        return;
    foreignSettings = tov::main::settingsFile();
    tov::main::useEmptySettings();
    Logger::log(tov::log::LevelError, "app/startup", __LINE__, __func__, nullptr,
                QStringLiteral("'%1' is not a settings file and is not changed").arg(foreignSettings));
}

void Startup::Private::watchSignals()
{
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [this] {
        char bytes[16];
        while (read(signalPipe[0], bytes, sizeof bytes) > 0) {
        }
        // While the program starts there is nothing to save; a question may be open.
        if (starting)
            _exit(130);
        if (onInterrupt)
            onInterrupt(interrupts);
    });
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = tov::app::onInterrupt;
    // SIGHUP: the terminal or the session ends; captured frames are kept.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
}

void Startup::Private::probeLibraries(bool safeMode)
{
    LibraryProbe probe(InstallLayout::encoderChecker(), QStringLiteral(TOV_OWN_LIBRARIES).split(QLatin1Char(':')));
    probe.addModules(InstallLayout::modules());
    probe.addEncoders(InstallLayout::videoPlugins());
    if (safeMode)
        probe.refuseForeign();
    probe.run();
}

void Startup::Private::startHost()
{
    Overseer::getInstance();
    auto* events = tov::events::EventHandler::getInstance();
    events->registerEventTypes("Global");
    events->registerEventTypes("Scene");
    tov::scene::SceneDrawer::setMultisampling(tovSettings().value(QStringLiteral("settings/multisampling"), 4).toInt());
    const QColor background(tovSettings().value(QStringLiteral("settings/background")).toString());
    if (background.isValid())
        tov::scene::SceneDrawer::setBackgroundColor(background);
    Viewer::getInstance()->initialize();
}

void Startup::Private::loadModules(const std::function<void(const QString&)>& progress)
{
    loader = std::make_unique<tov::main::ModuleLoader>();
    loader->loadFolder(InstallLayout::modules(),
                       tov::main::Module::Progress(progress ? progress : [](const QString&) {}));
    // The modules' commands query the hardware before they listen for panels, so the active panel is announced again.
    Overseer::getInstance()->getCommandProcessor()->drain();
    Viewer::getInstance()->announceActivePanel();
}

Startup::Startup(int& argc, char** argv, const StartOptions& options) : d(new Private)
{
    if (options.logLevel > 0) {
        d->sink = std::make_unique<tov::log::TerminalSink>(options.logLevel);
        Logger::addSink(d->sink.get());
    }
    qInstallMessageHandler(onQtMessage);
    d->createApplication(argc, argv, options.window);
    d->openSettings(options.settingsFile);
    d->watchSignals();
    StartMarker marker;
    bool safeMode = options.safeMode;
    if (marker.hasCrashed() && !safeMode && options.afterCrash)
        safeMode = options.afterCrash();
    Private::probeLibraries(safeMode);
    Private::startHost();
    d->loadModules(options.progress);
    marker.finish();
    d->starting = false;
}

Startup::~Startup()
{
    setInterruptHandler({});
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    processor->stopAll();
    processor->waitForAll();
    Viewer::getInstance()->shutdown();
    d->loader.reset();
    Overseer::destroyInstance();
    d->notifier.reset();
    d->application.reset();
    qInstallMessageHandler(nullptr);
    if (d->sink)
        Logger::removeSink(d->sink.get());
}

QString Startup::getForeignSettings() const
{
    return d->foreignSettings;
}

tov::main::ModuleLoader& Startup::getLoader()
{
    return *d->loader;
}

void Startup::setInterruptHandler(std::function<void(int)> function)
{
    d->onInterrupt = std::move(function);
}

} // namespace tov::app
