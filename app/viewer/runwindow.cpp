#include "app/viewer/runwindow.h"

#include "app/cli/reports/reporter.h"
#include "app/cli/verbs.h"
#include "app/common/startup.h"
#include "app/viewer/autosave.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/glyphs.h"
#include "app/viewer/mainwindow.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/runninginstance.h"
#include "app/viewer/scenesession.h"
#include "app/viewer/splash.h"
#include "app/viewer/theme.h"
#include "kernel/main/settings.h"
#include "plugins/platform/select/headless.h"
#include "scene/view/viewer.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

#include <memory>
#include <mutex>
#include <utility>

namespace tov::viewer {

namespace {

/// Keeps the log records until there is a console to show them.
class EarlyLog : public tov::log::LogSink
{
public:
    EarlyLog() { tov::log::Logger::addSink(this); }
    ~EarlyLog() override { tov::log::Logger::removeSink(this); }
    void write(const tov::log::LogRecord& record) override
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Records.push_back(record);
    }
    std::vector<tov::log::LogRecord> take()
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        return std::move(m_Records);
    }

private:
    std::mutex m_Mutex;
    std::vector<tov::log::LogRecord> m_Records; ///< guarded by m_Mutex
};

} // namespace

int runWindow(const tov::app::Options& options, int& argc, char** argv)
{
    if (!tov::platform::hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        tov::app::printError(QCoreApplication::translate(
            "CommandLine", "there is no display for a window; tov image, video and run work without one (tov --help)"));
        return 1;
    }
    if (options.has(QStringLiteral("reuse"))) {
        const QCoreApplication application(argc, argv);
        if (RunningInstance::openInRunningWindow(options.files))
            return 0;
    }
    tov::app::StartOptions start;
    start.window = true;
    start.logLevel = options.has(QStringLiteral("verbose")) ? 1000000 : 0;
    start.settingsFile = options.value(QStringLiteral("settings"));
    // Icon and colours are set before a module shows its first message.
    bool hasAppearance = false;
    const auto setAppearance = [&hasAppearance] {
        if (std::exchange(hasAppearance, true))
            return;
        QApplication::setWindowIcon(applicationIcon());
        QGuiApplication::setDesktopFileName(QStringLiteral("tov"));
        applyTheme(tovSettings().value(QStringLiteral("window/palette")).toString());
    };
    start.safeMode = options.has(QStringLiteral("safe-mode"));
    start.afterCrash = [&setAppearance] {
        setAppearance();
        QMessageBox question(QMessageBox::Warning, QCoreApplication::translate("tov::viewer", "tov crashed"),
                             QCoreApplication::translate("tov::viewer",
                                                         "tov crashed at its last start. Start now without modules "
                                                         "and plug-ins that are not part of it?"));
        question.setObjectName(QStringLiteral("SafeModeQuestion"));
        auto* safe = question.addButton(QCoreApplication::translate("tov::viewer", "Start in safe mode"),
                                        QMessageBox::AcceptRole);
        question.addButton(QCoreApplication::translate("tov::viewer", "Start as usual"), QMessageBox::RejectRole);
        question.setDefaultButton(safe);
        question.exec();
        return question.clickedButton() == static_cast<QAbstractButton*>(safe);
    };
    std::unique_ptr<Splash> splash;
    start.progress = [&splash, &setAppearance](const QString& message) {
        if (!splash) {
            setAppearance();
            splash = std::make_unique<Splash>();
            splash->show();
        }
        splash->showStartMessage(message);
    };
    auto early = std::make_unique<EarlyLog>();
    tov::app::Startup startup(argc, argv, start);
    setAppearance();
    MainWindow window(&startup.getLoader());
    startup.setInterruptHandler([&window](int) { window.quitWithoutAsking(); });
    window.getConsole()->getModel()->addRecords(early->take());
    early.reset();
    const RunningInstance* instance = new RunningInstance(&window);
    QObject::connect(instance, &RunningInstance::filesRequested, &window, &MainWindow::openFiles);
    window.show();
    if (splash)
        splash->finish(&window);
    splash.reset();
    tov::scene::Viewer::getInstance()->announceActivePanel();
    window.getSession()->getAutosave()->offerCrashed();
    if (!options.files.isEmpty())
        window.openFiles(options.files);
    return QApplication::exec();
}

} // namespace tov::viewer
