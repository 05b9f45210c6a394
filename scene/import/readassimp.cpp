#include "scene/import/meshstream.h"
#include "scene/import/readers.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

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

/// Processor time for a file: so much, and more for large ones. TOV_IMPORT_SECONDS sets another limit.
constexpr qint64 LeastSeconds = 60;
constexpr qint64 BytesPerSecond = 1000000;
/// Addresses for a file, MB: those that libraries take anyway, and a multiple of its size.
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

struct Mapping
{
    const char* data = nullptr;
    std::size_t size = 0;
    explicit Mapping(int descriptor)
    {
        struct stat status;
        if (fstat(descriptor, &status) != 0 || status.st_size <= 0)
            return;
        void* address = mmap(nullptr, std::size_t(status.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
        if (address == MAP_FAILED)
            throw std::bad_alloc();
        data = static_cast<const char*>(address);
        size = std::size_t(status.st_size);
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping()
    {
        if (data)
            munmap(const_cast<char*>(data), size);
    }
};

/// The program lies beside this library, as it is built and as it is installed.
QByteArray importerName()
{
    Dl_info where;
    if (dladdr(reinterpret_cast<const void*>(&readWithAssimp), &where) == 0)
        return QByteArray();
    const QString folder = QFileInfo(QFile::decodeName(where.dli_fname)).canonicalPath();
    return QFile::encodeName(folder + QStringLiteral("/../libexec/tov-import"));
}

/// Reads what the process wrote, believing nothing.
class Cursor
{
public:
    Cursor(const char* data, std::size_t size) : m_At(data), m_Left(size) {}
    const char* take(std::uint64_t count, std::uint64_t size)
    {
        if (size != 0 && count > m_Left / size)
            throw ReadError(tr("what was read of it is not whole"));
        const char* begin = m_At;
        m_At += count * size;
        m_Left -= std::size_t(count * size);
        return begin;
    }
    template <typename T>
    T take()
    {
        T value;
        std::memcpy(&value, take(1, sizeof(T)), sizeof(T));
        return value;
    }
    template <typename T>
    std::vector<T> takeMany(std::uint64_t count)
    {
        const char* begin = take(count, sizeof(T));
        std::vector<T> values(count);
        if (count > 0)
            std::memcpy(values.data(), begin, std::size_t(count) * sizeof(T));
        return values;
    }

private:
    const char* m_At;
    std::size_t m_Left;
};

GeometryElement* takePart(Cursor& cursor, const PartRecord& record)
{
    const QString name = QString::fromUtf8(cursor.take(record.nameLength, 1), int(record.nameLength));
    Geometry geometry;
    if (record.kind < 1 || record.kind > 3 || record.indices % record.kind != 0)
        throw ReadError(tr("what was read of it is not whole"));
    geometry.kind = Geometry::Kind(record.kind);
    if (record.vertices > UINT32_MAX)
        throw ReadError(tr("it has more vertices than can be counted"));
    geometry.positions = cursor.takeMany<float>(3 * record.vertices);
    if (record.hasNormals)
        geometry.normals = cursor.takeMany<float>(3 * record.vertices);
    if (record.hasColors)
        for (const std::uint8_t value : cursor.takeMany<std::uint8_t>(4 * record.vertices))
            geometry.colors.push_back(geometry.colors.size() % 4 < 3 ? linear16(value) : std::uint16_t(257 * value));
    geometry.indices = cursor.takeMany<std::uint32_t>(record.indices);
    checkFinite(geometry.positions);
    if (std::any_of(geometry.normals.begin(), geometry.normals.end(), [](float v) { return !std::isfinite(v); }))
        geometry.normals.clear();
    for (const std::uint32_t index : geometry.indices)
        if (index >= record.vertices)
            throw ReadError(tr("a face names a vertex that is not there"));
    if (record.hasColor)
        geometry.material = makeMaterial(QColor(record.color[0], record.color[1], record.color[2], record.color[3]));
    return new GeometryElement(name, std::move(geometry));
}

SceneElement* treeOf(const Mapping& mapping, const QString& name)
{
    Cursor cursor(mapping.data, mapping.size);
    const auto header = cursor.take<Header>();
    if (std::memcmp(header.magic, Magic, sizeof Magic) != 0 || header.nodes == 0)
        throw ReadError(tr("what was read of it is not whole"));
    auto root = std::make_unique<SceneElement>(name);
    std::vector<SceneElement*> elements;
    for (std::uint32_t i = 0; i < header.nodes; ++i) {
        const auto record = cursor.take<NodeRecord>();
        const QString nodeName = QString::fromUtf8(cursor.take(record.nameLength, 1), int(record.nameLength));
        if (i == 0 ? record.parent != NoParent : record.parent >= i)
            throw ReadError(tr("what was read of it is not whole"));
        tov::math::Matrix4 transform;
        for (unsigned int k = 0; k < 16; ++k) {
            if (!std::isfinite(record.transform[k]))
                throw ReadError(tr("a coordinate is no finite number"));
            transform(k / 4, k % 4) = record.transform[k];
        }
        SceneElement* element = root.get();
        if (i > 0) {
            element = new SceneElement(nodeName);
            elements[record.parent]->addChild(element);
        }
        element->setTransform(transform);
        elements.push_back(element);
    }
    for (std::uint32_t i = 0; i < header.parts; ++i) {
        const auto record = cursor.take<PartRecord>();
        if (record.node >= header.nodes)
            throw ReadError(tr("what was read of it is not whole"));
        elements[record.node]->addChild(takePart(cursor, record));
    }
    return root.release();
}

} // namespace

SceneElement* readWithAssimp(const ReadSource& source)
{
    const QByteArray program = importerName();
    if (access(program.constData(), X_OK) != 0)
        throw ReadError(
            tr("the part of the program that reads such files is missing (%1)").arg(QFile::decodeName(program)));
    const qint64 megabytes = qint64(source.size() >> 20) + 1;
    const qint64 physical = qint64(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE) >> 20;
    const qint64 memory =
        std::min(std::max(physical, LeastMegabytes), LeastMegabytes + MegabytesPerMegabyte * megabytes);
    const qint64 asked = qEnvironmentVariableIntValue("TOV_IMPORT_SECONDS");
    const qint64 seconds = asked > 0 ? asked : LeastSeconds + qint64(source.size()) / BytesPerSecond;

    Descriptor mesh(memfd_create("tov-import", MFD_CLOEXEC));
    int ends[2] = {-1, -1};
    if (mesh.number < 0 || pipe2(ends, O_CLOEXEC) != 0)
        throw ReadError(tr("a process cannot be started: %1").arg(QString::fromLocal8Bit(strerror(errno))));
    Descriptor input(ends[0]), output(ends[1]);
    // Numbers above those that the process expects, so that none is overwritten on the way.
    Descriptor high(fcntl(mesh.number, F_DUPFD_CLOEXEC, 16)), highOutput(fcntl(output.number, F_DUPFD_CLOEXEC, 16));

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, high.number, MeshDescriptor);
    posix_spawn_file_actions_adddup2(&actions, highOutput.number, ReportDescriptor);
    const QByteArray file = QFile::encodeName(QFileInfo(source.fileName).absoluteFilePath());
    const QByteArray memoryText = QByteArray::number(memory), secondsText = QByteArray::number(seconds);
    const std::array<const char*, 5> arguments{program.constData(), file.constData(), memoryText.constData(),
                                               secondsText.constData(), nullptr};
    Child child;
    const int error = high.number < 0 || highOutput.number < 0
                          ? errno
                          : posix_spawn(&child.pid, program.constData(), &actions, nullptr,
                                        const_cast<char* const*>(arguments.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        child.pid = -1;
        throw ReadError(tr("a process cannot be started: %1").arg(QString::fromLocal8Bit(strerror(error))));
    }
    output.reset();
    highOutput.reset();

    int percent = 0;
    std::string last;
    for (;;) {
        pollfd ready{input.number, POLLIN, 0};
        const int count = poll(&ready, 1, PollMs);
        if (count > 0) {
            char bytes[256];
            const ssize_t size = read(input.number, bytes, sizeof bytes);
            if (size <= 0)
                break;
            for (ssize_t i = 0; i < size; ++i) {
                if (last.empty() && std::uint8_t(bytes[i]) <= 100)
                    percent = std::uint8_t(bytes[i]);
                else
                    last += bytes[i];
            }
        }
        // The process is ended by leaving.
        if (source.progress && !source.progress(std::min(percent, 99)))
            throw ReadCancelled();
    }
    const int status = child.wait();
    const std::uint8_t report = last.empty() ? 0 : std::uint8_t(last[0]);
    if (report == NoMemory)
        throw std::bad_alloc();
    if (report == Problem) {
        const QString text = QString::fromUtf8(last.c_str() + 1).simplified();
        throw ReadError(text.isEmpty() ? tr("it is damaged") : text);
    }
    if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL))
        throw ReadError(
            tr("reading it took more than %1 s of processor time; it may be damaged (TOV_IMPORT_SECONDS allows "
               "more)")
                .arg(seconds));
    if (WIFSIGNALED(status) || report != Done)
        throw ReadError(tr("it is damaged: reading it crashed, in a process of its own"));
    return treeOf(Mapping(mesh.number), QFileInfo(source.fileName).completeBaseName());
}

} // namespace tov::scene
