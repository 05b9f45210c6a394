// Registers an encoder, then reports that the registration failed.

#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"

extern "C" TOV_EXPORT bool doRegister()
{
    return false;
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("refuses"), QString(), QString(), QString()};
}
