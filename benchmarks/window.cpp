// How long the window takes to respond: the intervals between two timer events while a view is turned with the mouse,
// alone, during a large picture and during a recording, and while the window is idle during a picture.
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
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int BeatMs = 2;
constexpr int TurnMs = 40;
constexpr int SecondsMs = 10000;
constexpr double LimitMs = 100;

struct Gaps
{
    double longest = 0;
    double median = 0;
    double percentile99 = 0;
    double seconds = 0;
};

/// Drags the mouse over a panel while it exists.
class Drag
{
public:
    explicit Drag(tov::gui::ScenePanel* panel) : mp_Panel(panel)
    {
        if (!panel)
            return;
        send(QEvent::MouseButtonPress, Qt::LeftButton);
        QObject::connect(&m_Timer, &QTimer::timeout, [this] {
            m_At += m_At > mp_Panel->QWidget::width() * 3 / 4 ? -m_At / 2 : 3;
            send(QEvent::MouseMove, Qt::NoButton);
        });
        m_Timer.start(TurnMs);
    }
    Drag(const Drag&) = delete;
    Drag& operator=(const Drag&) = delete;
    ~Drag()
    {
        if (mp_Panel)
            send(QEvent::MouseButtonRelease, Qt::LeftButton);
    }

private:
    void send(QEvent::Type type, Qt::MouseButton button) const
    {
        const QPointF at(m_At, mp_Panel->QWidget::height() / 2.0);
        const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, at, mp_Panel->mapToGlobal(at.toPoint()), button, held, Qt::NoModifier);
        QApplication::sendEvent(mp_Panel, &event);
    }

    tov::gui::ScenePanel* const mp_Panel;
    QTimer m_Timer;
    int m_At = 100;
};

/// Runs the event loop while `busy` is true, and turns the panel with the mouse unless it is null.
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
    const Drag drag(turned);
    while (busy())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    std::sort(gaps.begin(), gaps.end());
    Gaps result;
    result.seconds = double(total.nsecsElapsed()) / 1e9;
    if (!gaps.empty()) {
        result.longest = gaps.back();
        result.median = gaps[gaps.size() / 2];
        result.percentile99 = gaps[gaps.size() * 99 / 100];
    }
    return result;
}

void print(const char* what, const Gaps& gaps)
{
    std::printf(
        "%-44s longest %7.1f ms   median %6.1f ms   99 %% below %6.1f ms   ratio to %g ms: %.2f   (%.1f s)   %s\n",
        what, gaps.longest, gaps.median, gaps.percentile99, LimitMs, gaps.percentile99 / LimitMs, gaps.seconds,
        gaps.percentile99 <= LimitMs ? "reached" : "missed");
}

/// Starts a command; ends the program with one line when it cannot be started.
void start(const char* command, const QString& fileName, const QString& name, const QString& value)
{
    QString error;
    tov::main::CommandArguments arguments;
    arguments.named = {{QStringLiteral("filename"), fileName}, {name, value}};
    if (tov::main::Overseer::getInstance()->getCommandProcessor()->start(QLatin1String(command), arguments, &error))
        return;
    std::fprintf(stderr, "bench_window: %s\n", error.toLocal8Bit().constData());
    std::exit(1);
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

    const auto isRunning = [processor] { return !processor->getRuns().empty(); };
    // The lower bound: an event loop that paints the panel takes this long even when nothing else runs.
    QElapsedTimer clock;
    clock.start();
    print("view turned, nothing else running", measure(panel, [&] { return clock.elapsed() < SecondsMs; }));
    const QString width = QString::fromLocal8Bit(argc > 2 ? argv[2] : "10000");
    const QString picture = folder.filePath(QStringLiteral("picture.png"));
    start("grabimage", picture, QStringLiteral("width"), width);
    print("window idle during a picture", measure(nullptr, isRunning));
    start("grabimage", picture, QStringLiteral("width"), width);
    print("view turned during a picture", measure(panel, isRunning));
    start("grabvideo", folder.filePath(QStringLiteral("video.mp4")), QStringLiteral("sync"), QStringLiteral("0"));
    clock.restart();
    print("view turned during a recording", measure(panel, [&] { return clock.elapsed() < SecondsMs; }));
    while (isRunning()) {
        processor->getRuns().front()->stop();
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return 0;
}
