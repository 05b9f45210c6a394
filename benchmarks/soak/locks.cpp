// How long other threads wait for the locks of a recording.

#include "benchmarks/soak/parts.h"

#include "app/viewer/mainwindow.h"
#include "app/viewer/panelgrid.h"
#include "benchmarks/soak/hooks.h"
#include "benchmarks/soak/support.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace tov::soak {

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

namespace {

void expectShortWaits(const char* what, std::vector<double> waits, double frameMs, std::size_t least)
{
    std::sort(waits.begin(), waits.end());
    const double at95 = waits.empty() ? 0 : waits[waits.size() * 95 / 100];
    expect(waits.size() >= least && at95 <= 2 * frameMs,
           QStringLiteral("%1 %2 times (at least %3): 95 % within %4 ms, longest %5 ms; a frame takes %6 ms (ratio %7, "
                          "limit 2)")
               .arg(QLatin1String(what))
               .arg(waits.size())
               .arg(least)
               .arg(at95, 0, 'f', 1)
               .arg(waits.empty() ? 0 : waits.back(), 0, 'f', 1)
               .arg(frameMs, 0, 'f', 1)
               .arg(at95 / frameMs, 0, 'f', 2));
}

} // namespace

void measureWindow(const QString& folder, const QString&)
{
    const int frames = 300, turnMs = 40;
    setChunks(50, true);
    setScene(largeElement(1000000, false));
    tov::viewer::MainWindow program(nullptr);
    program.resize(1280, 800);
    program.show();
    ScenePanel* panel = program.getPanelGrid()->getActivePanel();
    selectWalk(frames);
    auto* handler = TrajectoryHandler::getInstance();
    const QString name = folder + QStringLiteral("/w.raw");
    const CommandRunPointer run = startVideo(name, 640, 480, true);
    QTimer turn;
    QObject::connect(&turn, &QTimer::timeout, [panel] { panel->orbit(2, 0); });
    turn.start(turnMs);
    processUntil([&] { return handler->getPosition() > 0; }, 60000);
    QElapsedTimer clock;
    clock.start();
    const auto first = handler->getPosition();
    paintWaits.clear();
    const bool walked = processUntil([&] { return handler->getPosition() + 1 >= frames || run->isFinished(); }, 400000);
    const double frameMs = double(clock.nsecsElapsed()) / 1e6 / double(handler->getPosition() - first);
    const std::vector<double> waits = paintWaits;
    turn.stop();
    processUntil([&] { return run->isFinished(); }, 120000);
    expect(walked && run->isFinished(),
           QStringLiteral("%1 frames in %2 s (limit 400)").arg(frames).arg(double(clock.elapsed()) / 1000, 0, 'f', 0));
    expectShortWaits("the window waited for the locks to paint", waits, frameMs, 100);
    expectFrames(name, 640, 480, frames);
}

void measureLocks(const QString& folder, const QString&)
{
    const int frames = 600;
    setChunks(50, true);
    setScene(largeElement(1000000, false));
    ScenePanel* panel = newPanel(640, 480);
    selectWalk(frames);
    std::vector<double> waits;
    QElapsedTimer clock, wait;
    clock.start();
    const CommandRunPointer run = startVideo(folder + QStringLiteral("/a.raw"), 640, 480, true);
    auto* handler = TrajectoryHandler::getInstance();
    const auto scene = Viewer::getInstance()->getGlobalScene();
    processUntil([&] { return handler->getPosition() > 0; }, 60000);
    clock.start();
    const auto first = handler->getPosition();
    // As a panel does before it paints: first the shared context, then the scene.
    const bool walked = processUntil(
        [&] {
            wait.start();
            tov::scene::_GlobalContext()->lock();
            scene->lock();
            waits.push_back(double(wait.nsecsElapsed()) / 1e6);
            scene->unlock();
            tov::scene::_GlobalContext()->unlock();
            return handler->getPosition() + 1 >= frames || run->isFinished();
        },
        300000);
    const double frameMs = double(clock.nsecsElapsed()) / 1e6 / double(handler->getPosition() - first);
    processUntil([&] { return run->isFinished(); }, 120000);
    expect(walked && run->isFinished(),
           QStringLiteral("%1 frames in %2 s (limit 300)").arg(frames).arg(double(clock.elapsed()) / 1000, 0, 'f', 0));
    expectShortWaits("a thread waited for the locks", waits, frameMs, 200);
    expectFrames(folder + QStringLiteral("/a.raw"), 640, 480, frames);
    Viewer::getInstance()->closePanel(panel);
}

} // namespace tov::soak
