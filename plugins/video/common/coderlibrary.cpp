#include "plugins/video/common/coderlibrary.h"

#include "kernel/log/logger.h"
#include "kernel/util/cache.h"
#include "kernel/util/elffile.h"
#include "kernel/util/filestamp.h"
#include "kernel/util/libraryfile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <mutex>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace tov::plugins::video {

namespace {

const char* const SourceFile = "plugins/video/common/coderlibrary";
/// Increased when the meaning of the entries in the cache changes.
const QString CacheVersion = QStringLiteral("1");
const QString FormatsKey = QStringLiteral("formats");
/// Changes when any library of the machine is installed, updated or removed.
const QString LoaderList = QStringLiteral("/etc/ld.so.cache");
/// The coders, FFmpeg's codecs, FFmpeg's file formats, the loader's list.
constexpr int DecidingFiles = 4;

/// Some libraries end the process when no descriptor is free while they are loaded.
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
    // Loading a truncated file would crash the process.
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

/// Name of the file in the cache; empty if the dynamic loader is configured by the environment.
QString cacheName()
{
    for (const char* name : {"LD_PRELOAD", "LD_LIBRARY_PATH", "LD_AUDIT"})
        if (!qEnvironmentVariableIsEmpty(name))
            return QString();
    // Several installations have a file each.
    const QByteArray place = QCryptographicHash::hash(QFile::encodeName(coderLibraryFile()), QCryptographicHash::Sha1);
    return QStringLiteral("video-formats-") + QString::fromLatin1(place.toHex().left(16));
}

/// The cached formats. False when nothing is cached, or a file has changed that determines which formats are available.
bool readFormats(QStringList* formats)
{
    const QString name = cacheName();
    if (name.isEmpty())
        return false;
    tov::util::CacheEntries entries = tov::util::readCache(name, CacheVersion);
    *formats = entries.take(FormatsKey).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (entries.size() != DecidingFiles || !entries.contains(coderLibraryFile()) || !entries.contains(LoaderList))
        return false;
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
        if (entry.value().isEmpty() || tov::util::FileStamp(entry.key()).toString() != entry.value())
            return false;
    return true;
}

/// Failures are ignored: the formats are determined again at the next start.
void writeFormats(const QStringList& libraries, const QStringList& formats)
{
    const QString name = cacheName();
    tov::util::CacheEntries entries{{FormatsKey, formats.join(QLatin1Char(' '))}};
    for (const QString& file : QStringList{coderLibraryFile(), LoaderList} + libraries)
        entries[file] = tov::util::FileStamp(file).toString();
    if (!name.isEmpty() && entries.size() == DecidingFiles + 1)
        tov::util::writeCache(name, CacheVersion, entries);
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

QStringList availableFormats(bool logFailure)
{
    QStringList formats;
    if (readFormats(&formats))
        return formats;
    QString error;
    const CoderFunctions* coders = coderFunctions(&error);
    if (!coders) {
        if (logFailure)
            logUnloaded(error);
        return QStringList();
    }
    formats = coders->availableFormats();
    writeFormats(coders->libraryFiles(), formats);
    return formats;
}

} // namespace tov::plugins::video
