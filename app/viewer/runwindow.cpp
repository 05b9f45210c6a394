#include "app/viewer/runwindow.h"

#include "app/cli/verbs.h"
#include "app/common/startup.h"
#include "app/viewer/mainwindow.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/splash.h"
#include "plugins/platform/select/headless.h"
#include "scene/viewer.h"

#include <QApplication>

#include <memory>

namespace tov::viewer {

int runWindow(const tov::app::Options& options, int& argc, char** argv)
{
    if (!tov::platform::hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        tov::app::printError(QCoreApplication::translate(
            "CommandLine", "there is no display for a window; tov image, video and run work without one (tov --help)"));
        return 1;
    }
    tov::app::StartOptions start;
    start.window = true;
    start.logLevel = options.has(QStringLiteral("verbose")) ? 1000000 : 0;
    start.settingsFile = options.value(QStringLiteral("settings"));
    std::unique_ptr<Splash> splash;
    start.progress = [&splash](const QString& message) {
        if (!splash) {
            splash = std::make_unique<Splash>();
            splash->show();
        }
        splash->say(message);
    };
    tov::app::Startup startup(argc, argv, start);
    MainWindow window(&startup.getLoader());
    startup.setInterruptHandler([&window](int) { window.close(); });
    window.show();
    if (splash)
        splash->finish(&window);
    splash.reset();
    tov::scene::Viewer::getInstance()->announceActivePanel();
    if (!options.files.isEmpty())
        window.openFiles(options.files);
    return QApplication::exec();
}

} // namespace tov::viewer
