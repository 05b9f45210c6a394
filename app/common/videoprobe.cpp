#include "app/common/videoprobe.h"

#include "app/common/encoderplugins.h"
#include "kernel/log/logger.h"

#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <system_error>

namespace tov::app {

namespace {

using ProbeFunction = int(const char*, const bool*, long long*, double*);
using JoinFunction = int(const char* const*, const long long*, int, const char*, const bool*);
using RetimeFunction = int(const char*, const bool*, const double*, long long, double);

/// Calls an exported function of the loaded plug-ins until one of them supports the file. Returns its result, and -1
/// when no plug-in supports the file. `task` names the call in the log.
template <typename Function, typename Call>
int callPlugins(const char* symbol, const QString& task, Call call)
{
    for (const EncoderPlugin& plugin : EncoderPlugin::loaded()) {
        Function* const function = plugin.function<Function>(symbol);
        if (!function)
            continue;
        try {
            const int result = call(function);
            if (result >= 0)
                return result;
        } catch (...) {
            tov::log::Logger::log(tov::log::LevelError, "app/videoprobe", __LINE__, symbol, nullptr,
                                  QStringLiteral("The plug-in '%1' cannot %2").arg(plugin.fileName(), task));
        }
    }
    return -1;
}

VideoProbe read(const QString& fileName, const bool* stop)
{
    VideoProbe probe;
    // Reading anything but a regular file could block.
    if (!QFileInfo(fileName).isFile())
        return probe;
    long long frames = -1;
    double seconds = 0;
    const int result = callPlugins<ProbeFunction>(
        "probeVideo", QStringLiteral("read '") + fileName + QLatin1Char('\''), [&](ProbeFunction* function) {
            return function(QFile::encodeName(fileName).constData(), stop, &frames, &seconds);
        });
    probe.isKnown = result >= 0;
    probe.readable = result > 0;
    if (probe.readable) {
        probe.frames = frames;
        probe.seconds = seconds;
    }
    return probe;
}

/// Makes a finished video of that many frames play as it was captured. False when the file stays as it is.
bool retime(const QString& fileName, qint64 frames, const FrameTimes& times, const bool* stop)
{
    const bool isComplete = qint64(times.starts.size()) == frames;
    return callPlugins<RetimeFunction>(
               "retimeVideo", QStringLiteral("retime '") + fileName + QLatin1Char('\''), [&](RetimeFunction* function) {
                   return function(QFile::encodeName(fileName).constData(), stop,
                                   isComplete ? times.starts.data() : nullptr, frames, times.seconds);
               }) > 0;
}

/// Reads the file, after changing its times.
VideoProbe readRetimed(const QString& fileName, const FrameTimes& times, const bool* stop)
{
    const VideoProbe probe = read(fileName, stop);
    if (!probe.readable || probe.frames <= 0 || !(times.seconds > 0) || !retime(fileName, probe.frames, times, stop))
        return probe;
    VideoProbe retimed = read(fileName, stop);
    if (retimed.readable && !(retimed.seconds > 0))
        retimed.seconds = times.seconds; // some formats do not store their length
    return retimed;
}

} // namespace

bool joinVideos(const QStringList& parts, const std::vector<qint64>& counts, const QString& output, const bool* stop)
{
    const QByteArray target = QFile::encodeName(output);
    std::vector<QByteArray> names;
    names.reserve(std::size_t(parts.size()));
    for (const QString& part : parts)
        names.push_back(QFile::encodeName(part));
    std::vector<const char*> pointers;
    pointers.reserve(names.size());
    for (const QByteArray& name : names)
        pointers.push_back(name.constData());
    const std::vector<long long> frames(counts.begin(), counts.end());
    return callPlugins<JoinFunction>("joinVideos", QStringLiteral("join '") + output + QLatin1Char('\''),
                                     [&](JoinFunction* function) {
                                         return function(pointers.data(), frames.empty() ? nullptr : frames.data(),
                                                         int(pointers.size()), target.constData(), stop);
                                     }) > 0;
}

bool copyVideo(const QString& from, const QString& to)
{
    const bool neverStops = false;
    return joinVideos({from}, {}, to, &neverStops);
}

VideoReading::VideoReading(const QString& fileName, const std::optional<FrameTimes>& times, QObject* parent)
    : QObject(parent), m_ChangesTimes(times.has_value())
{
    const auto work = [this, fileName, times] {
        const VideoProbe probe = times ? readRetimed(fileName, *times, &m_Stop) : read(fileName, &m_Stop);
        QMetaObject::invokeMethod(
            this, [this, probe] { emit done(probe); }, Qt::QueuedConnection);
    };
    try {
        m_Thread = std::thread(work);
    } catch (const std::system_error&) {
        work(); // the system provides no thread
    }
}

VideoReading::~VideoReading()
{
    if (!m_ChangesTimes)
        stop();
    if (m_Thread.joinable())
        m_Thread.join();
}

void VideoReading::stop()
{
    std::atomic_ref<bool>(m_Stop).store(true);
}

} // namespace tov::app
