#pragma once

#include "kernel/main/export.h"

#include <QString>

namespace tov::util {

/// Property of the application object: the libraries that must not be loaded, a map from canonical file name to the
/// reason. The program sets it at start-up, before it loads modules and plug-ins.
inline constexpr const char* RefusedLibraries = "tovRefusedLibraries";

/// Exit status of a process that tried to load a library and survived.
inline constexpr int ProbedStatus = 42;

/// The start of the line in which such a process reports why the system refuses to load the library.
inline constexpr char UnloadablePrefix[] = "unloadable ";
/// The whole line, in the words of Qt's loader. Thread: any.
inline QString unloadableLine(const QString& fileName, const QString& reason)
{
    return QStringLiteral("%1Cannot load library %2: (%3)")
        .arg(QLatin1String(UnloadablePrefix), fileName, reason.simplified());
}

/// Why a library must not be trusted, in a few words; empty when it may be loaded. Whoever can replace the program may
/// install plug-ins. A library is refused only if somebody could have written it, or a folder above it, who could not
/// have replaced the program itself. Root and the user who runs the program are always trusted; folders where only
/// owners may replace files (sticky, as /tmp) are as safe as folders that only their owner can write. Thread: any.
TOV_EXPORT QString findAccessProblem(const QString& fileName);

/// Why a library must not be loaded (damaged, untrusted or refused by the program), in a few words; empty when it may
/// be. Thread: application.
TOV_EXPORT QString findLibraryProblem(const QString& fileName);

} // namespace tov::util
