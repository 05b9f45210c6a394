// Calls what nobody has.

void nobodyHasThis();
extern "C" __attribute__((visibility("default"))) bool doRegister()
{
    nobodyHasThis();
    return true;
}
