// Linked against a library that nobody finds when this one is loaded.

#include "kernel/main/export.h"

extern "C" int absentFunction();

extern "C" TOV_EXPORT bool doRegister()
{
    return absentFunction() == 1;
}
