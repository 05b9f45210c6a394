#include "app/common/installlayout.h"

#include <QDir>
#include <QFile>

#include <climits>
#include <unistd.h>

namespace tov::app::InstallLayout {

namespace {

QString inProgramFolder(const char* path)
{
    return QDir::cleanPath(programFolder() + QLatin1Char('/') + QLatin1String(path));
}

} // namespace

QString programFolder()
{
    static const QString folder = [] {
        char path[PATH_MAX];
        const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
        QString program = length > 0 ? QFile::decodeName(QByteArray(path, int(length))) : QString();
        program.truncate(program.lastIndexOf(QLatin1Char('/')));
        return program;
    }();
    return folder;
}

QString modules()
{
    return inProgramFolder("modules");
}

QString qtPlugins()
{
    return inProgramFolder("plugins");
}

QString videoPlugins()
{
    return inProgramFolder("plugins/video");
}

QString libraries()
{
    return inProgramFolder("../lib");
}

QString encoderChecker()
{
    return inProgramFolder("../libexec/tov-check-encoder");
}

} // namespace tov::app::InstallLayout
