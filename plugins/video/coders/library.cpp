// The library's interface to the plug-ins; see CoderFunctions.

#include "kernel/log/logger.h"
#include "kernel/main/export.h"
#include "plugins/video/coders/ffmpegcoder.h"
#include "plugins/video/coders/framescoder.h"
#include "plugins/video/coders/videoedit.h"
#include "plugins/video/coders/videofacts.h"
#include "plugins/video/common/coderlibrary.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <QFile>
#include <QFileInfo>

#include <new>
#include <vector>

#include <dlfcn.h>

namespace tov::plugins::video {

namespace {

/// FFmpeg's error messages are logged.
void onFFmpegMessage(void* context, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_ERROR)
        return;
    char line[1024];
    int prefix = 1;
    av_log_format_line2(context, level, format, arguments, line, sizeof line, &prefix);
    tov::log::Logger::log(tov::log::LevelInformation, "plugins/video/ffmpeg", __LINE__, "ffmpeg", nullptr,
                          QString::fromUtf8(line).trimmed());
}

/// Set as soon as the library is loaded.
[[maybe_unused]] const bool messagesTaken = (av_log_set_callback(onFFmpegMessage), true);

Coder* createFFmpegCoder(const Format& format)
{
    return new FFmpegCoder(format);
}

Coder* createFramesCoder()
{
    return new FramesCoder;
}

QStringList available()
{
    QStringList result;
    for (const Format& format : formats())
        if (FFmpegCoder::isAvailable(format))
            result << QLatin1String(format.extension);
    if (FramesCoder::isAvailable())
        result << QStringLiteral("frames");
    return result;
}

QStringList libraryFiles()
{
    QStringList result;
    for (const void* function :
         {reinterpret_cast<const void*>(&avcodec_version), reinterpret_cast<const void*>(&avformat_version)}) {
        Dl_info info;
        if (!dladdr(function, &info) || !info.dli_fname)
            return QStringList();
        // The link's target carries the full version.
        result << QFileInfo(QFile::decodeName(info.dli_fname)).canonicalFilePath();
    }
    return result;
}

/// 1, or 0 and a record of the problem.
int report(const char* function, const char* what, const char* fileName, const QString& problem)
{
    if (problem.isEmpty())
        return 1;
    tov::log::Logger::log(tov::log::LevelError, "plugins/video/ffmpeg", __LINE__, function, nullptr,
                          QLatin1String(what) + QStringLiteral(" '") + QString::fromLocal8Bit(fileName) +
                              QStringLiteral("': ") + problem);
    return 0;
}

int retimeVideo(const char* fileName, const bool* stop, const double* starts, long long count, double seconds)
{
    QString problem;
    try {
        const Timing timing{starts ? std::vector<double>(starts, starts + count) : std::vector<double>(), seconds};
        problem = retimeFile(QString::fromLocal8Bit(fileName), timing, stop);
    } catch (const std::bad_alloc&) {
        problem = QStringLiteral("there is not enough memory");
    }
    return report(__func__, "cannot change the times of", fileName, problem);
}

int joinVideos(const char* const* parts, const long long* counts, int partCount, const char* output, const bool* stop)
{
    QString problem;
    try {
        QStringList names;
        for (int i = 0; i < partCount; ++i)
            names << QString::fromLocal8Bit(parts[i]);
        const std::vector<qint64> wanted =
            counts ? std::vector<qint64>(counts, counts + partCount) : std::vector<qint64>();
        problem = joinFiles(names, wanted, QString::fromLocal8Bit(output), stop);
    } catch (const std::bad_alloc&) {
        problem = QStringLiteral("there is not enough memory");
    }
    return report(__func__, "cannot join", output, problem);
}

} // namespace

} // namespace tov::plugins::video

extern "C" TOV_EXPORT const tov::plugins::video::CoderFunctions tovCoderFunctions2 = {
    tov::plugins::video::createFFmpegCoder, tov::plugins::video::createFramesCoder, tov::plugins::video::available,
    tov::plugins::video::libraryFiles,      tov::plugins::video::probeVideo,        tov::plugins::video::retimeVideo,
    tov::plugins::video::joinVideos};
