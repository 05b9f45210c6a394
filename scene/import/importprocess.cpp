#include "scene/import/importprocess.h"

#include "scene/import/meshstream.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tov::scene {

namespace {

using namespace stream;

/// Processor time for a file: a base, and more for large files. TOV_IMPORT_SECONDS sets another limit.
constexpr qint64 LeastSeconds = 60;
constexpr qint64 BytesPerSecond = 1000000;
/// Address space for a file, MB: a base that libraries need anyway, and a multiple of the file's size.
constexpr qint64 LeastMegabytes = 2048;
constexpr qint64 MegabytesPerMegabyte = 64;
constexpr int PollMs = 50;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

/// A file descriptor that is closed at the end.
struct Descriptor
{
    int number = -1;
    Descriptor() = default;
    explicit Descriptor(int n) : number(n) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }
    void reset()
    {
        if (number >= 0)
            close(number);
        number = -1;
    }
};

/// The process; ended and waited for at the end.
struct Child
{
    pid_t pid = -1;
    Child() = default;
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        if (pid > 0) {
            kill(pid, SIGKILL);
            wait();
        }
    }
    int wait()
    {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        pid = -1;
        return status;
    }
};

/// The importer is next to this library, in the build tree and in an installation.
QByteArray importerName()
{
    Dl_info where;
    if (dladdr(reinterpret_cast<const void*>(&runImportProcess), &where) == 0)
        return QByteArray();
    const QString folder = QFileInfo(QFile::decodeName(where.dli_fname)).canonicalPath();
    return QFile::encodeName(folder + QStringLiteral("/../libexec/tov-import"));
}

[[noreturn]] void failToStart(int error)
{
    throw ReadError(tr("a process cannot be started: %1").arg(QString::fromLocal8Bit(strerror(error))));
}

struct Limits
{
    qint64 megabytes;
    qint64 seconds;
};

Limits limitsFor(const ReadSource& source)
{
    const qint64 size = qint64(source.size() >> 20) + 1;
    const qint64 physical = qint64(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE) >> 20;
    const qint64 requested = qEnvironmentVariableIntValue("TOV_IMPORT_SECONDS");
    return {std::min(std::max(physical, LeastMegabytes), LeastMegabytes + MegabytesPerMegabyte * size),
            requested > 0 ? requested : LeastSeconds + qint64(source.size()) / BytesPerSecond};
}

/// A copy of a descriptor with a number above those that the process expects, so that none is overwritten.
int highCopy(int descriptor)
{
    const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 16);
    if (copy < 0)
        failToStart(errno);
    return copy;
}

void start(Child& child, const std::array<const char*, 6>& arguments, int mesh, int reports, int list)
{
    const Descriptor highMesh(highCopy(mesh)), highReports(highCopy(reports)), highList(highCopy(list));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, highMesh.number, MeshDescriptor);
    posix_spawn_file_actions_adddup2(&actions, highReports.number, ReportDescriptor);
    posix_spawn_file_actions_adddup2(&actions, highList.number, ListDescriptor);
    const int error =
        posix_spawn(&child.pid, arguments[0], &actions, nullptr, const_cast<char* const*>(arguments.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        child.pid = -1;
        failToStart(error);
    }
}

/// Passes the percentages on until the process has ended; returns the last report and its text.
std::string waitForReports(int descriptor, const ReadSource& source)
{
    int percent = 0;
    std::string last;
    for (;;) {
        pollfd ready{descriptor, POLLIN, 0};
        if (poll(&ready, 1, PollMs) > 0) {
            char bytes[256];
            const ssize_t size = read(descriptor, bytes, sizeof bytes);
            if (size <= 0)
                return last;
            for (ssize_t i = 0; i < size; ++i) {
                if (last.empty() && std::uint8_t(bytes[i]) <= 100)
                    percent = std::uint8_t(bytes[i]);
                else
                    last += bytes[i];
            }
        }
        // Leaving this function ends the process.
        if (source.progress && !source.progress(std::min(percent, 99)))
            throw ReadCancelled();
    }
}

void checkResult(const std::string& last, int status, qint64 seconds)
{
    const std::uint8_t report = last.empty() ? 0 : std::uint8_t(last[0]);
    if (report == NoMemory)
        throw std::bad_alloc();
    if (report == Problem) {
        const QString text = QString::fromUtf8(last.c_str() + 1).simplified();
        throw ReadError(text.isEmpty() ? tr("it is damaged") : text);
    }
    if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL))
        throw ReadError(tr("reading it took more than %1 s of processor time; it may be damaged (TOV_IMPORT_SECONDS "
                           "allows more)")
                            .arg(seconds));
    if (WIFSIGNALED(status) || report != Done)
        throw ReadError(tr("it is damaged: the importer process crashed"));
}

/// A memory file that holds `bytes`, to be read from the start.
int listFile(const QByteArray& bytes)
{
    const int file = memfd_create("tov-import-list", MFD_CLOEXEC);
    if (file >= 0 &&
        (write(file, bytes.constData(), std::size_t(bytes.size())) != bytes.size() || lseek(file, 0, SEEK_SET) != 0)) {
        close(file);
        throw std::bad_alloc();
    }
    return file;
}

} // namespace

ImportedBytes::ImportedBytes(int descriptor)
{
    struct stat status;
    if (fstat(descriptor, &status) != 0 || status.st_size <= 0)
        return;
    void* address = mmap(nullptr, std::size_t(status.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
    if (address == MAP_FAILED)
        throw std::bad_alloc();
    mp_Data = static_cast<const char*>(address);
    m_Size = std::size_t(status.st_size);
}

ImportedBytes::ImportedBytes(ImportedBytes&& other) noexcept
    : mp_Data(std::exchange(other.mp_Data, nullptr)), m_Size(std::exchange(other.m_Size, 0))
{}

ImportedBytes::~ImportedBytes()
{
    if (mp_Data)
        munmap(const_cast<char*>(mp_Data), m_Size);
}

ImportedBytes runImportProcess(const ReadSource& source, const char* mode, const QByteArray& list)
{
    const QByteArray program = importerName();
    if (access(program.constData(), X_OK) != 0)
        throw ReadError(
            tr("the part of the program that reads such files is missing (%1)").arg(QFile::decodeName(program)));
    const Limits limits = limitsFor(source);
    const Descriptor mesh(memfd_create("tov-import", MFD_CLOEXEC)), listed(listFile(list));
    int ends[2] = {-1, -1};
    if (mesh.number < 0 || listed.number < 0 || pipe2(ends, O_CLOEXEC) != 0)
        failToStart(errno);
    const Descriptor input(ends[0]);
    Descriptor output(ends[1]);
    const QByteArray file = QFile::encodeName(QFileInfo(source.fileName).absoluteFilePath());
    const QByteArray memory = QByteArray::number(limits.megabytes), seconds = QByteArray::number(limits.seconds);
    Child child;
    start(child, {program.constData(), mode, file.constData(), memory.constData(), seconds.constData(), nullptr},
          mesh.number, output.number, listed.number);
    output.reset();
    const std::string last = waitForReports(input.number, source);
    checkResult(last, child.wait(), limits.seconds);
    return ImportedBytes(mesh.number);
}

} // namespace tov::scene
