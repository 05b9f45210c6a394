#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace tov::main {

class ParameterSet;

/// The arguments of a command text: positional ones, then named ones.
struct CommandArguments
{
    QStringList positional;
    std::vector<std::pair<QString, QString>> named;
};

/// Gives every parameter of `set` (null = no parameters) its argument, else its GUI default, else its default text. An
/// optional parameter without any of them gets no value. Returns false on the first problem: too many arguments, an
/// unknown or repeated name, a text that cannot be converted, a missing mandatory argument. `error` (if not null) is
/// then one line that starts with the command's name; some parameters may have been changed. Thread: application or
/// command.
bool assignArguments(const CommandArguments& arguments, const QString& commandName, ParameterSet* set, QString* error);

} // namespace tov::main
