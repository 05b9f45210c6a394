// Lists of formats that do not agree with what it registers.

#include "grab/video/videoencoder.h"
#include "tests/plugins/zoo/copying.h"

#include <stdexcept>

using tov::grab::video::VideoEncoder;

extern "C" TOV_EXPORT bool doRegister()
{
    return VideoEncoder::getInstance()->registerEncoder(createCopying, QStringLiteral("listed"),
                                                        QStringLiteral("Raw frames"), nullptr);
}

extern "C" TOV_EXPORT const char* const* listAlphaFormats()
{
    static const char* const list[] = {"listed", "absent", nullptr};
    return list;
}

extern "C" TOV_EXPORT const char* const* listStreamFormats()
{
    throw std::runtime_error("in a list");
}
