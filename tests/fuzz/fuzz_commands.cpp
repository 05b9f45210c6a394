// Command texts: every text that is accepted can be written and read back unchanged.

#include "kernel/commands/commandparser.h"

#include <cstdlib>

using tov::main::CommandParser;
using tov::main::CommandText;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    std::vector<CommandText> commands;
    QString error;
    if (!CommandParser::parse(QString::fromUtf8(reinterpret_cast<const char*>(data), int(size)), commands, &error)) {
        if (!error.startsWith(QLatin1String("line ")) || error.contains(QLatin1Char('\n')))
            std::abort();
        return 0;
    }
    QStringList values;
    QString text = QStringLiteral("x");
    for (const CommandText& command : commands)
        for (const QString& value : command.arguments.positional) {
            values << value;
            text += QLatin1Char(' ') + CommandParser::quoted(value);
        }
    if (!CommandParser::parse(text, commands, &error) || commands.size() != 1 ||
        commands[0].arguments.positional != values)
        std::abort();
    return 0;
}
