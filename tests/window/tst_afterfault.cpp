// Recordings after one whose encoder failed, in one process. Needs plug-ins that are not part of the program:
// tests/faults copies them next to a copy of the program, passes their formats, and runs this test there.

#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "tests/window/windowfixture.h"
#include "trajectory/trajectoryhandler.h"

#include <cstdio>

using namespace tov::test;
using tov::trajectory::TrajectoryHandler;

namespace {

const char* const Good[2] = {"mp4", "lossless.mkv"};

} // namespace

class WindowAfterFault : public WindowTest
{
protected:
    /// Records 12 frames; false when it did not begin or did not end.
    bool recordsToItsEnd(const QString& fileName)
    {
        tov::main::CommandArguments arguments;
        arguments.named = {{QStringLiteral("filename"), fileName},
                           {QStringLiteral("width"), QStringLiteral("640")},
                           {QStringLiteral("height"), QStringLiteral("480")},
                           {QStringLiteral("sync"), QStringLiteral("1")}};
        QString error;
        auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
        // From the first position: the previous recording has moved along the trajectory.
        return TrajectoryHandler::getInstance()->selectTurntable(12, &error) &&
               processor->start(QStringLiteral("grabvideo"), arguments, &error) && waitForNoRuns();
    }
};

TEST_F(WindowAfterFault, TheNextRecordingsAreComplete)
{
    const QStringList faulty = qEnvironmentVariable("TOV_FAULTY").split(',', Qt::SkipEmptyParts);
    if (faulty.isEmpty())
        GTEST_SKIP() << "no failing plug-in was found";
    openSample();
    // One frame per chunk, so that there are many chunks.
    tovSettings().setValue("settings/grabvideotempfilesize", 1);
    for (const QString& ending : faulty) {
        const bool ended = recordsToItsEnd(file("first." + ending));
        int counts[2] = {-1, -1};
        for (int i = 0; i < 2; ++i) {
            const QString next = file(QStringLiteral("after-%1.%2").arg(ending, QLatin1String(Good[i])));
            if (recordsToItsEnd(next))
                counts[i] = countFrames(next);
        }
        std::printf("after %s: %s, then %d and %d frames\n", qPrintable(ending), ended ? "ended" : "not ended",
                    counts[0], counts[1]);
        std::fflush(stdout);
    }
    tovSettings().remove("settings/grabvideotempfilesize");
}
