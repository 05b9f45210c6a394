#pragma once

#include "kernel/main/abstractparameter.h"

namespace tov::commands::grab {

/// Deletes a command's local parameter value at the end of the scope.
class LocalValue
{
public:
    explicit LocalValue(tov::main::AbstractParameter& parameter) : m_Parameter(parameter) {}
    LocalValue(const LocalValue&) = delete;
    LocalValue& operator=(const LocalValue&) = delete;
    ~LocalValue() { m_Parameter.deleteValue(); }

private:
    tov::main::AbstractParameter& m_Parameter;
};

} // namespace tov::commands::grab
