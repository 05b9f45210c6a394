// Describes itself, registers nothing.

#include "kernel/main/export.h"
#include "kernel/modules/informationobject.h"

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("onlyinfos"), QStringLiteral("d"), QStringLiteral("v"), QStringLiteral("a")};
}
