#include "app/cli/parts/partlock.h"

#include "app/common/outputcheck.h"

#include <QDateTime>
#include <QFile>
#include <QStringList>
#include <QSysInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tov::app {

namespace {

struct flock wholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

PartLock::Holder readHolder(int descriptor)
{
    char text[512];
    const ssize_t size = pread(descriptor, text, sizeof text, 0);
    const QStringList words =
        QString::fromUtf8(text, int(std::max<ssize_t>(size, 0))).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return {words.value(0), words.value(1).toLongLong(), words.value(2).toLongLong()};
}

void writeHolder(int descriptor)
{
    const QByteArray text = QStringLiteral("%1 %2 %3\n")
                                .arg(QSysInfo::machineHostName(), QString::number(getpid()),
                                     QString::number(QDateTime::currentSecsSinceEpoch()))
                                .toUtf8();
    // The text only serves messages: a full disk does no harm.
    if (ftruncate(descriptor, 0) == 0) [[maybe_unused]]
        const ssize_t written = pwrite(descriptor, text.constData(), std::size_t(text.size()), 0);
}

} // namespace

PartLock::~PartLock()
{
    if (m_Descriptor < 0)
        return;
    unlink(QFile::encodeName(m_FileName).constData());
    close(m_Descriptor);
    m_Descriptor = -1;
}

PartLock::Result PartLock::acquire(const QString& fileName, QString* error)
{
    const QByteArray name = QFile::encodeName(fileName);
    for (;;) {
        const int descriptor = open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (descriptor < 0) {
            *error = tr("cannot write '%1': %2").arg(fileName, QString::fromLocal8Bit(std::strerror(errno)));
            return Result::Failed;
        }
        struct flock lock = wholeFile();
        if (fcntl(descriptor, F_OFD_SETLK, &lock) != 0) {
            const int reason = errno;
            const Holder holder = readHolder(descriptor);
            close(descriptor);
            const bool isBusy = reason == EAGAIN || reason == EACCES;
            *error = isBusy ? tr("process %1 on %2 is recording it").arg(QString::number(holder.process), holder.host)
                            : tr("'%1' cannot be locked: %2; the file system must support locks")
                                  .arg(fileName, QString::fromLocal8Bit(std::strerror(reason)));
            return isBusy ? Result::Busy : Result::Failed;
        }
        if (isNameOf(fileName, descriptor)) {
            m_FileName = fileName;
            m_Descriptor = descriptor;
            writeHolder(descriptor);
            return Result::Acquired;
        }
        // Its holder removed it between the two calls.
        close(descriptor);
    }
}

std::optional<PartLock::Holder> PartLock::findHolder(const QString& fileName)
{
    const int descriptor = open(QFile::encodeName(fileName).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return std::nullopt;
    struct flock lock = wholeFile();
    const bool isHeld = fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    const Holder holder = readHolder(descriptor);
    close(descriptor);
    return isHeld ? std::optional(holder) : std::nullopt;
}

} // namespace tov::app
