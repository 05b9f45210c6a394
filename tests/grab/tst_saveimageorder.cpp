// The order of the steps of `saveImage`, and the failures that it survives.

#include "grab/commands/grabimage.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"
#include "tests/grab/shimfixture.h"
#include "tests/support/logcapture.h"
#include "tests/support/temporarysettings.h"

#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <vector>

#include <pthread.h>

using namespace tov::test;
using tov::commands::grab::GrabImage;
using tov::math::Matrix4;
using tov::scene::Viewer;
using tov::util::ZProgressDialog;

namespace {

std::mutex callsMutex;
std::vector<std::string> calls; ///< guarded by callsMutex
std::atomic<int> pixels{0};
std::set<std::string> pixelThreads; ///< guarded by callsMutex

void noteCall(const char* call)
{
    std::lock_guard<std::mutex> guard(callsMutex);
    calls.push_back(call);
}

void notePixel()
{
    // One lookup per thread: there are many pixels.
    thread_local bool isKnown = false;
    if (!isKnown) {
        char name[16] = "";
        pthread_getname_np(pthread_self(), name, sizeof name);
        std::lock_guard<std::mutex> guard(callsMutex);
        pixelThreads.insert(name);
        isKnown = true;
    }
    ++pixels;
}

/// Also notes when the current surface and the current context are deleted.
void watchCurrentContext()
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    QObject::connect(
        context, &QObject::destroyed, context, [] { noteCall("delete context"); }, Qt::DirectConnection);
    auto* surface = static_cast<QOffscreenSurface*>(context->surface());
    QObject::connect(
        surface, &QObject::destroyed, surface, [] { noteCall("delete surface"); }, Qt::DirectConnection);
    shim<void (*)()>("shimOnDraw") = nullptr;
}

class SaveImageOrder : public ShimTest
{
protected:
    void reset() override
    {
        ShimTest::reset();
        calls.clear();
        pixelThreads.clear();
        pixels = 0;
    }
    /// The calls from the given one on. The scene is unlocked once more by the destructor of its locker, which does
    /// nothing.
    std::vector<std::string> callsFrom(const std::string& first)
    {
        std::vector<std::string> found(std::find(calls.begin(), calls.end(), first), calls.end());
        const auto unlocked = std::find(found.begin(), found.end(), "unlock scene");
        if (unlocked != found.end())
            found.erase(std::remove(unlocked + 1, found.end(), "unlock scene"), found.end());
        return found;
    }
};

} // namespace

TEST_F(SaveImageOrder, TheContextIsCreatedBeforeTheSurface)
{
    shimHooks().onCall = noteCall;
    rendered(64, 64);
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[0], "create context");
    EXPECT_EQ(calls[1], "create surface");
}

TEST_F(SaveImageOrder, AFinishedPictureIsTornDownInOrder)
{
    shimHooks().onCall = noteCall;
    shim<void (*)()>("shimOnDraw") = watchCurrentContext;
    rendered(64, 64);
    EXPECT_EQ(callsFrom("delete framebuffer"),
              (std::vector<std::string>{"delete framebuffer", "delete drawer", "release context", "destroy surface",
                                        "unlock scene", "close dialog", "delete surface", "delete context"}));
}

TEST_F(SaveImageOrder, APictureThatCannotBindIsTornDownInOrder)
{
    shimHooks().onCall = noteCall;
    // The second size must be the one that cannot be bound, so count how often Qt checks the first one.
    shim<int>("shimChecks") = 0;
    rendered(512, 512);
    shim<int>("shimIncompleteAfter") = shim<int>("shimChecks");
    shim<void (*)()>("shimOnDraw") = watchCurrentContext;
    calls.clear();
    LogCapture log;
    rendered(1000, 512);
    EXPECT_TRUE(log.contains(QStringLiteral("Couldn't bind framebuffer object!"))) << log.text();
    // The first object is deleted when the size changes. Qt deletes the second one itself, because it is incomplete.
    EXPECT_EQ(callsFrom("flush"),
              (std::vector<std::string>{"flush", "delete framebuffer", "delete framebuffer", "release context",
                                        "destroy surface", "close dialog", "unlock scene", "delete surface",
                                        "delete context", "delete drawer"}));
}

TEST_F(SaveImageOrder, APictureWithoutACurrentContextIsTornDownInOrder)
{
    shimHooks().onCall = noteCall;
    shim<int>("shimFailMakeCurrent") = 1;
    rendered(64, 64);
    EXPECT_EQ(callsFrom("destroy surface"), (std::vector<std::string>{"destroy surface", "delete drawer"}));
}

