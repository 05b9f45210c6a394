// The window's tests: the program's own start-up, modules and plug-ins included, on the display it is started on.

#include "app/common/startup.h"

#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

#ifdef __SANITIZE_ADDRESS__
/// Libraries stay loaded under the leak checker, so that its reports can name the display's libraries.
extern "C" __attribute__((visibility("default"))) int dlclose(void*)
{
    return 0;
}
#endif

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    tov::app::prepareProcess();
    // Tests never use the user's settings, thumbnails or temporary files.
    QTemporaryDir home;
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    tov::app::StartOptions options;
    options.window = true;
    options.logLevel = 0;
    options.settingsFile = home.filePath(QStringLiteral("settings.ini"));
    int count = 1;
    tov::app::Startup startup(count, argv, options);
    return RUN_ALL_TESTS();
}
