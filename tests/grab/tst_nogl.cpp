// Behaviour without OpenGL: the platform plug-in of this test does not support it.

#include "grab/commands/grabimage.h"
#include "grab/video/videoencoder.h"
#include "grab/videohandler.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/event.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/support/logcapture.h"
#include "tests/support/temporarysettings.h"

#include <QImage>

#include <gtest/gtest.h>

using tov::commands::grab::GrabImage;
using tov::scene::Viewer;
using tov::test::LogCapture;

TEST(WithoutOpenGL, TheProbeReportsItAndTheCommandStaysDisabled)
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

TEST(WithoutOpenGL, ThePictureCommandRefusesAndStoresNoDirectory)
{
    tov::test::TemporarySettings settings;
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    auto* panel = new tov::gui::ScenePanel;
    auto* command = new GrabImage;
    processor->drain();
    // As if a panel had been announced after a successful probe.
    auto* events = tov::events::EventHandler::getInstance();
    const tov::main::Event announced(events->addEvent("Scene", "SCENEPANEL_CHANGED"), nullptr, panel);
    command->scenePanelChanged(&announced);
    EXPECT_FALSE(command->isDisabled());
    ASSERT_TRUE(command->getCurrentParameterSet()->at(0)->castString(QStringLiteral("/tmp/a.png")));
    ASSERT_TRUE(command->getCurrentParameterSet()->at(1)->castString(QStringLiteral("64")));
    LogCapture log;
    ASSERT_TRUE(processor->processCommand(command, 1, true)->succeeded());
    const auto found =
        log.withMessage(QStringLiteral("Your graphics card doesn't support framebuffer objects - abort!"));
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    EXPECT_EQ(found[0].function, "execute");
    EXPECT_FALSE(tovSettings().contains(QStringLiteral("lastGrabImageDirectory")));
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
