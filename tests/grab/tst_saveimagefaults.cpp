// Tiles as OpenGL sees them, and what happens when OpenGL fails; through a library that is loaded before OpenGL.

#include "grab/commands/grabimage.h"
#include "grab/videohandler.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/main/commandprocessor.h"
#include "kernel/main/overseer.h"
#include "scene/scenedrawer.h"
#include "scene/scenepanel.h"
#include "tests/grab/scenes.h"
#include "tests/support/logcapture.h"

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace tov::test;
using tov::commands::grab::GrabImage;
using tov::math::Matrix4;
using tov::scene::Viewer;

namespace {

template <typename T>
T& shim(const char* name)
{
    static T none{};
    void* found = dlsym(RTLD_DEFAULT, name);
    EXPECT_TRUE(found) << name << ": the shim is not loaded";
    return found ? *static_cast<T*>(found) : none;
}

class FaultTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Viewer::getInstance()->initialize());
        useScene(makeBox(1));
        reset();
    }
    void TearDown() override
    {
        reset();
        useScene(nullptr);
    }
    void reset()
    {
        shim<int>("shimMaxTextureSize") = 0;
        shim<int>("shimIncompleteAfter") = -1;
        shim<int>("shimFailMakeCurrent") = 0;
        shim<int>("shimOldOpenGL") = 0;
        shim<int>("shimNotThreaded") = 0;
        shim<int>("shimFrustumCount") = 0;
        shim<int>("shimViewportCount") = 0;
    }
    QImage rendered(int width, int height)
    {
        QImage image(width, height, QImage::Format_ARGB32);
        image.fill(0x01020304);
        const Matrix4 view = viewFrom(6, 0, 0);
        GrabImage command(&image, &view, nullptr);
        command.saveImage(&image, view);
        return image;
    }
    std::vector<std::pair<int, int>> viewports()
    {
        auto* sizes = reinterpret_cast<int(*)[2]>(dlsym(RTLD_DEFAULT, "shimViewports"));
        std::vector<std::pair<int, int>> result;
        for (int i = 0; i < shim<int>("shimViewportCount"); ++i)
            result.emplace_back(sizes[i][0], sizes[i][1]);
        // Making a context current sets the viewport of its own accord.
        std::vector<std::pair<int, int>> tiles;
        for (const auto& size : result)
            if (size.first > 1 || size.second > 1)
                tiles.push_back(size);
        return tiles;
    }
};

typedef std::vector<std::pair<int, int>> Sizes;

} // namespace

TEST_F(FaultTest, TilesComeRowByRowFromTheBottomWithTheShortRowOnTop)
{
    rendered(1000, 700);
    EXPECT_EQ(viewports(), (Sizes{{512, 512}, {488, 512}, {512, 188}, {488, 188}}));
    ASSERT_EQ(shim<int>("shimFrustumCount"), 4);
    auto* frusta = reinterpret_cast<double(*)[6]>(dlsym(RTLD_DEFAULT, "shimFrusta"));
    const double top = 0.4274205123390469, left = -top * 1000 / 700;
    const double perPixel = 2 * top / 700;
    const int xs[] = {0, 512, 0, 512}, widths[] = {512, 488, 512, 488};
    const int ys[] = {0, 0, 512, 512}, heights[] = {512, 512, 188, 188};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(frusta[i][0], left + xs[i] * perPixel, 1e-12);
        EXPECT_NEAR(frusta[i][1], left + (xs[i] + widths[i]) * perPixel, 1e-12);
        EXPECT_NEAR(frusta[i][2], -top + ys[i] * perPixel, 1e-12);
        EXPECT_NEAR(frusta[i][3], -top + (ys[i] + heights[i]) * perPixel, 1e-12);
        EXPECT_EQ(frusta[i][4], 1.0);
        EXPECT_EQ(frusta[i][5], 10000.0);
    }
}

TEST_F(FaultTest, TilesAreNoLargerThanTexturesMayBe)
{
    shim<int>("shimMaxTextureSize") = 256;
    rendered(512, 300);
    EXPECT_EQ(viewports(), (Sizes{{256, 256}, {256, 256}, {256, 44}, {256, 44}}));
}

TEST_F(FaultTest, BordersOfOneTile)
{
    rendered(512, 512);
    EXPECT_EQ(viewports(), (Sizes{{512, 512}}));
    reset();
    rendered(513, 512);
    EXPECT_EQ(viewports(), (Sizes{{512, 512}, {1, 512}}));
}

