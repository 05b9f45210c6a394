#pragma once

#include "kernel/commands/commandarguments.h"
#include "kernel/main/export.h"

#include <QString>

#include <vector>

namespace tov::main {

/// One command of a script: `name arg arg name=value ...`.
struct CommandText
{
    QString name;
    CommandArguments arguments;
    int line = 1; ///< line of the script on which it begins, from 1
};

/// Reads the command language: one command per line; words separated by blanks; `"..."` and `'...'` quote (double
/// quotes know the escapes `\"`, `\\`, `\n`, `\t`); `name=value` names an argument; `#` begins a comment outside
/// quotes; empty lines do nothing but are counted. Thread: any.
class TOV_EXPORT CommandParser
{
public:
    /// Reads a whole script. On failure returns false and sets `error` to one line that begins with "line N: ".
    static bool parse(const QString& script, std::vector<CommandText>& commands, QString* error);
    /// Writes a value so that `parse` reads it back as one word.
    static QString quoted(const QString& value);
};

} // namespace tov::main
