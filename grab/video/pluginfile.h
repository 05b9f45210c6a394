#pragma once

#include <QString>

class QFileInfo;
class QIODevice;

namespace tov::grab::video {

/// Property of the application object that a program may set before it loads the module: the plug-ins that it refuses,
/// a map from canonical file name to the reason.
inline constexpr const char* RefusedPlugins = "tovRefusedLibraries";

/// Why a device does not hold a complete shared library of 64 bits, in a few words; empty when it does. The system's
/// loader crashes on a file that is shorter than its own headers declare (SIGBUS). Names are those of the ELF format.
/// `file` must be open for reading. Thread: any.
QString findIncompletePart(QIODevice& file);

/// Why a plug-in must not be loaded, in a few words; empty if it may be: the file is damaged, or the program refuses
/// it. Thread: application.
QString findPluginProblem(const QFileInfo& plugin);

} // namespace tov::grab::video
