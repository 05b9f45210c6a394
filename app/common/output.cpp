#include "app/common/output.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace tov::app {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

} // namespace

bool checkOutputFolder(const QString& fileName, QString* error)
{
    const QFileInfo info(fileName);
    const QFileInfo folder(info.absolutePath());
    if (info.isDir())
        *error = tr("%1 is a folder; name a file").arg(fileName);
    else if (info.exists() && !info.isFile())
        *error = tr("%1 is no ordinary file").arg(fileName);
    else if (!folder.isDir())
        *error = tr("%1 cannot be written: there is no folder %2").arg(fileName, folder.filePath());
    else if (info.exists() ? !info.isWritable() : !folder.isWritable())
        *error = tr("%1 cannot be written: permission denied").arg(fileName);
    else
        return true;
    return false;
}

} // namespace tov::app
