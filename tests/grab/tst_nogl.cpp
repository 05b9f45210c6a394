// Everything that happens when OpenGL cannot be used: the platform of this test has none.

#include "grab/commands/grabimage.h"
#include "grab/video/videoencoder.h"
#include "grab/videohandler.h"
#include "kernel/main/commandprocessor.h"
#include "kernel/main/overseer.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/scenepanel.h"
#include "scene/viewer.h"
#include "tests/support/logcapture.h"

#include <QImage>

#include <gtest/gtest.h>

using tov::commands::grab::GrabImage;
using tov::scene::Viewer;
using tov::test::LogCapture;

TEST(WithoutOpenGL, TheProbeSaysSoAndTheCommandStaysDisabled)
{
    EXPECT_FALSE(Viewer::getInstance()->initialize());
    EXPECT_FALSE(Viewer::getInstance()->isFboAvailable());
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    LogCapture log;
    auto* command = new GrabImage;
    processor->drain();
    tov::main::Overseer::getInstance()->processWorkers();
    const auto found = log.withMessage(QStringLiteral("Could not create OpenGL context!"));
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    EXPECT_EQ(found[0].file, "commands/grabimage");
    auto* panel = new tov::gui::ScenePanel;
    Viewer::getInstance()->setActivePanel(panel);
    EXPECT_TRUE(command->isDisabled());
    Viewer::getInstance()->closePanel(panel);
    processor->destroyCommand(command);
}

TEST(WithoutOpenGL, RenderingLeavesTheTargetUntouched)
{
    Viewer::getInstance()->getGlobalScene()->setRootNode(new tov::scene::SceneElement(QStringLiteral("root")));
    QImage image(20, 10, QImage::Format_ARGB32);
    image.fill(0x12345678);
    const QImage before = image.copy();
    const auto transform = tov::math::Matrix4::identity();
    LogCapture log;
    GrabImage command(&image, &transform, nullptr);
    command.saveImage(&image, transform);
    const auto found = log.withMessage(QStringLiteral("Could not create OpenGL context!"));
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    EXPECT_EQ(found[0].function, "saveImage");
    EXPECT_EQ(image, before);
}

TEST(WithoutOpenGL, ARecordingDoesNotStart)
{
    auto* panel = new tov::gui::ScenePanel;
    {
        tov::grab::VideoHandler handler;
        LogCapture log;
        EXPECT_FALSE(handler.startGrabbing(QStringLiteral("a.raw"), 64, 48, panel));
        const auto found = log.withMessage(QStringLiteral("Could not create OpenGL context!"));
        ASSERT_EQ(found.size(), 1u) << log.text();
        EXPECT_EQ(found[0].file, "videohandler");
        EXPECT_EQ(found[0].function, "initGL");
        EXPECT_FALSE(handler.isGrabbing());
    }
    Viewer::getInstance()->closePanel(panel);
}
