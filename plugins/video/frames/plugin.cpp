#include "grab/video/videoencoder.h"
#include "kernel/main/informationobject.h"
#include "plugins/video/common/framesencoder.h"
#include "plugins/video/common/pin.h"

using tov::plugins::video::FramesEncoder;

namespace {

tov::grab::video::Encoder* createEncoder(void*)
{
    return new FramesEncoder;
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    tov::plugins::video::pinLibraries();
    return FramesEncoder::isAvailable() && tov::grab::video::VideoEncoder::getInstance()->registerEncoder(
                                               createEncoder, QStringLiteral("frames"),
                                               QStringLiteral("Numbered PNG pictures and a list of them"), nullptr);
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("Numbered pictures"),
            QStringLiteral("A PNG for every frame, beside a list that players open"), QStringLiteral("0.1.0"),
            QStringLiteral("the tov developers")};
}