TEST_F(SaveImageOrder, ProgressIsDividedBeforeItIsMultiplied)
{
    shim<int>("shimMaxTextureSize") = 16;
    std::vector<int> values;
    ZProgressDialog::setPresenter([&](const ZProgressDialog::Update& update) {
        if (!update.finished && update.percent >= 0)
            values.push_back(update.percent);
    });
    rendered(160, 160);
    // A repeated value is not presented. In double precision 29 / 100 * 100 is less than 29, and 58 / 100 * 100 less
    // than 58.
    std::vector<int> expected;
    for (int i = 0; i < 100; ++i)
        if (i != 29 && i != 58)
            expected.push_back(i);
    EXPECT_EQ(values, expected);
}

TEST_F(SaveImageOrder, TilesAreInPlaceBeforeProgressIsReported)
{
    shimHooks().onPixel = notePixel;
    std::vector<int> copied;
    ZProgressDialog::setPresenter([&](const ZProgressDialog::Update& update) {
        if (!update.finished && update.percent >= 0)
            copied.push_back(pixels);
    });
    rendered(1024, 600);
    const int whole = 512 * 512, low = 512 * 88;
    EXPECT_EQ(copied, (std::vector<int>{0, whole, 2 * whole, 2 * whole + low}));
    EXPECT_EQ(pixels, 1024 * 600);
    char own[16] = "";
    pthread_getname_np(pthread_self(), own, sizeof own);
    for (const std::string& name : pixelThreads)
        EXPECT_TRUE(name == own || name == "TileCopier") << name;
    if (QThread::idealThreadCount() > 1) {
        EXPECT_EQ(pixelThreads.count("TileCopier"), 1u);
    }
}

TEST_F(SaveImageOrder, APendingErrorOfEarlierWorkLosesNoTile)
{
    const QImage expected = rendered(600, 100);
    shimHooks().glErrors = 1;
    LogCapture log;
    EXPECT_EQ(rendered(600, 100), expected);
    EXPECT_EQ(shimHooks().glErrors, 0) << "the error was not pending at all";
    EXPECT_TRUE(log.records().empty()) << log.text();
}

TEST_F(SaveImageOrder, AFatalErrorOfATileLosesThatTile)
{
    const QImage expected = rendered(600, 100);
    shimHooks().onCall = [](const char* call) {
        if (std::strcmp(call, "flush") != 0)
            return;
        shimHooks().glErrors = 1;
        shimHooks().onCall = nullptr;
    };
    LogCapture log;
    const QImage image = rendered(600, 100);
    EXPECT_EQ(log.withMessage(QStringLiteral("Couldn't read framebuffer object back!")).size(), 1u) << log.text();
    EXPECT_EQ(image.pixel(300, 50), 0x01020304u);
    EXPECT_EQ(image.copy(512, 0, 88, 100), expected.copy(512, 0, 88, 100));
}

TEST_F(SaveImageOrder, TilesAreCopiedWithoutMemoryForHelpers)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer has its own allocator";
#endif
    // Two tiles of one size, so that no framebuffer object is created after the first one.
    const QImage expected = rendered(1024, 512);
    shimHooks().onCall = [](const char* call) {
        if (std::strcmp(call, "flush") == 0)
            shimHooks().failGrabAllocations = true;
    };
    EXPECT_EQ(rendered(1024, 512), expected);
    EXPECT_TRUE(shimHooks().failGrabAllocations);
}

TEST_F(SaveImageOrder, TilesAreCopiedWithoutHelperThreads)
{
    const QImage expected = rendered(600, 500);
    shimHooks().refuseThreads = true;
    shimHooks().onPixel = notePixel;
    EXPECT_EQ(rendered(600, 500), expected);
    EXPECT_EQ(pixelThreads.count("TileCopier"), 0u);
}

TEST_F(SaveImageOrder, TheWaitCursorIsRestoredAfterAnException)
{
    TemporarySettings settings;
    QTemporaryDir folder;
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    auto* panel = new tov::gui::ScenePanel;
    panel->resize(400, 200);
    auto* command = new GrabImage;
    processor->drain();
    Viewer::getInstance()->setActivePanel(panel);
    const QString name = folder.filePath(QStringLiteral("a.png"));
    ASSERT_TRUE(command->getCurrentParameterSet()->at(0)->castString(name));
    ASSERT_TRUE(command->getCurrentParameterSet()->at(1)->castString(QStringLiteral("64")));
    shim<void (*)()>("shimOnDraw") = [] { throw std::bad_alloc(); };
    EXPECT_FALSE(processor->processCommand(command, 1, true)->succeeded());
    tov::main::Overseer::getInstance()->processWorkers();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    // Everything else has been released as well.
    shim<void (*)()>("shimOnDraw") = nullptr;
    EXPECT_TRUE(processor->processCommand(command, 1, true)->succeeded());
    EXPECT_EQ(QImageReader(name).size(), QSize(64, 32));
    Viewer::getInstance()->closePanel(panel);
    processor->destroyCommand(command);
}
