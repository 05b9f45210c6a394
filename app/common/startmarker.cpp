#include "app/common/startmarker.h"

#include "kernel/util/cache.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <unistd.h>

namespace tov::app {

namespace {

/// A plain array, so that a signal handler may read it; never changed once it is set.
char markerName[4096] = "";

} // namespace

StartMarker::StartMarker()
{
    const QString prefix = QStringLiteral("starting-");
    const QString own = tov::util::cacheFile(prefix + QString::number(QCoreApplication::applicationPid()));
    if (own.isEmpty())
        return;
    for (const QFileInfo& entry : QFileInfo(own).dir().entryInfoList({prefix + QLatin1Char('*')}, QDir::Files)) {
        const int pid = entry.fileName().mid(prefix.size()).toInt();
        if (pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM))
            continue;
        m_Crashed = true;
        QFile::remove(entry.absoluteFilePath());
    }
    const QByteArray name = QFile::encodeName(own);
    QFile file(own);
    if (name.size() < int(sizeof markerName) && file.open(QIODevice::WriteOnly))
        std::memcpy(markerName, name.constData(), std::size_t(name.size()) + 1);
}

StartMarker::~StartMarker()
{
    finish();
}

void StartMarker::finish()
{
    clear();
}

void StartMarker::clear() noexcept
{
    // The name is kept: a handler may run at any time, and removing the file twice does no harm.
    if (markerName[0] != '\0')
        ::unlink(markerName);
}

} // namespace tov::app
