// The main program of every test: a QApplication that draws without a screen, the host's centre, then the tests.

#include "kernel/main/overseer.h"
#include "kernel/main/settings.h"
#include "plugins/platform/select/headless.h"
#include "scene/viewer.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTextCodec>

#include <gtest/gtest.h>

#include <clocale>
#include <csignal>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    tov::platform::setDefaultFormat();
    tov::platform::prepareHeadless(QStringLiteral(TOV_BINARY_DIR "/bin/plugins"));
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    // The tests' settings are never the user's.
    QTemporaryDir settings;
    tov::main::setSettingsFile(settings.filePath(QStringLiteral("settings.ini")));
    tov::main::Overseer::getInstance();
    const int result = RUN_ALL_TESTS();
    tov::scene::Viewer::getInstance()->shutdown();
    tov::main::Overseer::destroyInstance();
    return result;
}
