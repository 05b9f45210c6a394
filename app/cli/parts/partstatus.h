#pragma once

#include "app/cli/parts/partfolder.h"

#include <QString>

namespace tov::app {

class Reporter;

/// Prints on standard output which parts of a recording are done, running and missing, and how long the rest will take
/// at the speed of those that are done. `positions`: of the whole recording. Thread: application.
void printPartStatus(Reporter& reporter, const QString& output, const PartFolder& folder, int parts, qint64 positions);

} // namespace tov::app
