// Registers one extension twice, the second time in upper case, and reports whether both succeeded.

#include "grab/video/videoencoder.h"

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;

namespace {

Encoder* none(void*)
{
    return nullptr;
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    VideoEncoder* registry = VideoEncoder::getInstance();
    const bool first = registry->registerEncoder(none, QStringLiteral("twice"), QStringLiteral("first"), nullptr);
    const bool second = registry->registerEncoder(none, QStringLiteral("TWICE"), QStringLiteral("second"), nullptr);
    return first && !second;
}
