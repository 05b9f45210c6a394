// A small complete encoder: copies every chunk to the output file as it is. Used by tests that need real files.

#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"
#include "tests/plugins/zoo/copying.h"

using tov::grab::video::VideoEncoder;

extern "C" TOV_EXPORT bool doRegister()
{
    VideoEncoder* registry = VideoEncoder::getInstance();
    return registry->registerEncoder(createCopying, QStringLiteral("raw"), QStringLiteral("Raw frames"), nullptr) &&
           registry->registerEncoder(createCopying, QStringLiteral("Two.Dots"), QStringLiteral("Raw frames, too"),
                                     nullptr);
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("rawcopy"), QStringLiteral("Copies frames"), QStringLiteral("1"), QStringLiteral("tests")};
}

/// The registry that this library sees; the whole process must have only one.
extern "C" TOV_EXPORT void* registrySeen()
{
    return VideoEncoder::getInstance();
}
