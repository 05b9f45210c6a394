#include "kernel/modules/module.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/modulefactory.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"

#include <algorithm>

const int tovModuleAbi1 = 1;

namespace tov::main {

Module::Module(InformationObject* information) : mp_Information(information)
{
    ModuleManager::getInstance()->add(this);
}

Module::~Module()
{
    deleteCommands();
    ModuleManager::getInstance()->remove(this);
}

void Module::registerCommand(Command* command)
{
    m_Commands.push_back(command);
}

Module::GUIDescriptions& Module::getGUIDescriptions()
{
    return m_GUIDescriptions;
}

InformationObject* Module::getInformationObject() const
{
    return mp_Information;
}

const std::vector<Command*>& Module::getCommands() const
{
    return m_Commands;
}

void Module::deleteCommands()
{
    if (m_Commands.empty())
        return;
    CommandProcessor* processor = Overseer::getInstance()->getCommandProcessor();
    std::vector<Command*> commands;
    commands.swap(m_Commands);
    for (auto it = commands.rbegin(); it != commands.rend(); ++it) {
        if (processor)
            processor->destroyCommand(*it);
        else
            delete *it; // after the end of the Overseer, none of their work is pending
    }
}

ModuleFactory::ModuleFactory() = default;

ModuleFactory::~ModuleFactory()
{
    delete mp_Information;
    mp_Information = nullptr;
}

bool ModuleFactory::registerPrimaryCommand(Command* (*create)())
{
    m_PrimaryCommands.push_back(create);
    return true;
}

const std::vector<Command* (*)()>& ModuleFactory::getPrimaryCommands() const
{
    return m_PrimaryCommands;
}

InformationObject* ModuleFactory::getInformationObject() const
{
    return mp_Information;
}

ModuleManager* ModuleManager::getInstance()
{
    static ModuleManager* instance = new ModuleManager;
    return instance;
}

Module* ModuleManager::getModule(const QString& name) const
{
    for (auto it = m_Modules.rbegin(); it != m_Modules.rend(); ++it)
        if ((*it)->getInformationObject() && (*it)->getInformationObject()->getName() == name)
            return *it;
    return nullptr;
}

const std::vector<Module*>& ModuleManager::getModules() const
{
    return m_Modules;
}

void ModuleManager::add(Module* module)
{
    m_Modules.push_back(module);
}

void ModuleManager::remove(Module* module)
{
    m_Modules.erase(std::remove(m_Modules.begin(), m_Modules.end(), module), m_Modules.end());
}

} // namespace tov::main
