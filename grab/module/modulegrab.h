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

    /// `information` is owned by the factory.
    explicit ModuleGrab(tov::main::InformationObject* information);
    /// Unregisters the event types and destroys the encoder registry.
    ~ModuleGrab() override;

    /// Always true.
    bool canBeLoaded() override;
    /// Reports two messages to `progress`, which must not be empty, and loads the video encoder plug-ins.
    void initialize(const Progress& progress) override;
    /// Does nothing, on purpose.
    void finalize() override;
};

/// Creates `ModuleGrab` objects. There is one per library, created on first use.
class TOV_EXPORT ModuleGrab::ModuleGrabFactory : public tov::main::ModuleFactory
{
public:
    /// The factory of this library. Needs no lock: libraries are loaded on one thread. Thread: application.
    static ModuleGrabFactory* getInstance();

    /// Registers the module's resources. Thread: application.
    ModuleGrabFactory();
    /// Unregisters the resources and clears the instance.
    ~ModuleGrabFactory() override;
    /// A new `ModuleGrab` with the factory's information object; the caller owns it.
    tov::main::Module* createModule() override;
};

} // namespace tov::grab
