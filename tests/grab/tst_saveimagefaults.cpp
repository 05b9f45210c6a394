// The calls of OpenGL for the tiles of a picture, and what happens when OpenGL fails. Uses a preloaded library.

#include "grab/commands/grabimage.h"
#include "grab/videohandler.h"
#include "kernel/events/eventhandler.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/event.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "scene/drawing/sharedcontext.h"
#include "tests/grab/shimfixture.h"
#include "tests/support/logcapture.h"
#include "tests/support/temporarysettings.h"
#include "tests/support/threads.h"

#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QTemporaryDir>
#include <QThread>

#include <GL/gl.h>

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace tov::test;
using tov::commands::grab::GrabImage;
using tov::math::Matrix4;
using tov::scene::Viewer;

namespace {

class FaultTest : public ShimTest
{
protected:
    /// Expects that the probe of a new command reports that fault once and that the command stays disabled.
    void expectRefusal(const char* fault, const char* message)
    {
        auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
        shim<int>(fault) = 1;
        LogCapture log;
        auto* command = new GrabImage;
        processor->drain();
        shim<int>(fault) = 0;
        const auto found = log.withMessage(QString::fromLatin1(message));
        EXPECT_EQ(found.size(), 1u) << log.text();
        for (const auto& record : found) {
            EXPECT_EQ(record.level, 2000);
            EXPECT_EQ(record.file, "commands/grabimage");
        }
        auto* panel = new tov::gui::ScenePanel;
        Viewer::getInstance()->setActivePanel(panel);
        EXPECT_TRUE(command->isDisabled());
        Viewer::getInstance()->closePanel(panel);
        processor->destroyCommand(command);
    }
    std::vector<std::pair<int, int>> viewports()
    {
        auto* sizes = reinterpret_cast<int(*)[2]>(dlsym(RTLD_DEFAULT, "shimViewports"));
        std::vector<std::pair<int, int>> result;
        for (int i = 0; i < shim<int>("shimViewportCount"); ++i)
            result.emplace_back(sizes[i][0], sizes[i][1]);
        // Making a context current sets the viewport as well.
        std::vector<std::pair<int, int>> tiles;
        for (const auto& size : result)
            if (size.first > 1 || size.second > 1)
                tiles.push_back(size);
        return tiles;
    }
};

typedef std::vector<std::pair<int, int>> Sizes;

} // namespace

TEST_F(FaultTest, TilesAreDrawnRowByRowFromTheBottomWithTheShortRowOnTop)
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

TEST_F(FaultTest, TilesAreNotLargerThanTheMaximumTextureSize)
{
    shim<int>("shimMaxTextureSize") = 256;
    rendered(512, 300);
    EXPECT_EQ(viewports(), (Sizes{{256, 256}, {256, 256}, {256, 44}, {256, 44}}));
}

TEST_F(FaultTest, SizesAroundOneTile)
{
    rendered(512, 512);
    EXPECT_EQ(viewports(), (Sizes{{512, 512}}));
    reset();
    rendered(513, 512);
    EXPECT_EQ(viewports(), (Sizes{{512, 512}, {1, 512}}));
}

TEST_F(FaultTest, AFramebufferIsMadeOnlyWhenTheTileSizeChanges)
{
    rendered(1536, 1100); // three columns of one size; two whole rows and a short one
    auto* made = reinterpret_cast<long(*)[5]>(dlsym(RTLD_DEFAULT, "shimBuffers"));
    ASSERT_EQ(shim<int>("shimBufferCount"), 2);
    const long heights[] = {512, 76};
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(made[i][0], 512);
        EXPECT_EQ(made[i][1], heights[i]);
        EXPECT_EQ(made[i][2], QOpenGLFramebufferObject::CombinedDepthStencil);
        EXPECT_EQ(made[i][3], GL_TEXTURE_2D);
        EXPECT_EQ(made[i][4], GL_RGBA8);
    }
    reset();
    rendered(1000, 700);
    EXPECT_EQ(shim<int>("shimBufferCount"), 4) << "the sizes alternate";
}

