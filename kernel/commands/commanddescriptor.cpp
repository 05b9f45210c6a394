#include "kernel/commands/commanddescriptor.h"

namespace tov::main {

CommandDescriptor::CommandDescriptor(const QString& name, const QString& description)
    : m_Name(name), m_Description(description)
{}

CommandDescriptor::~CommandDescriptor() = default;

CommandGUIDescriptor::CommandGUIDescriptor(int flag, const QString& group, MenuAndToolbarManager::Position position,
                                           const QString& commandName, const QString& label, QIcon* icon)
    : m_Flag(flag), m_Group(group), m_Position(position), m_CommandName(commandName), m_Label(label), mp_Icon(icon)
{}

CommandGUIDescriptor::~CommandGUIDescriptor() = default;

} // namespace tov::main
