// Linked against a library that is missing when this one is loaded.

#include "kernel/main/export.h"

extern "C" int absentFunction();

extern "C" TOV_EXPORT bool doRegister()
{
    return absentFunction() == 1;
}
