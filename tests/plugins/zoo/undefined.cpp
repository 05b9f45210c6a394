// Calls a function that no library defines.

void nobodyHasThis();
extern "C" __attribute__((visibility("default"))) bool doRegister()
{
    nobodyHasThis();
    return true;
}
