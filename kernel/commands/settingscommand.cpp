#include "kernel/commands/settingscommand.h"

namespace tov::main {

SettingsCommand::SettingsCommand(CommandDescriptor* descriptor, CommandGUIDescriptor* guiDescriptor)
    : Command(descriptor, guiDescriptor)
{
    setUndoable(false);
    setRecordedInMacros(false);
    setInstanceMode(RunPrototype);
}

SettingsCommand::~SettingsCommand() = default;

} // namespace tov::main
