// The start-up cost of any Qt program with one OpenGL context: starts without a screen, makes the context current,
// ends.

#include "plugins/platform/select/headless.h"

#include <QApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>

int main(int argc, char** argv)
{
    tov::platform::setDefaultFormat();
    tov::platform::prepareHeadless(QStringLiteral(TOV_BINARY_DIR "/bin/plugins"));
    QApplication application(argc, argv);
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    return context.create() && context.makeCurrent(&surface) ? 0 : 1;
}
