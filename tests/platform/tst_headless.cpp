// Drawing without any display server.

#include "tests/support/logcapture.h"

#include <QFileDialog>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QProcess>
#include <QScreen>
#include <QSlider>
#include <QThread>

#include <gtest/gtest.h>

#include <GL/gl.h>

namespace {

/// Clears a framebuffer object in a context that is moved to this thread, and reads one pixel back.
QRgb clearedPixel(QOpenGLContext& context, QOffscreenSurface& surface, float red, float green)
{
    if (!context.makeCurrent(&surface))
        return 1;
    QRgb pixel;
    {
        QOpenGLFramebufferObject fbo(40, 30, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D, GL_RGBA8);
        fbo.bind();
        glClearColor(red, green, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        pixel = fbo.toImage().pixel(20, 15);
    }
    context.doneCurrent();
    return pixel;
}

} // namespace

TEST(Headless, RunsOnTheOwnPlatformWithThreadedOpenGL)
{
    EXPECT_EQ(QGuiApplication::platformName(), "eglfs");
    EXPECT_TRUE(QOpenGLContext::supportsThreadedOpenGL());
    ASSERT_TRUE(QGuiApplication::primaryScreen());
    EXPECT_EQ(QGuiApplication::primaryScreen()->depth(), 32);
    EXPECT_EQ(QGuiApplication::primaryScreen()->size(), QSize(1920, 1080));
}

TEST(Headless, ContextsOfTheCompatibilityProfileDraw)
{
    QOpenGLContext context;
    ASSERT_TRUE(context.create());
    QOffscreenSurface surface;
    surface.create();
    ASSERT_TRUE(context.makeCurrent(&surface));
    GLint size = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
    EXPECT_GE(size, 4096);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glBegin(GL_TRIANGLES);
    glVertex2f(0, 0);
    glVertex2f(1, 0);
    glVertex2f(0, 1);
    glEnd();
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    context.doneCurrent();
    EXPECT_EQ(clearedPixel(context, surface, 1, 0), qRgba(255, 0, 0, 255));
}

TEST(Headless, SurfacesOfAnyFormatWorkWithAnyContext)
{
    // The default format of Qt has no depth and no alpha.
    QOffscreenSurface surface;
    surface.setFormat(QSurfaceFormat());
    surface.create();
    QOpenGLContext context;
    ASSERT_TRUE(context.create());
    EXPECT_EQ(clearedPixel(context, surface, 0, 1), qRgba(0, 255, 0, 255));
}

TEST(Headless, ContextsMoveToOtherThreadsAndShare)
{
    QOpenGLContext shared;
    ASSERT_TRUE(shared.create());
    QRgb pixels[2] = {};
    QThread* threads[2];
    QOpenGLContext contexts[2];
    QOffscreenSurface surfaces[2];
    for (int i = 0; i < 2; ++i) {
        contexts[i].setShareContext(&shared);
        ASSERT_TRUE(contexts[i].create());
        EXPECT_TRUE(QOpenGLContext::areSharing(&contexts[i], &shared));
        surfaces[i].create();
        threads[i] = QThread::create([&, i] {
            pixels[i] = clearedPixel(contexts[i], surfaces[i], i == 0 ? 1.0f : 0.0f, i == 0 ? 0.0f : 1.0f);
            contexts[i].moveToThread(QCoreApplication::instance()->thread());
        });
        contexts[i].moveToThread(threads[i]);
    }
    for (QThread* thread : threads)
        thread->start();
    for (QThread* thread : threads) {
        EXPECT_TRUE(tov::test::processUntil([&] { return thread->isFinished(); }));
        delete thread;
    }
    EXPECT_EQ(pixels[0], qRgba(255, 0, 0, 255));
    EXPECT_EQ(pixels[1], qRgba(0, 255, 0, 255));
}

TEST(Headless, WidgetsCanBeMade)
{
    // Commands create dialogs here only to query their filters; no window is shown without a screen.
    QSlider slider;
    slider.setRange(1, 5);
    QFileDialog dialog;
    dialog.setNameFilters({QStringLiteral("PNG (*.png)")});
    QCoreApplication::processEvents();
    EXPECT_EQ(dialog.nameFilters().size(), 1);
    EXPECT_EQ(slider.maximum(), 5);
}

TEST(Headless, AWrongChoiceIsReportedInOneLine)
{
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(QLatin1String(name));
    environment.insert(QStringLiteral("TOV_EGL"), QStringLiteral("nonsense"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TOV_BINARY_DIR "/bin/tov"), {QStringLiteral("modules")});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_EQ(process.readAllStandardError(),
              "tov: OpenGL cannot be used without a screen: TOV_EGL must be \"device\" or \"surfaceless\"\n");
}
