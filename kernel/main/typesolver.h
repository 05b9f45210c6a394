#pragma once

#include "kernel/main/export.h"

namespace tov::main {

class AbstractParameter;

/// Gives a local parameter of a command the value of a provided one.
class TOV_EXPORT TypeSolver
{
public:
    /// No provided parameter or value: false. Same type: the local parameter shares the value and does not own it.
    /// Otherwise the value is converted through its text, and the local parameter owns the result; false when that
    /// fails. The caller finally calls `deleteValue` on the local parameter. Thread: any.
    static bool solve(AbstractParameter* local, AbstractParameter* provided);
    /// The same for a local parameter that is not a pointer.
    static bool solve(AbstractParameter& local, AbstractParameter* provided) { return solve(&local, provided); }
};

} // namespace tov::main