TEST_F(FaultTest, EachTileIsDrawnLitWithTheSameArguments)
{
    QImage image(600, 100, QImage::Format_ARGB32);
    const Matrix4 view = viewFrom(6, 0.3, 0.2);
    {
        GrabImage command(&image, &view, nullptr);
        command.saveImage(&image, view);
    }
    const auto* draws = static_cast<ShimDraw*>(dlsym(RTLD_DEFAULT, "shimDraws"));
    ASSERT_EQ(shim<int>("shimDrawCount"), 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(draws[i].root, Viewer::getInstance()->getGlobalScene()->getRootNode());
        EXPECT_EQ(draws[i].second, nullptr);
        for (unsigned int k = 0; k < 16; ++k) {
            EXPECT_EQ(draws[i].transform[k], view.data()[k]);
            EXPECT_EQ(draws[i].modelView[k], k % 5 == 0 ? 1.0 : 0.0);
        }
        EXPECT_EQ(draws[i].lineOffset, 0.0);
        EXPECT_EQ(draws[i].layers, 3);
        EXPECT_EQ(draws[i].primitives, 7);
        EXPECT_EQ(draws[i].shadeModel, GL_SMOOTH);
        EXPECT_TRUE(draws[i].depthTest);
        EXPECT_TRUE(draws[i].lighting);
        EXPECT_TRUE(draws[i].light0);
        EXPECT_TRUE(draws[i].colorMaterial);
        EXPECT_EQ(draws[i].matrixMode, GL_MODELVIEW);
        for (const unsigned char open : draws[i].colorMask)
            EXPECT_TRUE(open);
    }
}

namespace {

int drawings = 0;

} // namespace

TEST_F(FaultTest, TheContextSharesWithTheHostsAndTheSurfaceHasItsFormat)
{
    drawings = 0;
    shim<void (*)()>("shimOnDraw") = [] {
        ++drawings;
        QOpenGLContext* shared = tov::scene::_GlobalContext()->glContext();
        QOpenGLContext* context = QOpenGLContext::currentContext();
        ASSERT_TRUE(context);
        EXPECT_NE(context, shared);
        EXPECT_EQ(context->shareContext(), shared);
        EXPECT_EQ(context->thread(), QThread::currentThread());
        const auto* surface = dynamic_cast<QOffscreenSurface*>(context->surface());
        ASSERT_TRUE(surface);
        EXPECT_EQ(surface->requestedFormat(), shared->format());
        EXPECT_EQ(surface->thread(), QThread::currentThread());
    };
    rendered(64, 64);
    EXPECT_EQ(drawings, 1);
    QThread* thread = QThread::create([this] { rendered(64, 64); });
    thread->start();
    EXPECT_TRUE(processUntil([&] { return thread->isFinished(); }));
    delete thread;
    shim<void (*)()>("shimOnDraw") = nullptr;
    EXPECT_EQ(drawings, 2);
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
    // Qt checks each object that it makes several times. The checks of the first size are counted; those of the second
    // one fail.
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
    // Everything was released: the next picture is complete.
    reset();
    EXPECT_NE(rendered(1000, 512).pixel(900, 256), 0x01020304u);
}

TEST_F(FaultTest, TheSceneIsLockedFromBeforeTheFirstTileUntilAfterTheLast)
{
    QStringList seen;
    int owner = 0;
    const void* key = &owner;
    for (const char* name :
         {"SCENE_STRUCTURE_LOCKED", "SCENE_STRUCTURE_UNLOCKED", "SCENE_TRANSFORM_LOCKED", "SCENE_TRANSFORM_UNLOCKED"})
        tov::main::EventManager::getInstance()->registerEventFunction(
            tov::events::EventHandler::getInstance()->addEvent("Scene", name),
            [&seen, name](const tov::main::Event*) { seen << QLatin1String(name + 6); }, key);
    tov::util::ZProgressDialog::setPresenter([&](const tov::util::ZProgressDialog::Update& update) {
        if (update.finished)
            seen << QStringLiteral("closed");
        else if (update.percent < 0)
            seen << QStringLiteral("opened");
        else
            seen << QStringLiteral("%1 after %2 tiles").arg(update.percent).arg(shim<int>("shimDrawCount"));
    });
    const QStringList locked{"STRUCTURE_LOCKED", "TRANSFORM_LOCKED"};
    const QStringList unlocked{"STRUCTURE_UNLOCKED", "TRANSFORM_UNLOCKED"};
    rendered(600, 100);
    EXPECT_EQ(seen, (locked + QStringList{"opened", "0 after 0 tiles", "50 after 1 tiles"} + unlocked +
                     QStringList{"closed"}));
    EXPECT_EQ(shim<int>("shimLockType"), 7);
    // If a framebuffer cannot be bound, the dialog is closed before the scene is unlocked.
    seen.clear();
    shim<int>("shimDrawCount") = 0;
    shim<int>("shimIncompleteAfter") = 0;
    rendered(600, 100);
    EXPECT_EQ(seen, (locked + QStringList{"opened", "0 after 0 tiles", "closed"} + unlocked));
    tov::util::ZProgressDialog::setPresenter({});
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(key);
}

