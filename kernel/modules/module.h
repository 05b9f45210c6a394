#pragma once

#include "kernel/main/export.h"
#include "kernel/modules/menuandtoolbarmanager.h"

#include <QString>

#include <boost/function.hpp>

#include <map>
#include <vector>

namespace tov::main {

class Command;
class InformationObject;

/// A loaded module. Derived classes come from shared libraries; the host creates them through their `ModuleFactory`.
/// Everything here runs on the application thread.
class TOV_EXPORT Module
{
public:
    /// Takes status messages for the start-up screen. Must not be empty when called.
    typedef boost::function<void(const QString&)> Progress;
    /// Placement kind (`MenuAndToolbarManager::Kind`) to group name to position.
    typedef std::map<int, std::map<QString, MenuAndToolbarManager::Position>> GUIDescriptions;

    /// The factory keeps the ownership of `information`. Makes the module known to the `ModuleManager` under the
    /// information's name.
    explicit Module(InformationObject* information);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    /// Removes it from the `ModuleManager`; until here the module finds itself by name. Deletes its remaining
    /// commands.
    virtual ~Module();

    /// Takes over a prototype of one of the module's primary commands.
    virtual void registerCommand(Command* command);
    /// The groups of menus, tool bars and settings for the module's commands.
    virtual GUIDescriptions& getGUIDescriptions();
    /// False when the module cannot work here; it is then reported and skipped.
    virtual bool canBeLoaded() = 0;
    /// Starts the module. `progress` takes status messages.
    virtual void initialize(const Progress& progress) = 0;
    /// Ends the module's work before its commands and the module itself are destroyed.
    virtual void finalize() = 0;

    /// The module's description; owned by the factory.
    InformationObject* getInformationObject() const;
    /// The prototypes, in registration order, owned by the module.
    const std::vector<Command*>& getCommands() const;
    /// Destroys the prototypes (after everything that they submitted has run). The module loader calls it before it
    /// destroys the module.
    void deleteCommands();

protected:
    GUIDescriptions m_GUIDescriptions;

private:
    InformationObject* mp_Information; ///< owned by the factory
    std::vector<Command*> m_Commands;  ///< owned
};

} // namespace tov::main
