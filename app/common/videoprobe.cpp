#include "app/common/videoprobe.h"

#include "app/common/installlayout.h"
#include "kernel/log/logger.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <atomic>
#include <memory>
#include <system_error>
#include <utility>

#include <dlfcn.h>
#include <link.h>

namespace tov::app {

namespace {

using ProbeFunction = int (*)(const char*, const bool*, long long*, double*);
using JoinFunction = int (*)(const char* const*, const long long*, int, const char*, const bool*);
using RetimeFunction = int (*)(const char*, const bool*, const double*, long long, double);

struct Closer
{
    void operator()(void* library) const { dlclose(library); }
};
/// As long as it is held, the library stays loaded.
using Library = std::unique_ptr<void, Closer>;

/// The files that are loaded from the encoders' folder. A plug-in that is not loaded is none that could be asked.
QStringList loadedPlugins()
{
    QStringList loaded;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* found) {
            static_cast<QStringList*>(found)->append(QFile::decodeName(info->dlpi_name));
            return 0;
        },
        &loaded);
    const QString folder = QFileInfo(InstallLayout::videoPlugins()).canonicalFilePath();
    QStringList result;
    for (const QString& file : std::as_const(loaded))
        if (!folder.isEmpty() && file.startsWith(QLatin1Char('/')) && QFileInfo(file).canonicalPath() == folder)
            result << file;
    return result;
}

VideoProbe read(const QString& fileName, const bool* stop)
{
    VideoProbe probe;
    // Whatever else has a name can make its reader wait.
    if (!QFileInfo(fileName).isFile())
        return probe;
    for (const QString& file : loadedPlugins()) {
        const Library library(dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD));
        const auto ask = reinterpret_cast<ProbeFunction>(library ? dlsym(library.get(), "probeVideo") : nullptr);
        if (!ask)
            continue;
        long long frames = -1;
        double seconds = 0;
        int answer = -1;
        try {
            answer = ask(QFile::encodeName(fileName).constData(), stop, &frames, &seconds);
        } catch (...) {
            tov::log::Logger::log(tov::log::LevelError, "app/videoprobe", __LINE__, __func__, nullptr,
                                  QStringLiteral("The plug-in '%1' failed to read '%2'").arg(file, fileName));
        }
        if (answer < 0)
            continue;
        probe.asked = true;
        probe.readable = answer > 0;
        if (probe.readable) {
            probe.frames = frames;
            probe.seconds = seconds;
        }
        break;
    }
    return probe;
}

} // namespace

bool retimeVideo(const QString& fileName, qint64 frames, double seconds)
{
    const bool neverStops = false;
    for (const QString& file : loadedPlugins()) {
        const Library library(dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD));
        const auto retime = reinterpret_cast<RetimeFunction>(library ? dlsym(library.get(), "retimeVideo") : nullptr);
        if (!retime)
            continue;
        try {
            const int answer = retime(QFile::encodeName(fileName).constData(), &neverStops, nullptr, frames, seconds);
            if (answer >= 0)
                return answer > 0;
        } catch (...) {
            tov::log::Logger::log(tov::log::LevelError, "app/videoprobe", __LINE__, __func__, nullptr,
                                  QStringLiteral("The plug-in '%1' failed to retime '%2'").arg(file, fileName));
            return false;
        }
    }
    return false;
}

bool copyVideo(const QString& from, const QString& to)
{
    const bool neverStops = false;
    const QByteArray source = QFile::encodeName(from), target = QFile::encodeName(to);
    const char* const parts[] = {source.constData()};
    for (const QString& file : loadedPlugins()) {
        const Library library(dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD));
        const auto join = reinterpret_cast<JoinFunction>(library ? dlsym(library.get(), "joinVideos") : nullptr);
        if (!join)
            continue;
        try {
            const int answer = join(parts, nullptr, 1, target.constData(), &neverStops);
            if (answer >= 0)
                return answer > 0;
        } catch (...) {
            tov::log::Logger::log(tov::log::LevelError, "app/videoprobe", __LINE__, __func__, nullptr,
                                  QStringLiteral("The plug-in '%1' failed to copy '%2'").arg(file, from));
            return false;
        }
    }
    return false;
}

VideoReading::VideoReading(const QString& fileName, QObject* parent) : QObject(parent)
{
    const auto work = [this, fileName] {
        const VideoProbe probe = read(fileName, &m_Stop);
        QMetaObject::invokeMethod(
            this, [this, probe] { emit done(probe); }, Qt::QueuedConnection);
    };
    try {
        m_Thread = std::thread(work);
    } catch (const std::system_error&) {
        work(); // no thread to be had
    }
}

VideoReading::~VideoReading()
{
    stop();
    if (m_Thread.joinable())
        m_Thread.join();
}

void VideoReading::stop()
{
    std::atomic_ref<bool>(m_Stop).store(true);
}

} // namespace tov::app
