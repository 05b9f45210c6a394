#include "app/common/privatepipe.h"

#include <QDir>
#include <QFile>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tov::app {

namespace {

bool writeAll(int file, const char* data, ssize_t size)
{
    while (size > 0) {
        const ssize_t written = write(file, data, std::size_t(size));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        size -= written;
    }
    return true;
}

} // namespace

PrivatePipe::PrivatePipe(const QString& name, int target)
    : m_Folder(QDir::temp().filePath(QStringLiteral("tov-XXXXXX"))), m_FileName(m_Folder.filePath(name)),
      m_Target(target)
{}

PrivatePipe::~PrivatePipe()
{
    QString reason;
    finish(&reason);
}

bool PrivatePipe::open(QString* error)
{
    constexpr mode_t OwnerOnly = 0600;
    const QByteArray name = QFile::encodeName(m_FileName);
    const bool isMade = m_Folder.isValid() && mkfifo(name.constData(), OwnerOnly) == 0;
    // A pipe cannot be opened for writing before it has a reader, and its reader must wait for data.
    if (isMade)
        m_Reader = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (m_Reader >= 0)
        m_Writer = ::open(name.constData(), O_WRONLY | O_CLOEXEC);
    if (m_Writer >= 0 && fcntl(m_Reader, F_SETFL, 0) == 0) {
        try {
            m_Thread = std::thread([this] { copy(); });
            return true;
        } catch (const std::system_error&) {
            errno = EAGAIN;
        }
    }
    *error = tr("cannot make a pipe in the folder '%1': %2").arg(QDir::tempPath(), qt_error_string(errno));
    for (int* file : {&m_Reader, &m_Writer})
        if (*file >= 0)
            close(std::exchange(*file, -1));
    return false;
}

void PrivatePipe::copy()
{
    constexpr std::size_t BlockBytes = 1 << 16;
    std::array<char, BlockBytes> block;
    for (;;) {
        const ssize_t size = read(m_Reader, block.data(), block.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            break;
        m_Folder.remove();
        if (!writeAll(m_Target, block.data(), size)) {
            m_Error = errno;
            break;
        }
    }
    // Without a reader the next write to the pipe fails.
    close(m_Reader);
}

bool PrivatePipe::finish(QString* reason)
{
    if (m_Writer >= 0)
        close(std::exchange(m_Writer, -1));
    if (m_Thread.joinable())
        m_Thread.join();
    if (m_Error != 0)
        *reason = qt_error_string(m_Error);
    return m_Error == 0;
}

} // namespace tov::app
