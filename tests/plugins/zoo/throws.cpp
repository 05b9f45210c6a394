// Throws in every function.

#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"

#include <stdexcept>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;

namespace {

Encoder* create(void*)
{
    throw std::runtime_error("in the factory");
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    VideoEncoder::getInstance()->registerEncoder(create, QStringLiteral("throws"), QStringLiteral("throws"), nullptr);
    throw std::runtime_error("in doRegister");
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    throw 5;
}
