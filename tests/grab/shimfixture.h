#pragma once

#include "grab/commands/grabimage.h"
#include "kernel/gui/zprogressdialog.h"
#include "scene/view/viewer.h"
#include "tests/grab/scenes.h"
#include "tests/grab/shim.h"

#include <QImage>

#include <gtest/gtest.h>

namespace tov::test {

/// Draws pictures of a box with the preloaded shim; every test begins and ends without faults and records.
class ShimTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(tov::scene::Viewer::getInstance()->initialize());
        useScene(makeBox(1));
        reset();
    }
    void TearDown() override
    {
        reset();
        useScene(nullptr);
    }
    /// Ends every fault and discards what was recorded.
    virtual void reset()
    {
        tov::util::ZProgressDialog::setPresenter({});
        shimHooks() = ShimHooks{};
        for (const char* fault : {"shimMaxTextureSize", "shimFailMakeCurrent", "shimOldOpenGL", "shimNotThreaded",
                                  "shimFrustumCount", "shimViewportCount", "shimBufferCount", "shimDrawCount"})
            shim<int>(fault) = 0;
        shim<int>("shimIncompleteAfter") = -1;
        shim<void (*)()>("shimOnDraw") = nullptr;
    }
    /// A picture of the box. What is not drawn keeps its colour, 0x01020304.
    QImage rendered(int width, int height)
    {
        QImage image(width, height, QImage::Format_ARGB32);
        image.fill(0x01020304);
        const tov::math::Matrix4 view = viewFrom(6, 0.3, 0.2);
        tov::commands::grab::GrabImage command(&image, &view, nullptr);
        command.saveImage(&image, view);
        return image;
    }
};

} // namespace tov::test
