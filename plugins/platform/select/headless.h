#pragma once

#include <QString>

/// Start-up of programs that may run on machines without a screen.
namespace tov::platform {

/// True when a display server can be reached by the environment (DISPLAY or WAYLAND_DISPLAY), so that windows may be
/// shown. Thread: application, before the QApplication.
bool hasDisplay();

/// Sets the default surface format for all drawing: desktop OpenGL, compatibility profile, 8 bits per
/// colour and alpha, depth and stencil buffer, one sample. Thread: application, before the QApplication.
void setDefaultFormat();

/// Makes the QApplication, which is created afterwards, run without any display server. Widgets can be created there,
/// but windows are not meant to be shown. `pluginRoot` is the folder that holds "egldeviceintegrations". A platform
/// named in QT_QPA_PLATFORM stays. Thread: application, before the QApplication.
void prepareHeadless(const QString& pluginRoot);

} // namespace tov::platform
