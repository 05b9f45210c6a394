#include "grab/module/events.h"
#include "grab/module/modulegrab.h"

using tov::grab::ModuleGrab;

/// The module's factory, made at first use. Called by the host right after it has loaded the library.
extern "C" TOV_EXPORT tov::main::ModuleFactory* getFactory()
{
    return ModuleGrab::ModuleGrabFactory::getInstance();
}

/// Destroys the factory; where there is none, one is made and destroyed at once. Called by the host right before it
/// unloads the library.
extern "C" TOV_EXPORT void recycleFactory()
{
    tov::main::ModuleFactory* factory = ModuleGrab::ModuleGrabFactory::getInstance();
    if (factory)
        delete factory;
}
