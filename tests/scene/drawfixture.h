#pragma once

#include "scene/scene.h"
#include "scene/scenedrawer.h"
#include "scene/sceneelement.h"
#include "scene/sharedcontext.h"
#include "scene/viewer.h"

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <functional>

namespace tov::test {

using tov::math::Matrix4;
using tov::scene::Scene;
using tov::scene::SceneDrawer;
using tov::scene::Viewer;

/// Draws the global scene.
class SceneTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(Viewer::getInstance()->initialize()); }
    void TearDown() override { scene->setRootNode(nullptr); }

    /// Draws with a frustum in a context of its own; `before` may set the state.
    QImage drawn(int width, int height, double l, double r, double b, double t, const Matrix4& transform,
                 int layers = 3, int primitives = 7, const std::function<void()>& after = {})
    {
        QOpenGLContext context;
        context.setShareContext(tov::scene::_GlobalContext()->glContext());
        EXPECT_TRUE(context.create());
        QOffscreenSurface surface;
        surface.create();
        EXPECT_TRUE(context.makeCurrent(&surface));
        QImage image;
        {
            QOpenGLFramebufferObject fbo(width, height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                         GL_RGBA8);
            fbo.bind();
            SceneDrawer drawer(scene);
            glClearColor(0, 0, 0, 0);
            glEnable(GL_DEPTH_TEST);
            glEnable(GL_LIGHTING);
            glEnable(GL_COLOR_MATERIAL);
            drawer.resize(width, height);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            glMatrixMode(GL_PROJECTION);
            glLoadIdentity();
            glFrustum(l, r, b, t, 1, 10000);
            glMatrixMode(GL_MODELVIEW);
            glLoadIdentity();
            glEnable(GL_LIGHT0);
            drawer.glDraw(scene->getRootNode(), nullptr, transform, 0.0, layers, primitives);
            EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
            if (after)
                after();
            image = fbo.toImage();
        }
        context.doneCurrent();
        return image;
    }
    static int covered(const QImage& image)
    {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += qAlpha(image.pixel(x, y)) != 0;
        return count;
    }
    static Matrix4 at(double distance, double scale = 1)
    {
        auto m = Matrix4::identity();
        for (unsigned int i = 0; i < 3; ++i)
            m(i, i) = scale;
        m(2, 3) = -distance;
        return m;
    }
    tov::util::ZPointer<Scene> scene = Viewer::getInstance()->getGlobalScene();
};

} // namespace tov::test
