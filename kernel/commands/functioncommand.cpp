#include "kernel/commands/functioncommand.h"

namespace tov::main {

FunctionCommand::FunctionCommand(const boost::function<void()>& function, bool deleteAfterRun,
                                 CommandDescriptor* descriptor)
    : Command(descriptor, nullptr), m_Function(function)
{
    setInstanceMode(RunOnce);
    setOneShot(deleteAfterRun);
    setUndoable(false);
    setRecordedInMacros(false);
}

FunctionCommand::~FunctionCommand() = default;

void FunctionCommand::execute()
{
    m_Function();
}

} // namespace tov::main
