#pragma once

#include "app/cli/options/options.h"

namespace tov::viewer {

/// Shows the window and runs until it is closed; returns the exit status.
int runWindow(const tov::app::Options& options, int& argc, char** argv);

} // namespace tov::viewer
