// Command texts: whatever is read can be written down and read again as the same.

#include "kernel/main/commandparser.h"

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
    for (const CommandText& command : commands)
        for (const QString& value : command.arguments.positional) {
            std::vector<CommandText> again;
            if (!CommandParser::parse(QStringLiteral("x ") + CommandParser::quoted(value), again, &error))
                std::abort();
            if (again.size() != 1 || again[0].arguments.positional != QStringList{value})
                std::abort();
        }
    return 0;
}
