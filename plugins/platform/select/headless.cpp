#include "plugins/platform/select/headless.h"

#include <QCoreApplication>
#include <QSurfaceFormat>

namespace tov::platform {

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

void setDefaultFormat()
{
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setRedBufferSize(8);
    format.setGreenBufferSize(8);
    format.setBlueBufferSize(8);
    format.setAlphaBufferSize(8);
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    QSurfaceFormat::setDefaultFormat(format);
}

void prepareHeadless(const QString& pluginRoot)
{
    QCoreApplication::addLibraryPath(pluginRoot);
    // When a thread finds no free file descriptor, Qt's own event loop ends the process cleanly; GLib's crashes it.
    qputenv("QT_NO_GLIB", "1");
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        return;
    qputenv("QT_QPA_PLATFORM", "eglfs");
    qputenv("QT_QPA_EGLFS_INTEGRATION", "tov_headless");
    qputenv("QT_QPA_EGLFS_DISABLE_INPUT", "1");
    qputenv("QT_QPA_EGLFS_HIDECURSOR", "1");
    // Otherwise the platform would take over signals and the keyboard of the terminal.
    qputenv("QT_QPA_NO_SIGNAL_HANDLER", "1");
    qputenv("QT_QPA_ENABLE_TERMINAL_KEYBOARD", "1");
}

} // namespace tov::platform
