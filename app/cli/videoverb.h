#pragma once

#include "app/cli/options.h"

#include <QString>

#include <utility>
#include <vector>

namespace tov::app {

/// The verb "video"; the exit status as for `runVerb`.
int runVideo(const Options& options, int& argc, char** argv);

/// Suffix (lower case, no dot) and description of each video format that an encoder is loaded for. Read from the save
/// dialog of the recording command: the host knows encoders by no other way. Thread: application.
std::vector<std::pair<QString, QString>> knownVideoFormats();

} // namespace tov::app
