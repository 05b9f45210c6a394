#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"
#include "plugins/video/common/lazyencoder.h"

using namespace tov::plugins::video;

namespace {

tov::grab::video::Encoder* createEncoder(void* format)
{
    return new LazyEncoder(static_cast<const Format*>(format));
}

/// The extensions of the registered formats with that property, then a null pointer.
const char* const* listFormatsWith(bool Format::*property, std::vector<const char*>& list)
{
    const QStringList available = availableFormats();
    list.clear();
    for (const Format& format : formats())
        if (format.*property && available.contains(QLatin1String(format.extension)))
            list.push_back(format.extension);
    list.push_back(nullptr);
    return list.data();
}

/// The coders, if this plug-in can read and write files with that ending; null for other files and when the coders
/// cannot be loaded.
const CoderFunctions* codersFor(const char* fileName)
{
    const QString name = QString::fromLocal8Bit(fileName);
    for (const char* known : {".mp4", ".mov", ".mkv", ".webm", ".avi", ".gif", ".apng", ".frames"})
        if (name.endsWith(QLatin1String(known), Qt::CaseInsensitive))
            return coderFunctions();
    return nullptr;
}

} // namespace

/// Registers every format that the FFmpeg libraries of this machine can write; true if any was registered.
extern "C" TOV_EXPORT bool doRegister()
{
    const QStringList available = availableFormats(true);
    bool any = false;
    for (const Format& format : formats())
        if (available.contains(QLatin1String(format.extension)))
            any = tov::grab::video::VideoEncoder::getInstance()->registerEncoder(
                      createEncoder, QString::fromLatin1(format.extension), QString::fromLatin1(format.description),
                      const_cast<Format*>(&format)) ||
                  any;
    return any;
}

/// The registered formats; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT const char* const* listVideoFormats()
{
    static std::vector<const char*> list;
    const QStringList available = availableFormats();
    list.clear();
    for (const Format& format : formats())
        if (available.contains(QLatin1String(format.extension)))
            list.insert(list.end(), {format.extension, format.description});
    list.push_back(nullptr);
    return list.data();
}

/// The registered formats that store transparency; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT const char* const* listAlphaFormats()
{
    static std::vector<const char*> list;
    return listFormatsWith(&Format::alpha, list);
}

/// The registered formats that are encoded for a bit rate; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT const char* const* listBitrateFormats()
{
    static std::vector<const char*> list;
    return listFormatsWith(&Format::rateControlled, list);
}

/// The registered formats that can be written to a pipe; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT const char* const* listStreamFormats()
{
    static std::vector<const char*> list;
    return listFormatsWith(&Format::streamed, list);
}

/// The files that the plug-in loads itself; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT QStringList getDependencies()
{
    return {tov::plugins::video::coderLibraryFile()};
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    const QStringList available = availableFormats();
    QString missing;
    for (const Format& format : formats())
        if (!available.contains(QLatin1String(format.extension)))
            missing += QStringLiteral(" %1 (%2)").arg(QLatin1String(format.extension), QLatin1String(format.codec));
    return {QStringLiteral("FFmpeg encoders"),
            QStringLiteral("Video formats by the FFmpeg libraries") +
                (missing.isEmpty() ? QString() : QStringLiteral("; missing here:") + missing),
            QStringLiteral(TOV_VERSION), QStringLiteral("the tov developers")};
}

/// Reads a finished file; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT int probeVideo(const char* fileName, const bool* stop, long long* frames, double* seconds)
{
    const CoderFunctions* coders = codersFor(fileName);
    return coders ? coders->probeVideo(fileName, stop, frames, seconds) : -1;
}

/// Changes the times of a finished file; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT int retimeVideo(const char* fileName, const bool* stop, const double* starts, long long count,
                                      double seconds)
{
    const CoderFunctions* coders = codersFor(fileName);
    return coders ? coders->retimeVideo(fileName, stop, starts, count, seconds) : -1;
}

/// Joins recordings; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT int joinVideos(const char* const* parts, const long long* counts, int partCount,
                                     const char* output, const bool* stop)
{
    const CoderFunctions* coders = codersFor(output);
    return coders ? coders->joinVideos(parts, counts, partCount, output, stop) : -1;
}
