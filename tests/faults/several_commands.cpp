// Runs command texts one after the other in one process, whatever the result of the earlier ones. Prints the number of
// calls that were counted by the end of the start-up, then a line with the result of each command. usage:
// tov_several_commands MODEL TRAJECTORY TEXT...

#include "app/cli/session.h"
#include "kernel/commands/commandparser.h"

#include <cstdio>
#include <vector>

#include <dlfcn.h>

namespace {

/// Runs one command and prints its result.
void runCommand(tov::app::Session& session, const tov::main::CommandText& command)
{
    const tov::app::RunOutcome outcome = session.run(command.name, command.arguments);
    if (!outcome.isDone())
        session.getReporter().fail(outcome.reason);
    std::printf("%s\n", outcome.isDone() ? "ran" : "failed");
}

} // namespace

int main(int argc, char** argv)
{
    constexpr int Fps = 25;
    if (argc < 4)
        return 2;
    tov::app::prepareProcess();
    tov::app::Options options;
    options.values = {{QStringLiteral("quiet"), {QString()}}};
    tov::app::ViewRequest view;
    view.look.samples = 0;
    tov::app::MotionRequest motion;
    motion.kind = tov::app::MotionRequest::Kind::Trajectory;
    motion.file = QString::fromLocal8Bit(argv[2]);
    tov::app::Reporter reporter(options);
    tov::app::Session session(options, reporter, argc, argv);
    if (!session.showModels({QString::fromLocal8Bit(argv[1])}, view) || !session.showView(view, QString(), false))
        return 1;
    const auto calls = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "tov_fault_calls"));
    std::printf("%d\n", calls ? calls() : 0);
    for (int i = 3; i < argc; ++i) {
        std::vector<tov::main::CommandText> commands;
        QString error;
        if (!tov::main::CommandParser::parse(QString::fromLocal8Bit(argv[i]), commands, &error))
            return 2;
        // Each recording starts at the first position.
        if (!session.selectMotion(motion, view, Fps))
            return 1;
        for (const auto& command : commands)
            runCommand(session, command);
    }
    return 0;
}
