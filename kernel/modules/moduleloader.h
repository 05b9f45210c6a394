#pragma once

#include "kernel/main/export.h"
#include "kernel/modules/module.h"

#include <QString>

#include <memory>
#include <vector>

namespace tov::main {

/// Why a file was not loaded, for "About modules" and `tov modules`.
struct LoadFailure
{
    QString fileName;
    QString reason;
};

/// Loads and unloads modules from shared libraries. A module that cannot be loaded, lacks an entry point or rejects
/// loading (`canBeLoaded`) is logged, listed in `getFailures` and skipped. Thread: application.
class TOV_EXPORT ModuleLoader
{
public:
    ModuleLoader();
    ModuleLoader(const ModuleLoader&) = delete;
    ModuleLoader& operator=(const ModuleLoader&) = delete;
    /// Unloads what is still loaded.
    ~ModuleLoader();

    /// Loads every shared library in `folder`, by name. `progress` must not be empty.
    void loadFolder(const QString& folder, const Module::Progress& progress);
    /// Loads one library: its static registrations, `getFactory`, `createModule`, `canBeLoaded`, `initialize`, then one
    /// prototype of each primary command. Null on failure. The loader owns the module.
    Module* loadFile(const QString& fileName, const Module::Progress& progress);
    /// Stops the modules' running commands, then `finalize`, commands deleted, module deleted, `recycleFactory`,
    /// library unloaded; modules in reverse order of loading.
    void unloadAll();

    /// The loaded modules, in the order of loading; owned by the loader.
    const std::vector<Module*>& getModules() const;
    /// The libraries that could not be loaded, each with the reason.
    const std::vector<LoadFailure>& getFailures() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::main
