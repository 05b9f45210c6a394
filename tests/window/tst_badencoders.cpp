// A slow encoder. Needs a plug-in that is not part of the program: tests/faults copies it next to a copy of the program
// and runs this test there.

#include "kernel/workers/overseer.h"
#include "app/viewer/panelgrid.h"
#include "tests/window/windowfixture.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

using namespace tov::test;

namespace {

class WindowBadEncoders : public WindowTest
{
protected:
    void SetUp() override
    {
        if (!QFile::exists(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/troublesome.so")))
            GTEST_SKIP() << "no failing plug-ins were found";
        WindowTest::SetUp();
    }
    void TearDown() override
    {
        if (!IsSkipped())
            WindowTest::TearDown();
    }
    bool start(const QString& ending)
    {
        tov::main::CommandArguments arguments;
        arguments.named = {{QStringLiteral("filename"), file(QStringLiteral("a.") + ending)},
                           {QStringLiteral("width"), QStringLiteral("160")},
                           {QStringLiteral("height"), QStringLiteral("120")},
                           {QStringLiteral("sync"), QStringLiteral("0")}};
        QString error;
        return bool(tov::main::Overseer::getInstance()->getCommandProcessor()->start(QStringLiteral("grabvideo"),
                                                                                     arguments, &error));
    }
};

} // namespace

TEST_F(WindowBadEncoders, ASlowOneIsAborted)
{
    openSample();
    menuAction("View", "2 views")->trigger();
    LogCapture log;
    ASSERT_TRUE(start("slow"));
    // It has taken one chunk and works on the next one.
    ASSERT_TRUE(processUntil([this] { return QFileInfo(file("a.slow")).size() > 0; }, 60000));
    // Closed directly: the menu would ask first, and then keep the captured frames.
    auto* grid = window().getPanelGrid();
    grid->closePanel(grid->getActivePanel());
    EXPECT_TRUE(waitForNoRuns(60000)) << "only the current chunk is finished";
    EXPECT_TRUE(log.contains("Video grabbing aborted")) << log.text();
    EXPECT_FALSE(QFile::exists(file("a.slow")));
    if (!HasFailure())
        std::puts("slow and aborted: good");
}
