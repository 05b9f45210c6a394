// A recording in the window whose display disappears. tests/faults starts the display, runs this test on it and ends
// the display.

#include "tests/window/windowfixture.h"

#include <cstdio>

using namespace tov::test;

class WindowDisplayGone : public WindowTest
{};

TEST_F(WindowDisplayGone, ARecordingRunsUntilTheDisplayIsGone)
{
    const QString video = qEnvironmentVariable("TOV_RECORD_TO");
    if (video.isEmpty())
        GTEST_SKIP() << "no process will end the display";
    openSample();
    ASSERT_TRUE(record(video, QStringLiteral(" width=160 height=120 sync=0")));
    std::puts("recording");
    std::fflush(stdout);
    QTest::qWait(60000);
    FAIL() << "the display is still there";
}