TEST_F(FaultTest, TheProbeReportsAContextThatCannotBeMadeCurrent)
{
    expectRefusal("shimFailMakeCurrent", "Current OpenGL context is invalid!");
}

TEST_F(FaultTest, TheProbeReportsThatFramebufferObjectsAreMissing)
{
    expectRefusal("shimOldOpenGL", "Grab Image: Your graphics card doesn't support framebuffer objects!");
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
        // Destroyed at once: the probe, which has a bare pointer to the command, must have run before.
        processor->destroyCommand(new GrabImage);
    }
    Viewer::getInstance()->closePanel(panel);
}

TEST_F(FaultTest, ATargetThatShrinksLosesOnlyTheColumnsOutside)
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
    // The second and the fourth tile: one record per column from 600 to 999, at the top of the tile, in this order.
    const auto records = log.records();
    ASSERT_EQ(records.size(), 800u);
    QFile source(QStringLiteral(TOV_SOURCE_DIR "/grab/commands/grabimage.cpp"));
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = source.readAll().split('\n');
    for (int i = 0; i < 800; ++i) {
        const auto& record = records[std::size_t(i)];
        ASSERT_EQ(record.message, QStringLiteral("setPixel(%1, %2) oversizes target image dimensions (600, 700)")
                                      .arg(600 + i % 400)
                                      .arg(i < 400 ? 188 : 0));
        EXPECT_EQ(record.level, 2000);
        EXPECT_EQ(record.file, "commands/grabimage");
        EXPECT_EQ(record.function, "saveImage");
        ASSERT_LE(record.line, lines.size());
        EXPECT_TRUE(lines[record.line - 1].contains("__LINE__")) << "not the line of the record";
    }
    EXPECT_NE(image.pixel(599, 400), 0x01020304u) << "columns inside are filled";
    EXPECT_EQ(image.pixel(100, 400), 0x01020304u) << "the first tile was copied to the replaced image";
    EXPECT_NE(image.pixel(100, 100), 0x01020304u);
}

namespace {

std::vector<QThread*> cursorThreads;

void noteCursorThread()
{
    cursorThreads.push_back(QThread::currentThread());
}

} // namespace

TEST_F(FaultTest, TheWaitCursorIsSetAndRestoredByTheApplicationThread)
{
    TemporarySettings settings;
    QTemporaryDir folder;
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    auto* panel = new tov::gui::ScenePanel;
    panel->resize(400, 200);
    auto* command = new GrabImage;
    processor->drain();
    Viewer::getInstance()->setActivePanel(panel);
    cursorThreads.clear();
    shim<void (*)()>("shimOnCursor") = noteCursorThread;
    shim<void (*)()>("shimOnCursorBack") = noteCursorThread;
    // One that succeeds, and one that is too large for the memory.
    for (const char* width : {"64", "2147483647"}) {
        ASSERT_TRUE(command->getCurrentParameterSet()->at(0)->castString(folder.filePath(QStringLiteral("a.png"))));
        ASSERT_TRUE(command->getCurrentParameterSet()->at(1)->castString(QLatin1String(width)));
        ASSERT_TRUE(processor->processCommand(command, 1, true)->succeeded());
        tov::main::Overseer::getInstance()->processWorkers();
    }
    shim<void (*)()>("shimOnCursor") = nullptr;
    shim<void (*)()>("shimOnCursorBack") = nullptr;
    EXPECT_EQ(cursorThreads, std::vector<QThread*>(4, QCoreApplication::instance()->thread()));
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    Viewer::getInstance()->closePanel(panel);
    processor->destroyCommand(command);
}

