#include "grab/module/events.h"
#include "grab/module/modulegrab.h"

using tov::grab::ModuleGrab;

/// The module's factory, created on first use. The host calls this right after it has loaded the library.
extern "C" TOV_EXPORT tov::main::ModuleFactory* getFactory()
{
    return ModuleGrab::ModuleGrabFactory::getInstance();
}

/// Destroys the factory; if there is none, creates one and destroys it at once. The host calls this right before it
/// unloads the library.
extern "C" TOV_EXPORT void recycleFactory()
{
    tov::main::ModuleFactory* factory = ModuleGrab::ModuleGrabFactory::getInstance();
    if (factory)
        delete factory;
}
