// How long the window freezes while a large picture is made: the longest intervals between two timer events, with an
// idle window and with a view that is turned continuously.
//
//     bench_window MODEL [WIDTH]        (needs a display; scripts/bench starts one)

#include "app/common/startup.h"
#include "app/viewer/mainwindow.h"
#include "app/viewer/panelgrid.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int BeatMs = 2;
constexpr int TurnMs = 40;
constexpr double LimitMs = 50;

struct Gaps
{
    double longest = 0;
    double percentile99 = 0;
    double seconds = 0;
};

/// Runs the event loop while `busy` is true, and turns the panel unless it is null.
template <typename Busy>
Gaps measure(tov::gui::ScenePanel* turned, Busy busy)
{
    std::vector<double> gaps;
    QElapsedTimer total, beat;
    total.start();
    beat.start();
    QTimer pulse;
    pulse.setTimerType(Qt::PreciseTimer);
    QObject::connect(&pulse, &QTimer::timeout, [&] {
        gaps.push_back(double(beat.nsecsElapsed()) / 1e6);
        beat.restart();
    });
    pulse.start(BeatMs);
    QTimer turn;
    if (turned) {
        QObject::connect(&turn, &QTimer::timeout, [turned] { turned->orbit(2, 0); });
        turn.start(TurnMs);
    }
    while (busy())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    std::sort(gaps.begin(), gaps.end());
    Gaps result;
    result.seconds = double(total.nsecsElapsed()) / 1e9;
    if (!gaps.empty()) {
        result.longest = gaps.back();
        result.percentile99 = gaps[gaps.size() * 99 / 100];
    }
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fputs("usage: bench_window MODEL [WIDTH]\n", stderr);
        return 2;
    }
    tov::app::prepareProcess();
    QTemporaryDir folder;
    tov::app::StartOptions options;
    options.window = true;
    options.logLevel = 2000;
    options.settingsFile = folder.filePath(QStringLiteral("settings.ini"));
    int count = 1;
    tov::app::Startup startup(count, argv, options);
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    tov::viewer::MainWindow window(nullptr);
    window.show();
    window.openFiles({QString::fromLocal8Bit(argv[1])});
    while (window.isOpening() || !processor->getRuns().empty())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    auto* panel = window.getPanelGrid()->getActivePanel();

    // The lower bound: an event loop that paints the panel takes this long even without a picture.
    QElapsedTimer clock;
    clock.start();
    const Gaps alone = measure(panel, [&] { return clock.elapsed() < 3000; });
    std::printf("%-44s longest %7.1f ms   99 %% below %6.1f ms\n", "view turned, nothing else running", alone.longest,
                alone.percentile99);
    const QString width = QString::fromLocal8Bit(argc > 2 ? argv[2] : "10000");
    for (auto* turned : {static_cast<tov::gui::ScenePanel*>(nullptr), panel}) {
        QString error;
        tov::main::CommandArguments arguments;
        arguments.named = {{QStringLiteral("filename"), folder.filePath(QStringLiteral("picture.png"))},
                           {QStringLiteral("width"), width}};
        if (!processor->start(QStringLiteral("grabimage"), arguments, &error)) {
            std::fprintf(stderr, "%s\n", error.toLocal8Bit().constData());
            return 1;
        }
        const Gaps gaps = measure(turned, [&] { return !processor->getRuns().empty(); });
        std::printf("%-44s longest %7.1f ms   99 %% below %6.1f ms   ratio to %g ms: %.2f   (picture: %.1f s)   %s\n",
                    turned ? "view turned during a picture" : "window idle during a picture", gaps.longest,
                    gaps.percentile99, LimitMs, gaps.longest / LimitMs, gaps.seconds,
                    gaps.longest <= LimitMs ? "reached" : "missed");
    }
    return 0;
}
