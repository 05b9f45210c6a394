#include "grab/render/frame.h"

#include "grab/render/glerror.h"
#include "scene/drawing/scenedrawer.h"

#include <QColor>
#include <QImage>
#include <QOpenGLFramebufferObject>

#include <GL/gl.h>

namespace tov::grab::render {

void setDrawingState(const tov::scene::SceneDrawer& drawer)
{
    const QColor background = drawer.getBackgroundColor();
    glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0.0f);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_COLOR_MATERIAL);
}

void clearFrame(tov::scene::SceneDrawer& drawer, int width, int height)
{
    drawer.resize(width, height);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void setProjection(const std::function<void()>& project)
{
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    project();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_LIGHT0);
}

QImage drawAndRead(tov::scene::SceneDrawer& drawer, tov::scene::SceneElement* root,
                   const tov::math::Matrix<double, 4u, 4u>& transform, int layers,
                   const QOpenGLFramebufferObject& framebuffer)
{
    drawer.glDraw(root, nullptr, transform, 0.0, layers, tov::scene::SceneDrawer::AllPrimitives);
    glFlush();
    // Checked twice: Qt drops pending errors before it reads back.
    const bool hasDrawingFailed = takeFatalGlError();
    const QImage picture = framebuffer.toImage();
    // A failed read-back may also return an image, of undefined content.
    const bool hasReadingFailed = takeFatalGlError();
    return hasDrawingFailed || hasReadingFailed ? QImage() : picture;
}

} // namespace tov::grab::render
