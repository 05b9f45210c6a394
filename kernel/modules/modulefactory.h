#pragma once

#include "kernel/main/export.h"

#include <vector>

/// The interface between host and modules, by number; every module refers to the one that it was built with, so that
/// one built for another is an ordinary load failure.
extern "C" TOV_EXPORT const int tovModuleAbi1;

namespace tov::main {

namespace {
[[gnu::used]] const int* const moduleAbi = &tovModuleAbi1;
} // namespace

class Command;
class InformationObject;
class Module;

/// What a module's library exports through `getFactory`: creates the module and knows its primary commands.
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
    const std::vector<Command* (*)()>& getPrimaryCommands() const;
    InformationObject* getInformationObject() const;

protected:
    InformationObject* mp_Information = nullptr; ///< owned, set by the derived constructor

private:
    std::vector<Command* (*)()> m_PrimaryCommands;
};

} // namespace tov::main
