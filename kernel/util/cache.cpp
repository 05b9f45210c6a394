#include "kernel/util/cache.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringList>

#include <sys/stat.h>
#include <unistd.h>

namespace tov::util {

namespace {

constexpr qint64 LargestCache = 1 << 20;
/// No escaped text equals it, so a file that was cut off is never complete.
const QString LastLine = QStringLiteral("\\end");

QString firstLine(const QString& version)
{
    return QStringLiteral("tov cache 1 ") + version;
}

QString escaped(QString text)
{
    return text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\n'), QLatin1String("\\n"));
}

QString unescaped(const QString& text)
{
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('\\') || i + 1 == text.size())
            result += text[i];
        else
            result += text[++i] == QLatin1Char('n') ? QLatin1Char('\n') : text[i];
    }
    return result;
}

/// True when the folder belongs to this user, so that only this user can read it. A program started by sudo may see the
/// folder of the calling user, and must not leave files of root there.
bool makePrivate(const QString& folder)
{
    const QByteArray path = QFile::encodeName(folder);
    struct stat status;
    if (stat(path.constData(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid())
        return false;
    return (status.st_mode & 0777) == 0700 || chmod(path.constData(), 0700) == 0;
}

} // namespace

QString cacheFile(const QString& name)
{
    if (qEnvironmentVariableIsEmpty("HOME") && qEnvironmentVariableIsEmpty("XDG_CACHE_HOME"))
        return QString();
    const QString caches = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (caches.isEmpty() || name.isEmpty() || name.contains(QLatin1Char('/')))
        return QString();
    const QString folder = caches + QStringLiteral("/tov");
    if (!QDir().mkpath(folder) || !makePrivate(folder))
        return QString();
    return folder + QLatin1Char('/') + name;
}

CacheEntries readCache(const QString& name, const QString& version)
{
    const QString fileName = cacheFile(name);
    QFile file(fileName);
    if (fileName.isEmpty() || !QFileInfo(fileName).isFile() || file.size() > LargestCache ||
        !file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (lines.size() < 3 || lines.size() % 2 == 0 || !lines.takeLast().isEmpty() || lines.takeLast() != LastLine ||
        lines.takeFirst() != firstLine(version))
        return {};
    CacheEntries entries;
    for (int i = 0; i + 1 < lines.size(); i += 2)
        entries.insert(unescaped(lines[i]), unescaped(lines[i + 1]));
    return entries;
}

bool writeCache(const QString& name, const QString& version, const CacheEntries& entries)
{
    QStringList lines{firstLine(version)};
    for (auto it = entries.begin(); it != entries.end(); ++it)
        lines << escaped(it.key()) << escaped(it.value());
    lines << LastLine << QString();
    const QByteArray text = lines.join(QLatin1Char('\n')).toUtf8();
    const QString fileName = cacheFile(name);
    QSaveFile file(fileName);
    if (fileName.isEmpty() || text.size() > LargestCache || !file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    return file.write(text) == text.size() && file.commit();
}

} // namespace tov::util
