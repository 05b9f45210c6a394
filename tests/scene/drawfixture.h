#pragma once

#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"
#include "tests/support/drawing.h"

#include <QImage>

#include <gtest/gtest.h>

namespace tov::test {

using tov::math::Matrix4;
using tov::scene::Scene;
using tov::scene::Viewer;

/// A test that draws the global scene.
class SceneTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(Viewer::getInstance()->initialize()); }
    void TearDown() override { scene->setRootNode(nullptr); }

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
