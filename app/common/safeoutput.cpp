#include "app/common/safeoutput.h"

#include "app/common/videoprobe.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tov::app {

namespace {

const char* const PartialMark = "~partial";

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// The target of a symbolic link, so that the link stays.
QString resolved(const QString& fileName)
{
    const QFileInfo info(fileName);
    const QString target = info.isSymLink() ? info.canonicalFilePath() : QString();
    return target.isEmpty() ? fileName : target;
}

/// Puts the file on the disk before it replaces another one.
bool synchronize(const QString& fileName)
{
    const int file = open(QFile::encodeName(fileName).constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    // Some file systems cannot synchronise, which is not a failure.
    const bool isDone = fsync(file) == 0 || errno == EINVAL || errno == EROFS;
    const int reason = errno;
    close(file);
    errno = reason;
    return isDone;
}

} // namespace

QStringList listedPictures(const QString& fileName)
{
    QStringList pictures;
    QFile list(fileName);
    if (!fileName.endsWith(QLatin1String(".frames"), Qt::CaseInsensitive) || !list.open(QIODevice::ReadOnly) ||
        !list.readLine().startsWith("ffconcat"))
        return pictures;
    // Only names that our encoder gives: a list that somebody wrote may name other files.
    static const QRegularExpression numbered(QStringLiteral("^.*\\.[0-9]{5,}\\.png$"));
    while (!list.atEnd()) {
        const QByteArray line = list.readLine().trimmed();
        const QString name = QString::fromLatin1(line.mid(5));
        if (line.startsWith("file ") && !line.contains('/') && numbered.match(name).hasMatch())
            pictures << name;
    }
    return pictures;
}

QString longestEnding(const QString& fileName, const QStringList& endings)
{
    const QString name = QFileInfo(fileName).fileName().toLower();
    QString longest;
    for (const QString& ending : endings)
        if (ending.size() > longest.size() && name.endsWith(QLatin1Char('.') + ending.toLower()))
            longest = ending.toLower();
    return longest;
}

SafeOutput::SafeOutput(const QString& fileName, const QString& ending) : m_FileName(fileName)
{
    const QFileInfo info(resolved(fileName));
    const QString name = info.fileName();
    // Everything after the first dot counts as the format.
    QString base = name.left(name.size() - ending.size() - 1).replace(QLatin1Char('.'), QLatin1Char('_'));
    m_TemporaryName = info.dir().filePath(base + QLatin1String(PartialMark) + QLatin1Char('.') + ending);
}

bool SafeOutput::prepare(QString* error)
{
    if (!QFileInfo::exists(m_TemporaryName))
        return true;
    discard();
    if (!QFileInfo::exists(m_TemporaryName))
        return true;
    *error = tr("cannot write '%1': '%2' cannot be removed").arg(m_FileName, m_TemporaryName);
    return false;
}

/// Pictures are named after their list, so the encoder copies them; pictures of an older list that are not replaced
/// are removed.
bool SafeOutput::commitPictures(QString* error)
{
    const QString fileName = resolved(m_FileName);
    const QDir folder = QFileInfo(fileName).dir();
    const QStringList older = listedPictures(fileName);
    if (!copyVideo(m_TemporaryName, fileName)) {
        *error = tr("cannot write '%1'; the result is in '%2'").arg(m_FileName, m_TemporaryName);
        return false;
    }
    const QStringList pictures = listedPictures(fileName);
    for (const QString& picture : older)
        if (!pictures.contains(picture))
            QFile::remove(folder.filePath(picture));
    discard();
    return true;
}

bool SafeOutput::commit(QString* error)
{
    if (m_TemporaryName.endsWith(QLatin1String(".frames")))
        return commitPictures(error);
    if (synchronize(m_TemporaryName) && std::rename(QFile::encodeName(m_TemporaryName).constData(),
                                                    QFile::encodeName(resolved(m_FileName)).constData()) == 0)
        return true;
    *error = tr("cannot write '%1': %2; the result is in '%3'").arg(m_FileName, systemError(), m_TemporaryName);
    return false;
}

void SafeOutput::discard()
{
    for (const QString& picture : listedPictures(m_TemporaryName))
        QFile::remove(QFileInfo(m_TemporaryName).dir().filePath(picture));
    QFile::remove(m_TemporaryName);
}

} // namespace tov::app
