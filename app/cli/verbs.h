#pragma once

#include "app/cli/options/options.h"

namespace tov::app {

/// The exit statuses of the program.
enum ExitStatus
{
    ExitDone = 0,
    ExitFailed = 1,
    ExitUsage = 2,
    ExitInterrupted = 130,
};

/// Runs a verb and returns the exit status. `argc` and `argv` are those of `main`. Thread: application.
int runVerb(const Options& options, int& argc, char** argv);

// The verbs, each in a file of its own. They return the exit status.
int runImage(const Options& options, int& argc, char** argv);
int runVideo(const Options& options, int& argc, char** argv);
int runScript(const Options& options, int& argc, char** argv);
int runInfo(const Options& options, int& argc, char** argv);
int runCommands(const Options& options, int& argc, char** argv);
int runEncoders(const Options& options, int& argc, char** argv);
int runModules(const Options& options, int& argc, char** argv);

} // namespace tov::app
