#pragma once

#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"

#include <QColor>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <functional>

namespace tov::test {

/// Draws the global scene with the drawer, that frustum and view, into a framebuffer object in a context of its own.
/// `after` may inspect the state after drawing. `isView`: with the drawer of a view instead of that of a picture or
/// video.
inline QImage drawn(int width, int height, double left, double right, double bottom, double top,
                    const tov::math::Matrix4& transform, int layers = 3, int primitives = 7,
                    const std::function<void()>& after = {}, const QColor& background = QColor(0, 0, 0, 0),
                    bool isView = false)
{
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    QOpenGLContext context;
    context.setShareContext(tov::scene::_GlobalContext()->glContext());
    EXPECT_TRUE(context.create());
    QOffscreenSurface surface;
    surface.create();
    EXPECT_TRUE(context.makeCurrent(&surface));
    QImage image;
    {
        QOpenGLFramebufferObject target(width, height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                        GL_RGBA8);
        EXPECT_TRUE(target.bind());
        tov::scene::SceneDrawer drawer(scene);
        drawer.setInteractive(isView);
        glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()),
                     float(background.alphaF()));
        glEnable(GL_DEPTH_TEST);
        glEnable(GL_LIGHTING);
        glEnable(GL_COLOR_MATERIAL);
        drawer.resize(width, height);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glFrustum(left, right, bottom, top, 1, 10000);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glEnable(GL_LIGHT0);
        drawer.glDraw(scene->getRootNode(), nullptr, transform, 0.0, layers, primitives);
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        if (after)
            after();
        image = target.toImage();
    }
    context.doneCurrent();
    return image;
}

} // namespace tov::test
