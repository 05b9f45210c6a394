#pragma once

#include "app/cli/options.h"

namespace tov::app {

/// Runs a verb; returns the exit status: 0 done, 1 failed, 2 wrong usage, 130 stopped by Ctrl-C. `argc` and `argv` are
/// those of `main`.
int runVerb(const Options& options, int& argc, char** argv);

/// Prints one line on standard error: "tov: ...".
void printError(const QString& message);

} // namespace tov::app
