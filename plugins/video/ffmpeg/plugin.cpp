#include "grab/video/videoencoder.h"
#include "kernel/main/informationobject.h"
#include "plugins/video/common/ffmpegencoder.h"
#include "plugins/video/common/pin.h"

using namespace tov::plugins::video;

namespace {

tov::grab::video::Encoder* createEncoder(void* format)
{
    return new FFmpegEncoder(*static_cast<const Format*>(format));
}

} // namespace

/// Registers every format that the FFmpeg libraries of this machine can make; true when there is any.
extern "C" TOV_EXPORT bool doRegister()
{
    pinLibraries();
    bool any = false;
    for (const Format& format : formats())
        if (isAvailable(format))
            any = tov::grab::video::VideoEncoder::getInstance()->registerEncoder(
                      createEncoder, QString::fromLatin1(format.extension), QString::fromLatin1(format.description),
                      const_cast<Format*>(&format)) ||
                  any;
    return any;
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    QString missing;
    for (const Format& format : formats())
        if (!isAvailable(format))
            missing += QStringLiteral(" %1 (%2)").arg(QLatin1String(format.extension), QLatin1String(format.codec));
    return {QStringLiteral("FFmpeg encoders"),
            QStringLiteral("Video formats by the FFmpeg libraries") +
                (missing.isEmpty() ? QString() : QStringLiteral("; missing here:") + missing),
            QStringLiteral("0.1.0"), QStringLiteral("the tov developers")};
}
