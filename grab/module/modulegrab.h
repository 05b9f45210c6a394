#pragma once

#include "kernel/main/export.h"
#include "kernel/modules/module.h"
#include "kernel/modules/modulefactory.h"

namespace tov::grab {

/// The module "Grab": pictures and videos of the scene. Thread: application.
class TOV_EXPORT ModuleGrab : public tov::main::Module
{
public:
    class TOV_EXPORT ModuleGrabFactory;

    /// `information` stays the factory's.
    explicit ModuleGrab(tov::main::InformationObject* information);
    /// Takes the event types back and destroys the encoder registry.
    ~ModuleGrab() override;

    /// Always true.
    bool canBeLoaded() override;
    /// Reports two messages to `progress` and loads the video encoder plug-ins. `progress` must not be empty.
    void initialize(const Progress& progress) override;
    /// Nothing is to be done here, on purpose.
    void finalize() override;
};

/// Makes `ModuleGrab` objects. One a library, made at first use.
class TOV_EXPORT ModuleGrab::ModuleGrabFactory : public tov::main::ModuleFactory
{
public:
    /// The factory of this library. Not locked: libraries are loaded on one thread. Thread: application.
    static ModuleGrabFactory* getInstance();

    ModuleGrabFactory();
    /// Takes the resources back and clears the instance.
    ~ModuleGrabFactory() override;
    /// A new `ModuleGrab` with the factory's information object; the caller owns it.
    tov::main::Module* createModule() override;
};

} // namespace tov::grab