namespace {

tov::gui::ScenePanel* watchedPanel = nullptr;
tov::gui::ScenePanel* otherPanel = nullptr;

} // namespace

namespace {

std::atomic<int> commandThread{0};
std::atomic<bool> commandDone{false};

} // namespace

TEST_F(FaultTest, TheViewIsQueriedInTurnWithOtherWorkers)
{
    TemporarySettings settings;
    QTemporaryDir folder;
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    watchedPanel = new tov::gui::ScenePanel;
    watchedPanel->resize(400, 200);
    watchedPanel->fitToView();
    auto* command = new GrabImage;
    processor->drain();
    Viewer::getInstance()->setActivePanel(watchedPanel);
    ASSERT_TRUE(command->getCurrentParameterSet()->at(0)->castString(folder.filePath(QStringLiteral("a.png"))));
    ASSERT_TRUE(command->getCurrentParameterSet()->at(1)->castString(QStringLiteral("64")));
    // The application thread turns the panel between the queries for size and view, while the command waits.
    commandThread = 0;
    commandDone = false;
    shim<void (*)()>("shimOnCursor") = +[] {
        while (!commandDone && threadState(commandThread) != 'S')
            QThread::yieldCurrentThread();
        watchedPanel->orbit(90, 0);
    };
    shim<int>("shimDrawCount") = 0;
    QThread* thread = QThread::create([&] {
        commandThread = threadId();
        command->execute();
        commandDone = true;
    });
    thread->start();
    EXPECT_TRUE(processUntil([&] { return thread->isFinished(); }));
    delete thread;
    shim<void (*)()>("shimOnCursor") = nullptr;
    ASSERT_EQ(shim<int>("shimDrawCount"), 1);
    const auto& draw = *static_cast<ShimDraw*>(dlsym(RTLD_DEFAULT, "shimDraws"));
    EXPECT_TRUE(std::equal(draw.transform, draw.transform + 16, watchedPanel->getScaledTransformMatrix().data()));
    Viewer::getInstance()->closePanel(watchedPanel);
    processor->destroyCommand(command);
}

TEST_F(FaultTest, APanelMayBeClosedOrReplacedBetweenSizeAndView)
{
    TemporarySettings settings;
    QTemporaryDir folder;
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    for (const bool closes : {true, false}) {
        watchedPanel = new tov::gui::ScenePanel;
        watchedPanel->resize(400, 200);
        watchedPanel->fitToView();
        otherPanel = new tov::gui::ScenePanel;
        otherPanel->resize(100, 100);
        const Matrix4 view = watchedPanel->getScaledTransformMatrix();
        auto* command = new GrabImage;
        processor->drain();
        Viewer::getInstance()->setActivePanel(watchedPanel);
        const QString name = folder.filePath(QStringLiteral("a.png"));
        ASSERT_TRUE(command->getCurrentParameterSet()->at(0)->castString(name));
        ASSERT_TRUE(command->getCurrentParameterSet()->at(1)->castString(QStringLiteral("64")));
        shim<void (*)()>("shimOnCursor") =
            closes ? +[] { Viewer::getInstance()->closePanel(std::exchange(watchedPanel, nullptr)); }
                   : +[] { Viewer::getInstance()->setActivePanel(otherPanel); };
        shim<int>("shimDrawCount") = 0;
        LogCapture log;
        ASSERT_TRUE(processor->processCommand(command, 1, true)->succeeded());
        shim<void (*)()>("shimOnCursor") = nullptr;
        tov::main::Overseer::getInstance()->processWorkers();
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
        if (closes) {
            EXPECT_EQ(watchedPanel, nullptr);
            EXPECT_TRUE(log.records().empty()) << log.text();
            EXPECT_FALSE(QFile::exists(name));
        } else {
            EXPECT_EQ(QImageReader(name).size(), QSize(64, 32));
            ASSERT_EQ(shim<int>("shimDrawCount"), 1);
            const auto& draw = *static_cast<ShimDraw*>(dlsym(RTLD_DEFAULT, "shimDraws"));
            EXPECT_TRUE(std::equal(draw.transform, draw.transform + 16, view.data()));
            Viewer::getInstance()->closePanel(watchedPanel);
        }
        Viewer::getInstance()->closePanel(otherPanel);
        processor->destroyCommand(command);
    }
}
