#include "plugins/video/common/coderlibrary.h"

#include "kernel/log/logger.h"
#include "kernel/util/elffile.h"
#include "kernel/util/libraryfile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <array>
#include <mutex>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::plugins::video {

namespace {

const char* const SourceFile = "plugins/video/common/coderlibrary";
/// First line of what is remembered; another number when what follows changes.
const QString Title = QStringLiteral("tov video formats 1");
constexpr qint64 LargestNote = 1 << 16;
/// The coders, FFmpeg's codecs, FFmpeg's file formats, the loader's list.
constexpr int DecidingFiles = 4;

/// Some libraries end the process when they find no free descriptor on being loaded.
bool areFilesFree()
{
    constexpr std::size_t Needed = 8;
    std::array<int, Needed> files;
    files.fill(-1);
    for (int& file : files)
        file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const bool free = files.back() >= 0;
    for (const int file : files)
        if (file >= 0)
            close(file);
    return free;
}

const CoderFunctions* load(QString* error)
{
    if (!areFilesFree()) {
        *error = QStringLiteral("too many files are open");
        return nullptr;
    }
    // A file that is cut off would end the process.
    *error = tov::util::findElfProblem(coderLibraryFile());
    if (error->isEmpty())
        *error = tov::util::findAccessProblem(coderLibraryFile());
    if (!error->isEmpty()) {
        error->prepend(coderLibraryFile() + QStringLiteral(": "));
        return nullptr;
    }
    const QByteArray file = QFile::encodeName(coderLibraryFile());
    void* library = dlopen(file.constData(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    void* functions = library ? dlsym(library, CoderFunctionsName) : nullptr;
    if (!functions) {
        const char* reason = dlerror();
        *error = QString::fromLocal8Bit(reason ? reason : file.constData());
    }
    return static_cast<const CoderFunctions*>(functions);
}

/// A file as it is now: path, size, time of the last change. Empty when it is not there.
QString stateOf(const QString& file)
{
    struct stat found;
    if (stat(QFile::encodeName(file).constData(), &found) != 0)
        return QString();
    return file + QStringLiteral(" %1 %2.%3")
                      .arg(qint64(found.st_size))
                      .arg(qint64(found.st_mtim.tv_sec))
                      .arg(qint64(found.st_mtim.tv_nsec), 9, 10, QLatin1Char('0'));
}

/// Where the formats are remembered; empty where nothing can be, or the loader of libraries was told to look elsewhere.
QString noteFile()
{
    for (const char* name : {"LD_PRELOAD", "LD_LIBRARY_PATH", "LD_AUDIT"})
        if (!qEnvironmentVariableIsEmpty(name))
            return QString();
    if (qEnvironmentVariableIsEmpty("HOME") && qEnvironmentVariableIsEmpty("XDG_CACHE_HOME"))
        return QString();
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (folder.isEmpty())
        return QString();
    // Installations side by side keep out of each other's way.
    const QByteArray place = QCryptographicHash::hash(QFile::encodeName(coderLibraryFile()), QCryptographicHash::Sha1);
    return folder + QStringLiteral("/video-formats-") + QString::fromLatin1(place.toHex().left(16));
}

/// The files that decide which formats there are. The loader's own list changes with any library that is installed.
QStringList decidingFiles(const QStringList& libraries)
{
    return QStringList{coderLibraryFile()} + libraries + QStringList{QStringLiteral("/etc/ld.so.cache")};
}

/// The last line is the formats, those between it and the title are the state of the files that decide.
bool readNote(const QString& name, QStringList* formats)
{
    QFile file(name);
    if (name.isEmpty() || !QFileInfo(name).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    QStringList lines = QString::fromUtf8(file.read(LargestNote)).split(QLatin1Char('\n'));
    if (lines.size() != DecidingFiles + 3 || lines.takeFirst() != Title || !lines.takeLast().isEmpty())
        return false;
    *formats = lines.takeLast().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QStringList files;
    for (const QString& line : lines)
        files << line.section(QLatin1Char(' '), 0, -3);
    if (files != decidingFiles(files.mid(1, files.size() - 2)))
        return false;
    for (const QString& line : lines)
        if (stateOf(line.section(QLatin1Char(' '), 0, -3)) != line)
            return false;
    return true;
}

/// It is found out again where this fails.
void writeNote(const QString& name, const QStringList& libraries, const QStringList& formats)
{
    const QString folder = QFileInfo(name).absolutePath();
    if (name.isEmpty() || libraries.size() != DecidingFiles - 2 || !QDir().mkpath(folder))
        return;
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QStringList lines{Title};
    for (const QString& file : decidingFiles(libraries)) {
        const QString state = stateOf(file);
        if (state.isEmpty() || state.contains(QLatin1Char('\n')))
            return;
        lines << state;
    }
    lines << formats.join(QLatin1Char(' ')) << QString();
    QSaveFile file(name);
    if (file.open(QIODevice::WriteOnly)) {
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        file.write(lines.join(QLatin1Char('\n')).toUtf8());
        file.commit();
    }
}

} // namespace

QString coderLibraryFile()
{
    // Next to the program's other libraries; this plug-in is in bin/plugins/video/.
    Dl_info self;
    if (!dladdr(reinterpret_cast<const void*>(&coderLibraryFile), &self) || !self.dli_fname)
        return QString();
    const QString folder = QFileInfo(QFile::decodeName(self.dli_fname)).absolutePath();
    return QDir::cleanPath(folder + QStringLiteral("/../../../lib/libtovcoders.so"));
}

const CoderFunctions* coderFunctions(QString* error)
{
    static std::mutex mutex;
    static const CoderFunctions* functions = nullptr; // guarded by mutex
    std::lock_guard<std::mutex> guard(mutex);
    QString reason;
    if (!functions)
        functions = load(&reason);
    if (error)
        *error = reason;
    return functions;
}

void logUnloaded(const QString& error)
{
    tov::log::Logger::log(tov::log::LevelError, SourceFile, __LINE__, __func__, nullptr,
                          QStringLiteral("The video coders cannot be loaded: %1").arg(error));
}

QStringList availableFormats(bool tell)
{
    QStringList formats;
    const QString note = noteFile();
    if (readNote(note, &formats))
        return formats;
    QString error;
    const CoderFunctions* coders = coderFunctions(&error);
    if (!coders) {
        if (tell)
            logUnloaded(error);
        return QStringList();
    }
    formats = coders->availableFormats();
    writeNote(note, coders->libraryFiles(), formats);
    return formats;
}

} // namespace tov::plugins::video
