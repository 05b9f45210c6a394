// The main function of every test: a QApplication that draws without a screen, the Overseer, then the tests.

#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "plugins/platform/select/headless.h"
#include "scene/view/viewer.h"
#include "tests/support/tsanqt.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTextCodec>

#include <gtest/gtest.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <dlfcn.h>

namespace {

class Application : public QApplication
{
public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override
    {
        tov::test::eventReceived();
        return QApplication::notify(receiver, event);
    }
};

} // namespace

int main(int argc, char** argv)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    tov::platform::setDefaultFormat();
    tov::platform::prepareHeadless(QStringLiteral(TOV_BINARY_DIR "/bin/plugins"));
    Application application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    // Tests never use the settings of the user.
    QTemporaryDir settings;
    tov::main::setSettingsFile(settings.filePath(QStringLiteral("settings.ini")));
    tov::main::Overseer::getInstance();
    // Tests of libraries that must be loaded after the application object exists are in a library next to the program.
    const QString body = QCoreApplication::applicationDirPath() + QStringLiteral("/body.so");
    if (QFile::exists(body) && !dlopen(QFile::encodeName(body).constData(), RTLD_NOW)) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    tov::scene::Viewer::getInstance()->shutdown();
    tov::main::Overseer::destroyInstance();
    return result;
}
