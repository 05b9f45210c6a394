#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <vector>

namespace tov::main {

class Module;

/// The registry of the loaded modules, by name. Thread: application.
class TOV_EXPORT ModuleManager
{
public:
    /// The manager of the process; never null.
    static ModuleManager* getInstance();
    /// The module of that name, or null. The newest one when several have it.
    Module* getModule(const QString& name) const;
    /// All modules in the order of their creation.
    const std::vector<Module*>& getModules() const;

private:
    friend class Module;
    void add(Module* module);
    void remove(Module* module);
    std::vector<Module*> m_Modules;
};

} // namespace tov::main
