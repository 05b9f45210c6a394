#pragma once

#include "kernel/main/export.h"

#include <vector>

namespace tov::main {

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
