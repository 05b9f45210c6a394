#include "app/common/safeoutput.h"

#include "app/common/outputcheck.h"
#include "app/common/videoprobe.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::app {

namespace {

const char* const PartialMark = "~partial";

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// Flushes the file to the disk before it replaces another one.
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

/// False when another process has locked the file. Always true on file systems without locks.
bool lock(int file)
{
    return flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

/// The new file keeps the permissions of the one that it replaces.
void copyPermissions(const QByteArray& from, const QByteArray& to)
{
    constexpr mode_t Permissions = 07777;
    struct stat status;
    if (stat(from.constData(), &status) == 0 && S_ISREG(status.st_mode))
        chmod(to.constData(), status.st_mode & Permissions);
}

/// Renames a file unless the new name is taken (errno is then EEXIST). Not all file systems can do that in one step.
bool renameToFreeName(const QByteArray& from, const QByteArray& to)
{
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    return link(from.constData(), to.constData()) == 0 && unlink(from.constData()) == 0;
}

void removePictures(const QString& listFile, const QStringList& pictures, const QStringList& kept)
{
    const QDir folder = QFileInfo(listFile).dir();
    for (const QString& picture : pictures)
        if (!kept.contains(picture))
            QFile::remove(folder.filePath(picture));
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

SafeOutput::SafeOutput(const QString& fileName, const QString& ending, Older older)
    : m_FileName(fileName), m_Target(linkTarget(fileName)), m_Older(older)
{
    const QFileInfo info(m_Target);
    const QString name = info.fileName();
    // Everything after the first dot counts as the format.
    QString base = name.left(name.size() - ending.size() - 1).replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString tail = QLatin1String(PartialMark) + QLatin1Char('.') + ending;
    while (!base.isEmpty() && QFile::encodeName(base + tail).size() > NAME_MAX)
        base.chop(1);
    m_TemporaryName = info.dir().filePath(base + tail);
}

SafeOutput::~SafeOutput()
{
    if (m_Lock >= 0)
        close(m_Lock);
}

bool SafeOutput::openTemporary(QString* error)
{
    constexpr mode_t ReadAndWrite = 0666;
    const QByteArray name = QFile::encodeName(m_TemporaryName);
    // The file may be renamed by its writer between the opening and the locking.
    do {
        if (m_Lock >= 0)
            close(m_Lock);
        m_Lock = open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ReadAndWrite);
        if (m_Lock < 0) {
            *error = tr("cannot write '%1': '%2': %3").arg(m_FileName, m_TemporaryName, systemError());
            return false;
        }
        if (!lock(m_Lock)) {
            *error = tr("cannot write '%1': another process is writing it").arg(m_FileName);
            close(m_Lock);
            m_Lock = -1;
            return false;
        }
    } while (!isNameOf(m_TemporaryName, m_Lock));
    return true;
}

bool SafeOutput::prepare(QString* error)
{
    if (!openTemporary(error))
        return false;
    removePictures(m_TemporaryName, listedPictures(m_TemporaryName), {});
    if (ftruncate(m_Lock, 0) == 0)
        return true;
    *error = tr("cannot write '%1': '%2': %3").arg(m_FileName, m_TemporaryName, systemError());
    return false;
}

/// An encoder that changes or joins files puts a new file, which nobody has locked, in place of the temporary one.
/// False (see errno) when another process has taken it since.
bool SafeOutput::lockReplacement()
{
    if (isNameOf(m_TemporaryName, m_Lock))
        return true;
    const int replacement = open(QFile::encodeName(m_TemporaryName).constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (replacement < 0)
        return false;
    if (!lock(replacement)) {
        close(replacement);
        errno = EBUSY;
        return false;
    }
    close(m_Lock);
    m_Lock = replacement;
    return true;
}

bool SafeOutput::rename(QString* error)
{
    if (!lockReplacement()) {
        *error = errno == EBUSY ? tr("cannot write '%1': another process is writing it").arg(m_FileName)
                                : tr("cannot write '%1': '%2': %3").arg(m_FileName, m_TemporaryName, systemError());
        return false;
    }
    const QByteArray temporary = QFile::encodeName(m_TemporaryName), target = QFile::encodeName(m_Target);
    bool isRenamed = synchronize(m_TemporaryName);
    if (isRenamed && m_Older == Older::Keep) {
        isRenamed = renameToFreeName(temporary, target);
    } else if (isRenamed) {
        copyPermissions(target, temporary);
        isRenamed = std::rename(temporary.constData(), target.constData()) == 0;
    }
    if (!isRenamed)
        *error = tr("cannot write '%1': %2; the result is in '%3'").arg(m_FileName, systemError(), m_TemporaryName);
    return isRenamed;
}

/// Pictures are named after their list. The list that was just committed still names those of the temporary one: the
/// encoder gives them their own names and replaces the list once more. If that fails, the list still plays.
void SafeOutput::renamePictures(const QStringList& older)
{
    const QStringList temporary = listedPictures(m_Target);
    if (copyVideo(m_Target, m_Target))
        removePictures(m_Target, temporary + older, listedPictures(m_Target));
}

bool SafeOutput::commit(QString* error)
{
    const bool isList = m_TemporaryName.endsWith(QLatin1String(".frames"));
    const QStringList older = isList ? listedPictures(m_Target) : QStringList();
    if (!rename(error))
        return false;
    if (isList)
        renamePictures(older);
    return true;
}

void SafeOutput::discard()
{
    removePictures(m_TemporaryName, listedPictures(m_TemporaryName), {});
    QFile::remove(m_TemporaryName);
}

} // namespace tov::app
