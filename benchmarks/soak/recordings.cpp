// Long recordings, and many at once.

#include "benchmarks/soak/parts.h"

#include "app/common/spacewatch.h"
#include "benchmarks/soak/hooks.h"
#include "benchmarks/soak/support.h"
#include "scene/geometryelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <vector>

#include <malloc.h>

namespace tov::soak {

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

void recordWithSlowEncoder(const QString& folder, const QString& temporary)
{
    const int width = 640, height = 480, frames = 2000, freeMb = 600;
    const qint64 frameBytes = qint64(width) * height * 4;
    setChunks(50, true);
    ScenePanel* panel = newPanel(width, height);
    // Once without a delay, to measure how long capturing takes.
    qputenv("TOV_SOAK_FRAME_MS", "0");
    selectWalk(200);
    QElapsedTimer clock;
    clock.start();
    CommandRunPointer run = startVideo(folder + QStringLiteral("/warm.slow"), width, height, true);
    processUntil([&] { return run->isFinished(); }, 60000);
    const double captureMs = double(clock.elapsed()) / 200;
    // Limited so that the part stays within its time limit.
    const double slowMs = std::min(10 * captureMs, 170.0);
    qputenv("TOV_SOAK_FRAME_MS", QByteArray::number(slowMs));
    malloc_trim(0);
    residentAtStart = residentBytes();
    simulatedFree = qint64(freeMb * Mb);
    resetPeak();
    selectWalk(frames);
    const QString name = folder + QStringLiteral("/long.slow");
    tov::app::SpaceWatch watch;
    double shown = 0, waiting = 0, furthest = 0;
    QObject::connect(&watch, &tov::app::SpaceWatch::measured, [&] {
        if (!run)
            return;
        shown = double(watch.getWaiting(run->getId())) / Mb;
        const qint64 captured = qint64(TrajectoryHandler::getInstance()->getPosition()) + 1;
        waiting = double(captured * frameBytes - QFileInfo(name).size() / KeptBytes * frameBytes) / Mb;
        furthest = std::max(furthest, std::abs(shown - waiting));
    });
    clock.start();
    run = startVideo(name, width, height, true);
    qint64 most = 0;
    const bool captured = processUntil(
        [&] {
            most = std::max(most, residentBytes());
            return TrajectoryHandler::getInstance()->getPosition() + 1 >= frames || run->isFinished();
        },
        300000);
    const double captureSeconds = double(clock.elapsed()) / 1000;
    const bool ended = processUntil(
        [&] {
            most = std::max(most, residentBytes());
            return run->isFinished();
        },
        560000);
    simulatedFree = -1;
    const qint64 peak = std::max(most, statusBytes("VmHWM")) - residentAtStart;
    expect(slowMs >= 10 * captureMs,
           QStringLiteral("encoder %1 ms per frame, capture alone %2 ms: ratio %3 (at least 10)")
               .arg(slowMs, 0, 'f', 1)
               .arg(captureMs, 0, 'f', 1)
               .arg(slowMs / captureMs, 0, 'f', 1));
    expect(captured && ended, QStringLiteral("%1 frames: captured after %2 s, encoded after %3 s (limit 560)")
                                  .arg(frames)
                                  .arg(captureSeconds, 0, 'f', 0)
                                  .arg(double(clock.elapsed()) / 1000, 0, 'f', 0));
    expect(QFileInfo(name).size() == qint64(KeptBytes) * frames,
           QStringLiteral("frames in %1, frames out %2").arg(frames).arg(double(QFileInfo(name).size()) / KeptBytes));
    // The difference includes a chunk that is half encoded and one that is half filled.
    expect(furthest > 0 && furthest <= 150,
           QStringLiteral("the displayed size of the pending frames is right within %1 MB (limit 150)")
               .arg(furthest, 0, 'f', 0));
    // Chunks go to memory while there is free memory, and to files from then on.
    expect(peak > freeMb * qint64(Mb) / 2 && peak <= freeMb * qint64(Mb),
           QStringLiteral("memory grew by %1 MB (limit: the %2 MB that were free), %3 MB were recorded")
               .arg(double(peak) / Mb, 0, 'f', 0)
               .arg(freeMb)
               .arg(double(frames * frameBytes) / Mb, 0, 'f', 0));
    expectNoTemporaryFiles(temporary);
    Viewer::getInstance()->closePanel(panel);
}

void recordPanels(const QString& folder, const QString& temporary)
{
    const int count = 8, width = 160, height = 120, wanted = 100;
    const qint64 frameBytes = qint64(width) * height * 4;
    setChunks(1, true);
    std::vector<ScenePanel*> all;
    std::vector<CommandRunPointer> runs;
    std::vector<QString> names;
    for (int i = 0; i < count; ++i) {
        all.push_back(newPanel(width, height));
        names.push_back(folder + QStringLiteral("/panel%1.raw").arg(i));
        runs.push_back(startVideo(names.back(), width, height, false));
        if (!runs.back())
            return expect(false, QStringLiteral("recording %1 did not start").arg(i));
        processUntil([&] { return QFileInfo::exists(names.back()); }, 20000);
    }
    const auto atOnce = std::count_if(runs.begin(), runs.end(), [](const auto& run) { return !run->isFinished(); });
    expect(atOnce == count, QStringLiteral("%1 of %2 panels record at once").arg(atOnce).arg(count));
    const bool reached = processUntil(
        [&] {
            return std::all_of(names.begin(), names.end(),
                               [&](const QString& name) { return QFileInfo(name).size() >= wanted * frameBytes; });
        },
        300000);
    for (const auto& run : runs)
        run->stop();
    const bool ended = processUntil(
        [&] { return std::all_of(runs.begin(), runs.end(), [](const auto& run) { return run->isFinished(); }); },
        60000);
    QStringList counts;
    qint64 beyond = 0;
    for (const QString& name : names) {
        beyond += QFileInfo(name).size() % frameBytes;
        counts << QString::number(QFileInfo(name).size() / frameBytes);
    }
    expect(reached && ended, QStringLiteral("frames of each recording when it was stopped (at least %1): %2")
                                 .arg(wanted)
                                 .arg(counts.join(QStringLiteral(", "))));
    expect(beyond == 0, QStringLiteral("bytes of incomplete frames: %1 (limit 0)").arg(beyond));
    expectNoTemporaryFiles(temporary);
    for (ScenePanel* panel : all)
        Viewer::getInstance()->closePanel(panel);
}

void recordLong(const QString& folder, const QString& temporary)
{
    const unsigned long frames = 90000;
    const int side = 32;
    setChunks(1, false);
    // Few triangles, because only the number of frames matters.
    setScene(largeElement(200, false));
    ScenePanel* panel = newPanel(side, side);
    auto* handler = TrajectoryHandler::getInstance();
    for (const QString& kind : {QStringLiteral("raw"), QStringLiteral("mp4")}) {
        const QString name = folder + QStringLiteral("/long.") + kind;
        selectWalk(frames);
        const CommandRunPointer run = startVideo(name, side, side, true);
        QElapsedTimer clock, gap;
        clock.start();
        // The base includes the codec's own memory.
        processUntil([&] { return handler->getPosition() >= 2000 && QFileInfo(name).size() > 0; }, 120000);
        // Memory that the allocator merely keeps for later does not count as growth.
        malloc_trim(0);
        resetPeak();
        const qint64 early = residentBytes();
        qint64 late = early;
        gap.start();
        const bool ended = processUntil(
            [&] {
                if (gap.elapsed() > 100 && !run->isFinished()) {
                    malloc_trim(0);
                    late = std::max(late, residentBytes());
                    gap.start();
                }
                return run->isFinished();
            },
            270000);
        expect(ended, QStringLiteral("%1: %2 frames in %3 s (limit 270)")
                          .arg(kind)
                          .arg(frames)
                          .arg(double(clock.elapsed()) / 1000, 0, 'f', 0));
        const qint64 found = framesIn(name, side, side);
        expect(found == qint64(frames),
               QStringLiteral("%1: frames in %2, frames out %3").arg(kind).arg(frames).arg(found));
        expect(double(late - early) <= 5 * Mb,
               QStringLiteral(
                   "%1: memory grew by at most %2 MB after frame 2000 (limit 5), by %3 MB while the file was finished")
                   .arg(kind)
                   .arg(double(late - early) / Mb, 0, 'f', 2)
                   .arg(double(statusBytes("VmHWM") - early) / Mb, 0, 'f', 2));
    }
    expectNoTemporaryFiles(temporary);
    Viewer::getInstance()->closePanel(panel);
}

} // namespace tov::soak
