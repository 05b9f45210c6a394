#pragma once

#include "kernel/main/export.h"

#include <QString>

class QIODevice;

namespace tov::util {

/// Why the contents of an open file cannot be a complete shared library for this machine, in a few words; empty when
/// they can be. The system's loader crashes on a file that is shorter than its own headers declare (SIGBUS), and on
/// symbol versions that the file does not define, so check before loading. Fields as in the ELF specification, 64 bits.
/// Thread: any.
TOV_EXPORT QString findElfProblem(QIODevice& file);

/// The same for a named file. Thread: any.
TOV_EXPORT QString findElfProblem(const QString& fileName);

} // namespace tov::util
