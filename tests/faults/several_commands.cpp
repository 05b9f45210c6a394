// Runs each command text in one process, whatever came of the ones before. A line on standard output for each says how
// it went, the first one how many calls had been counted when the start was over. usage: again MODEL FRAMES TEXT ...;
// FRAMES: of a turntable

#include "app/cli/session.h"
#include "kernel/commands/commandparser.h"

#include <cstdio>
#include <vector>

#include <dlfcn.h>

int main(int argc, char** argv)
{
    if (argc < 4)
        return 2;
    tov::app::prepareProcess();
    tov::app::Options options;
    options.values = {{QStringLiteral("quiet"), {QString()}},
                      {QStringLiteral("trajectory"), {QString::fromLocal8Bit(argv[2])}}};
    tov::app::Session session(options, argc, argv);
    if (!session.open({QString::fromLocal8Bit(argv[1])}, {}, false))
        return 1;
    const auto calls = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "tov_fault_calls"));
    std::printf("%d\n", calls ? calls() : 0);
    for (int i = 3; i < argc; ++i) {
        std::vector<tov::main::CommandText> commands;
        QString error;
        if (!tov::main::CommandParser::parse(QString::fromLocal8Bit(argv[i]), commands, &error))
            return 2;
        // A recording begins where the one before has ended.
        if (!session.openTrajectory())
            return 1;
        for (const auto& command : commands)
            std::printf("%s\n", session.run(command.name, command.arguments) ? "ran" : "failed");
    }
    return 0;
}
