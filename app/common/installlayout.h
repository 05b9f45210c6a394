#pragma once

#include <QString>

namespace tov::app {

/// Where the parts of an installation are, relative to the program itself. Needs no application object. Thread: any.
namespace InstallLayout {

/// The folder of the program. All others are relative to it.
QString programFolder();
/// The program's modules.
QString modules();
/// Qt's plug-ins that come with the program: platform and image formats.
QString qtPlugins();
/// The plug-ins with video encoders.
QString videoPlugins();
/// The program's own shared libraries.
QString libraries();
/// The program that tries an encoder plug-in in a process of its own.
QString encoderChecker();

} // namespace InstallLayout

} // namespace tov::app
