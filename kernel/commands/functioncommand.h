#pragma once

#include "kernel/commands/command.h"

#include <boost/function.hpp>

namespace tov::main {

/// A command around a function.
class TOV_EXPORT FunctionCommand : public Command
{
public:
    /// `deleteAfterRun`: the processor deletes the object when it has run. `descriptor` may be null.
    FunctionCommand(const boost::function<void()>& function, bool deleteAfterRun,
                    CommandDescriptor* descriptor = nullptr);
    ~FunctionCommand() override;
    void execute() override;

private:
    boost::function<void()> m_Function;
};

} // namespace tov::main
