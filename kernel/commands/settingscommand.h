#pragma once

#include "kernel/commands/command.h"

namespace tov::main {

/// Base of commands that edit settings: listed in the settings dialog, run in place rather than cloned, neither undone
/// nor recorded.
class TOV_EXPORT SettingsCommand : public Command
{
public:
    SettingsCommand(CommandDescriptor* descriptor, CommandGUIDescriptor* guiDescriptor);
    ~SettingsCommand() override;
};

} // namespace tov::main
