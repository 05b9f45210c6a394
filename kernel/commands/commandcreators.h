#pragma once

#include <QString>

namespace tov::main {

class Command;

/// The creation functions of the primary commands, by command name. They make clones without knowing the processor.
/// Thread: application.
class CommandCreators
{
public:
    /// Adds a command's creation function. `prototype` is the key for `remove`.
    static void add(const Command* prototype, const QString& name, Command* (*create)());
    /// Removes the creation function that was added with this prototype.
    static void remove(const Command* prototype);
    /// A new command; the caller owns it. Null when the name (in any case) is unknown. With several commands of a name,
    /// the one that was added first counts.
    static Command* create(const QString& name);
};

} // namespace tov::main