TEST_F(FaultTest, TheBackgroundIsClearedWithAlphaZero)
{
    rendered(64, 64);
    const auto* color = reinterpret_cast<float*>(dlsym(RTLD_DEFAULT, "shimClearColor"));
    const QColor background = tov::scene::SceneDrawer(Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
    EXPECT_FLOAT_EQ(color[0], float(background.redF()));
    EXPECT_FLOAT_EQ(color[1], float(background.greenF()));
    EXPECT_FLOAT_EQ(color[2], float(background.blueF()));
    EXPECT_EQ(color[3], 0.0f);
}

TEST_F(FaultTest, AContextThatCannotBeMadeCurrentLeavesTheTargetUntouched)
{
    shim<int>("shimFailMakeCurrent") = 1;
    LogCapture log;
    const QImage image = rendered(40, 30);
    const auto found = log.withMessage(QStringLiteral("Current OpenGL context is invalid!"));
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    EXPECT_EQ(found[0].file, "commands/grabimage");
    EXPECT_EQ(found[0].function, "saveImage");
    EXPECT_EQ(image.pixel(20, 15), 0x01020304u);
}

TEST_F(FaultTest, AFramebufferThatCannotBeBoundStopsRenderingAndKeepsEarlierTiles)
{
    // How often Qt looks at an object that it makes is its own matter: the first size's is counted, the second one's
    // fails.
    shim<int>("shimChecks") = 0;
    rendered(512, 512);
    shim<int>("shimIncompleteAfter") = shim<int>("shimChecks");
    LogCapture log;
    const QImage image = rendered(1000, 512);
    const auto found = log.withMessage(QStringLiteral("Couldn't bind framebuffer object!"));
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    EXPECT_EQ(found[0].function, "saveImage");
    EXPECT_NE(image.pixel(500, 256), 0x01020304u) << "the first tile was copied";
    EXPECT_EQ(image.pixel(900, 256), 0x01020304u);
    // Everything was released: the next picture is whole.
    reset();
    EXPECT_NE(rendered(1000, 512).pixel(900, 256), 0x01020304u);
}

TEST_F(FaultTest, TheProbeReportsAContextThatCannotBeMadeCurrent)
{
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    shim<int>("shimFailMakeCurrent") = 1;
    LogCapture log;
    auto* command = new GrabImage;
    processor->drain();
    shim<int>("shimFailMakeCurrent") = 0;
    const auto found = log.withMessage(QStringLiteral("Current OpenGL context is invalid!"));
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    auto* panel = new tov::gui::ScenePanel;
    Viewer::getInstance()->setActivePanel(panel);
    EXPECT_TRUE(command->isDisabled()) << "it never listens";
    Viewer::getInstance()->closePanel(panel);
    processor->destroyCommand(command);
}

TEST_F(FaultTest, TheProbeReportsThatFramebufferObjectsAreMissing)
{
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    shim<int>("shimOldOpenGL") = 1;
    LogCapture log;
    auto* command = new GrabImage;
    processor->drain();
    shim<int>("shimOldOpenGL") = 0;
    const auto found =
        log.withMessage(QStringLiteral("Grab Image: Your graphics card doesn't support framebuffer objects!"));
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, 2000);
    EXPECT_EQ(found[0].file, "commands/grabimage");
    auto* panel = new tov::gui::ScenePanel;
    Viewer::getInstance()->setActivePanel(panel);
    EXPECT_TRUE(command->isDisabled()) << "it never listens";
    Viewer::getInstance()->closePanel(panel);
    processor->destroyCommand(command);
}

TEST_F(FaultTest, TheProbeRunsOnTheApplicationThreadWhereOpenGLIsNotThreaded)
{
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    auto* panel = new tov::gui::ScenePanel;
    Viewer::getInstance()->setActivePanel(panel);
    for (const bool threaded : {true, false}) {
        shim<int>("shimNotThreaded") = !threaded;
        shim<long>("shimCurrentThread") = 0;
        auto* command = new GrabImage;
        processor->drain();
        EXPECT_NE(shim<long>("shimCurrentThread"), 0);
        EXPECT_EQ(shim<long>("shimCurrentThread") == syscall(SYS_gettid), !threaded);
        Viewer::getInstance()->announceActivePanel();
        EXPECT_FALSE(command->isDisabled());
        processor->destroyCommand(command);
        // Destroyed at once: the probe, which knows the bare object, has run before.
        processor->destroyCommand(new GrabImage);
    }
    Viewer::getInstance()->closePanel(panel);
}

TEST_F(FaultTest, ATargetThatShrinksMeanwhileCostsTheColumnsOutsideOnly)
{
    QImage image(1000, 700, QImage::Format_ARGB32);
    image.fill(0x01020304);
    tov::util::ZProgressDialog::setPresenter([&image](const tov::util::ZProgressDialog::Update& update) {
        if (update.percent == 25 && !update.finished) {
            image = QImage(600, 700, QImage::Format_ARGB32);
            image.fill(0x01020304);
        }
    });
    const Matrix4 view = viewFrom(6, 0, 0);
    LogCapture log;
    {
        GrabImage command(&image, &view, nullptr);
        command.saveImage(&image, view);
    }
    tov::util::ZProgressDialog::setPresenter({});
    // Second and fourth tile: one record for each of the columns 600 to 999, at the tile's top.
    EXPECT_EQ(log.records().size(), 800u);
    for (const int top : {188, 0})
        for (const int x : {600, 777, 999}) {
            const auto found = log.withMessage(
                QStringLiteral("setPixel(%1, %2) oversizes target image dimensions (600, 700)").arg(x).arg(top));
            ASSERT_EQ(found.size(), 1u) << x << " " << top;
            EXPECT_EQ(found[0].level, 2000);
            EXPECT_EQ(found[0].function, "saveImage");
        }
    EXPECT_NE(image.pixel(599, 400), 0x01020304u) << "columns inside are filled";
    EXPECT_EQ(image.pixel(100, 400), 0x01020304u) << "the first tile went to the image that was there before";
    EXPECT_NE(image.pixel(100, 100), 0x01020304u);
}
