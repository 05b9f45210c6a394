#pragma once

#include "kernel/main/export.h"

#include <vector>

/// The version of the interface between host and modules. Every module refers to the version that it was built with, so
/// that a module built for another version fails to load.
extern "C" TOV_EXPORT const int tovModuleAbi1;

namespace tov::main {

namespace {
[[gnu::used]] const int* const moduleAbi = &tovModuleAbi1;
} // namespace

class Command;
class InformationObject;
class Module;

/// Creates a module and knows its primary commands. A module's library exports it through `getFactory`.
/// Thread: application.
class TOV_EXPORT ModuleFactory
{
public:
    ModuleFactory();
    ModuleFactory(const ModuleFactory&) = delete;
    ModuleFactory& operator=(const ModuleFactory&) = delete;
    /// Deletes the information object.
    virtual ~ModuleFactory();
    /// A new module; the caller owns it.
    virtual Module* createModule() = 0;

    /// Adds the creation function of a command; called while the library is loaded. Order is kept. Always true, so that
    /// it can initialise a static.
    bool registerPrimaryCommand(Command* (*create)());
    /// The creation functions of the commands, in the order of registration.
    const std::vector<Command* (*)()>& getPrimaryCommands() const;
    /// The module's description; owned by the factory.
    InformationObject* getInformationObject() const;

protected:
    InformationObject* mp_Information = nullptr; ///< owned, set by the derived constructor

private:
    std::vector<Command* (*)()> m_PrimaryCommands;
};

} // namespace tov::main
