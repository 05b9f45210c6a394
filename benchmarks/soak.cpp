// Load tests: long and large recordings and pictures in one process. Prints one line per limit, with the measured
// value, and the number of limits that were kept.
//
//     soak PART        (scripts/soak lists the parts and builds this program)

#include "app/common/runrecords.h"
#include "app/common/spacewatch.h"
#include "app/common/startup.h"
#include "app/viewer/mainwindow.h"
#include "app/viewer/panelgrid.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/import/sceneimport.h"
#include "scene/view/scenepanel.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QProcess>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <malloc.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/sysinfo.h>
#include <unistd.h>

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::scene::Geometry;
using tov::scene::GeometryElement;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

namespace {

constexpr double Mb = 1e6;
constexpr int SmallDiskMb = 400;
constexpr int KeptBytes = 16; // per frame in the file of the slow encoder
int passedCount = 0, checkCount = 0;

void expect(bool passed, const QString& what)
{
    ++checkCount;
    passedCount += passed ? 1 : 0;
    std::printf("%s  %s\n", passed ? "passed" : "FAILED", qPrintable(what));
    std::fflush(stdout);
}

/// A memory figure of this process in bytes, by its name in /proc/self/status.
qint64 statusBytes(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(line.indexOf(':') + 1).trimmed().split(' ').first().toLongLong() * 1024;
    return -1;
}

qint64 residentBytes()
{
    return statusBytes("VmRSS");
}

/// Resets `VmHWM`, the peak of the resident memory.
void resetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

QStringList entryNames(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

int entries(const QString& folder)
{
    return entryNames(folder).size();
}

void expectNoTemporaryFiles(const QString& folder)
{
    const QStringList left = entryNames(folder);
    expect(left.isEmpty(),
           QStringLiteral("temporary files left: %1 (limit 0) %2").arg(left.size()).arg(left.join(QLatin1Char(' '))));
}

// Bytes of memory that seem to have been free when the recording began. -1 = do not simulate.
std::atomic<qint64> simulatedFree{-1};
std::atomic<qint64> residentAtStart{0};

// The application thread's waits for the locks of the shared context and the scene before it paints, in milliseconds.
std::vector<double> paintWaits;
thread_local double contextWaitMs = -1;

/// Runs the event loop until `done`; false when the time limit is reached.
bool processUntil(const std::function<bool()>& done, int limitMs)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > limitMs)
            return false;
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(500);
    }
    return true;
}

ScenePanel* newPanel(int width, int height)
{
    auto* panel = new ScenePanel;
    panel->resize(width, height);
    panel->fitToTurn();
    Viewer::getInstance()->setActivePanel(panel);
    Overseer::getInstance()->getCommandProcessor()->drain();
    return panel;
}

/// Selects a trajectory of that many points and goes to the first one.
void selectWalk(unsigned long count)
{
    std::vector<tov::trajectory::Point> points;
    for (unsigned long i = 0; i < count; ++i)
        points.push_back({0.01 * double(i % 100), 0.0, 0.0});
    auto* handler = TrajectoryHandler::getInstance();
    handler->getTrajectoryInfo()->setPoints(std::move(points));
    handler->getTrajectoryInfo()->setPosition(0);
    handler->selectMode(TrajectoryHandler::ModePlain);
}

CommandRunPointer start(const QString& text)
{
    QString error;
    const CommandRunPointer run = Overseer::getInstance()->getCommandProcessor()->start(text, &error);
    if (!run)
        std::fprintf(stderr, "soak: %s\n", qPrintable(error));
    return run;
}

CommandRunPointer startVideo(const QString& file, int width, int height, bool synced)
{
    return start(QStringLiteral("grabvideo filename=\"%1\" width=%2 height=%3 sync=%4")
                     .arg(file, QString::number(width), QString::number(height), QString::number(synced ? 1 : 0)));
}

void setChunks(int megabytes, bool memory)
{
    tovSettings().setValue(QStringLiteral("settings/grabvideotempfilesize"), megabytes);
    tovSettings().setValue(QStringLiteral("settings/grabvideousememoryasbuffer"), memory);
}

/// A wavy sheet of at least that many triangles, or a sphere of that many points.
GeometryElement* largeElement(std::size_t count, bool points)
{
    Geometry geometry;
    if (points) {
        geometry.kind = Geometry::Kind::Points;
        geometry.positions.reserve(count * 3);
        for (std::size_t i = 0; i < count; ++i) {
            const double height = 2.0 * (double(i) + 0.5) / double(count) - 1, turn = 2.399963229728653 * double(i);
            const double radius = std::sqrt(1 - height * height);
            geometry.positions.insert(geometry.positions.end(),
                                      {float(radius * std::cos(turn)), float(height), float(radius * std::sin(turn))});
        }
        for (std::size_t i = 0; i < count; ++i)
            geometry.indices.push_back(std::uint32_t(i));
    } else {
        const auto side = std::size_t(std::ceil(std::sqrt(double(count) / 2)));
        for (std::size_t y = 0; y <= side; ++y)
            for (std::size_t x = 0; x <= side; ++x) {
                const float u = float(x) / float(side) * 2 - 1, v = float(y) / float(side) * 2 - 1;
                geometry.positions.insert(geometry.positions.end(), {u, v, 0.2f * std::sin(6 * u) * std::cos(6 * v)});
            }
        for (std::size_t y = 0; y < side; ++y)
            for (std::size_t x = 0; x < side; ++x) {
                const auto at = std::uint32_t(y * (side + 1) + x), above = std::uint32_t(at + side + 1);
                geometry.indices.insert(geometry.indices.end(), {at, at + 1, above + 1, at, above + 1, above});
            }
    }
    return new GeometryElement(QStringLiteral("large"), std::move(geometry));
}

void setScene(GeometryElement* element)
{
    auto* root = new tov::scene::SceneElement(QStringLiteral("root"));
    root->addChild(element);
    Viewer::getInstance()->getGlobalScene()->setRootNode(root);
}

// ---- The parts. Each starts with a scene of 20000 triangles and a folder of its own.

void slowEncoder(const QString& folder, const QString& temporary)
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

/// Recordings that fill a small disk. `temporary` is one of `SmallDiskMb`.
void space(const QString& folder, const QString& temporary)
{
    const int width = 640, height = 480, positions = 100000;
    const qint64 frameBytes = qint64(width) * height * 4, limit = 50 * qint64(Mb);
    qputenv("TOV_SOAK_FRAME_MS", "20");
    setChunks(10, false);
    tov::app::SpaceWatch watch;
    int warnings = 0;
    QObject::connect(&watch, &tov::app::SpaceWatch::lowSpace, [&warnings](const QString&) { ++warnings; });
    tov::app::FailureLog errors(tov::app::FailureLog::Console::Ignore);
    ScenePanel* panel = newPanel(width, height);
    const struct
    {
        QString what, file;
        qint64 kept;
    } rows[] = {
        {QStringLiteral("temporary folder fills up"), folder + QStringLiteral("/space.slow"), KeptBytes},
        {QStringLiteral("the disk of the output fills up too"), temporary + QStringLiteral("/space.raw"), frameBytes}};
    for (const auto& row : rows) {
        warnings = 0;
        errors.clear();
        selectWalk(positions);
        const qint64 before = QStorageInfo(temporary).bytesAvailable();
        qint64 least = before, atStop = 0;
        const CommandRunPointer run = startVideo(row.file, width, height, true);
        const bool ended = processUntil(
            [&] {
                const qint64 room = QStorageInfo(temporary).bytesAvailable();
                least = std::min(least, room);
                if (warnings == 0)
                    atStop = room;
                return run->isFinished();
            },
            120000);
        const qint64 frames = qint64(TrajectoryHandler::getInstance()->getPosition()) + 1;
        expect(ended && warnings == 1 && frames < positions,
               QStringLiteral("%1 (%2 MB): stopped, %3 warnings (expected 1)")
                   .arg(row.what)
                   .arg(double(before) / Mb, 0, 'f', 0)
                   .arg(warnings));
        expect(atStop < 2 * limit && least > 0,
               QStringLiteral("%1: %2 MB free when stopped (limit 100), lowest %3 MB (more than 0)")
                   .arg(row.what)
                   .arg(double(atStop) / Mb, 0, 'f', 0)
                   .arg(double(least) / Mb, 0, 'f', 0));
        expect(frames > 50 && QFileInfo(row.file).size() == frames * row.kept,
               QStringLiteral("%1: frames in %2, frames out %3")
                   .arg(row.what)
                   .arg(frames)
                   .arg(double(QFileInfo(row.file).size()) / double(row.kept)));
        expect(errors.messages().isEmpty(), QStringLiteral("%1: %2 error messages (limit 0) %3")
                                                .arg(row.what)
                                                .arg(errors.messages().size())
                                                .arg(errors.messages().value(0)));
        QFile::remove(row.file);
    }
    expectNoTemporaryFiles(temporary);
    Viewer::getInstance()->closePanel(panel);
}

/// The number of frames in a recorded file, by its size (raw) or by ffprobe; -1 = not readable.
qint64 framesIn(const QString& name, int width, int height)
{
    const qint64 frameBytes = qint64(width) * height * 4;
    if (name.endsWith(QLatin1String(".raw"))) {
        const qint64 size = QFileInfo(name).size();
        return size % frameBytes == 0 ? size / frameBytes : -1;
    }
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_packets"),
                 QStringLiteral("-show_entries"), QStringLiteral("stream=nb_read_packets"), QStringLiteral("-of"),
                 QStringLiteral("csv=p=0"), name});
    if (!probe.waitForFinished(120000) || probe.exitCode() != 0 || !probe.readAllStandardError().isEmpty())
        return -1;
    bool number = false;
    const qint64 frames = probe.readAllStandardOutput().trimmed().split(',').first().toLongLong(&number);
    return number ? frames : -1;
}

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

void expectFrames(const QString& name, int width, int height, int frames)
{
    const qint64 found = framesIn(name, width, height);
    expect(found == frames, QStringLiteral("frames in %1, frames out %2").arg(frames).arg(found));
}

/// The program's window, whose view is turned continuously while it is recorded.
void window(const QString& folder, const QString&)
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

void locks(const QString& folder, const QString&)
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

void panels(const QString& folder, const QString& temporary)
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

void picture(const QString& folder, const QString&)
{
    const int width = 40000, height = 30000;
    const double target = 4.0 * width * height;
    ScenePanel* panel = newPanel(400, 300);
    // The base includes what OpenGL and the picture writer keep allocated.
    CommandRunPointer run = start(QStringLiteral("grabimage filename=\"%1/warm.png\" width=2000").arg(folder));
    processUntil([&] { return run->isFinished(); }, 60000);
    malloc_trim(0);
    resetPeak();
    const qint64 base = residentBytes();
    const QString name = folder + QStringLiteral("/large.png");
    QElapsedTimer clock;
    clock.start();
    run = start(QStringLiteral("grabimage filename=\"%1\" width=%2").arg(name, QString::number(width)));
    const bool ended = processUntil([&] { return run->isFinished(); }, 560000);
    const double peak = double(statusBytes("VmHWM") - base);
    expect(ended, QStringLiteral("a picture of %1 x %2 in %3 s (limit 560)")
                      .arg(width)
                      .arg(height)
                      .arg(double(clock.elapsed()) / 1000, 0, 'f', 0));
    QProcess check;
    check.start(QStringLiteral("pngcheck"), {QStringLiteral("-q"), name});
    const bool valid =
        check.waitForFinished(120000) && check.exitStatus() == QProcess::NormalExit && check.exitCode() == 0;
    expect(valid, QStringLiteral("pngcheck accepts the file (status %1)").arg(check.exitCode()));
    expect(QImageReader(name).size() == QSize(width, height), QStringLiteral("the file is %1 x %2, %3 MB")
                                                                  .arg(QImageReader(name).size().width())
                                                                  .arg(QImageReader(name).size().height())
                                                                  .arg(double(QFileInfo(name).size()) / Mb, 0, 'f', 0));
    expect(peak > target && peak <= 1.15 * target,
           QStringLiteral("memory grew by %1 MB, %2 of the picture's bytes (limit 1.15)")
               .arg(peak / Mb, 0, 'f', 0)
               .arg(peak / target, 0, 'f', 3));
    Viewer::getInstance()->closePanel(panel);
}

/// Writes a binary PLY file of points, or of a sheet of triangles.
bool writePly(const QString& name, const GeometryElement& element)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const bool points = element.getKind() == Geometry::Kind::Points;
    QByteArray text = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                      QByteArray::number(qulonglong(element.getVertices().size())) +
                      "\nproperty float x\nproperty float y\nproperty float z\n";
    if (!points)
        text += "element face " + QByteArray::number(qulonglong(element.getIndices().size() / 3)) +
                "\nproperty list uchar int vertex_indices\n";
    file.write(text + "end_header\n");
    QByteArray block;
    const auto flush = [&](int limit) {
        if (block.size() > limit) {
            file.write(block);
            block.clear();
        }
    };
    for (const auto& vertex : element.getVertices()) {
        block.append(reinterpret_cast<const char*>(vertex.position), sizeof vertex.position);
        flush(1 << 20);
    }
    if (!points)
        for (std::size_t i = 0; i + 2 < element.getIndices().size(); i += 3) {
            block.append('\3');
            block.append(reinterpret_cast<const char*>(element.getIndices().data() + i), 12);
            flush(1 << 20);
        }
    flush(0);
    return file.flush() && file.error() == QFileDevice::NoError;
}

std::size_t countPrimitives(tov::scene::SceneElement* element)
{
    std::size_t count = 0;
    if (const auto* geometry = dynamic_cast<GeometryElement*>(element))
        count += geometry->getIndices().size() / std::size_t(geometry->getKind());
    for (auto* child : element->getChildren())
        count += countPrimitives(child);
    return count;
}

void models(const QString& folder, const QString&)
{
    const struct
    {
        const char* name;
        std::size_t count;
        bool points;
    } rows[] = {{"10 million triangles", 10000000, false}, {"20 million points", 20000000, true}};
    for (const auto& row : rows) {
        const QString what = QString::fromLatin1(row.name), model = folder + QStringLiteral("/large.ply");
        std::size_t written = 0;
        {
            const std::unique_ptr<GeometryElement> element(largeElement(row.count, row.points));
            written = element->getIndices().size() / std::size_t(element->getKind());
            if (!writePly(model, *element))
                return expect(false, QStringLiteral("cannot write the file of %1").arg(what));
        }
        Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
        malloc_trim(0);
        QString error;
        QElapsedTimer clock;
        clock.start();
        const bool read = tov::scene::SceneImport::addFiles({model}, &error);
        std::size_t count = 0;
        if (read)
            count = countPrimitives(Viewer::getInstance()->getGlobalScene()->getRootNode());
        expect(read && count == written && count >= row.count,
               QStringLiteral("%1: %2 of %3 read in %4 s, %5 MB resident %6")
                   .arg(what)
                   .arg(count)
                   .arg(written)
                   .arg(double(clock.elapsed()) / 1000, 0, 'f', 1)
                   .arg(double(residentBytes()) / Mb, 0, 'f', 0)
                   .arg(error));
        ScenePanel* panel = newPanel(640, 480);
        clock.start();
        CommandRunPointer run = start(QStringLiteral("grabimage filename=\"%1/p.png\" width=640").arg(folder));
        processUntil([&] { return run->isFinished(); }, 250000);
        const QImage image(folder + QStringLiteral("/p.png"));
        qint64 drawn = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                drawn += qAlpha(image.pixel(x, y)) == 255;
        expect(image.width() == 640 && drawn > 10000,
               QStringLiteral("%1: picture in %2 s (limit 250), %3 pixels covered (at least 10001)")
                   .arg(what)
                   .arg(double(clock.elapsed()) / 1000, 0, 'f', 1)
                   .arg(drawn));
        selectWalk(10);
        setChunks(50, true);
        clock.start();
        run = startVideo(folder + QStringLiteral("/v.raw"), 640, 480, true);
        processUntil([&] { return run->isFinished(); }, 250000);
        expect(QFileInfo(folder + QStringLiteral("/v.raw")).size() == 10ll * 640 * 480 * 4,
               QStringLiteral("%1: %2 of 10 frames recorded in %3 s (limit 250)")
                   .arg(what)
                   .arg(double(QFileInfo(folder + QStringLiteral("/v.raw")).size()) / (640 * 480 * 4))
                   .arg(double(clock.elapsed()) / 1000, 0, 'f', 1));
        Viewer::getInstance()->closePanel(panel);
    }
}

/// The growth per round, as the slope of the least-squares line.
double slope(const std::vector<double>& values)
{
    const double n = double(values.size());
    double sumX = 0, sumY = 0, sumXY = 0, sumXX = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        sumX += double(i);
        sumY += values[i];
        sumXY += double(i) * values[i];
        sumXX += double(i) * double(i);
    }
    return (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
}

/// True when no thread of a command or recording is left. The system lists a thread for a moment after it has ended.
bool haveThreadsEnded()
{
    for (const QString& task : entryNames(QStringLiteral("/proc/self/task"))) {
        QFile file(QStringLiteral("/proc/self/task/%1/comm").arg(task));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray name = file.readAll().trimmed();
        if (name == "Command" || name == "Grabber" || name == "SyncedGrabber" || name == "QThread")
            return false;
    }
    return true;
}

/// What must not grow from round to round.
struct Handles
{
    int threads = 0, descriptors = 0, files = 0;

    static Handles count(const QString& temporary)
    {
        return {entries(QStringLiteral("/proc/self/task")), entries(QStringLiteral("/proc/self/fd")),
                entries(temporary)};
    }
};

/// Repeats one kind of job and checks its results and resources.
struct Rounds
{
    static constexpr int WarmUp = 20, Count = 200, Frames = 20;

    QString kind, file;
    bool video = false;
    std::vector<double> memory{}, allocated{};
    int good = 0;
    Handles before{};

    void run(const QString& temporary)
    {
        for (int i = 0; i < WarmUp + Count; ++i) {
            if (!runOnce())
                return;
            if (i >= WarmUp) {
                good += isResultRight(i) ? 1 : 0;
                // Memory that the allocator merely keeps for later does not count as growth.
                malloc_trim(0);
                memory.push_back(double(residentBytes()));
                allocated.push_back(double(mallinfo2().uordblks));
            }
            if (i == WarmUp - 1)
                before = Handles::count(temporary);
        }
    }

    bool runOnce() const
    {
        QFile::remove(file);
        selectWalk(Frames);
        const CommandRunPointer run = video ? startVideo(file, 160, 120, true)
                                            : start(QStringLiteral("grabimage filename=\"%1\" width=600").arg(file));
        if (!run)
            return false;
        processUntil([&] { return run->isFinished(); }, 60000);
        processUntil(haveThreadsEnded, 20000);
        return true;
    }

    bool isResultRight(int round) const
    {
        if (!video)
            return QImageReader(file).size() == QSize(600, 450);
        // ffprobe takes longer than a round, so it reads one file of ten.
        if (round % 10 == 0 || file.endsWith(QLatin1String(".raw")))
            return framesIn(file, 160, 120) == Frames;
        return QFileInfo(file).size() > 0;
    }

    void check(const QString& temporary) const
    {
        expect(good == Count,
               QStringLiteral("%1 of %2 %3 are right").arg(QString::number(good), QString::number(Count), kind));
        if (memory.size() < 2)
            return;
        expect(slope(memory) <= 8192,
               QStringLiteral("%1: resident memory grows by %2 KiB per round (limit 8), allocated memory by %3 KiB")
                   .arg(kind, QString::number(slope(memory) / 1024, 'f', 2),
                        QString::number(slope(allocated) / 1024, 'f', 2)));
        processUntil(
            [&] {
                const Handles now = Handles::count(temporary);
                return now.threads <= before.threads && now.descriptors <= before.descriptors;
            },
            20000);
        const Handles after = Handles::count(temporary);
        expectNoGrowth("descriptors", before.descriptors, after.descriptors);
        expectNoGrowth("threads", before.threads, after.threads);
        expectNoGrowth("temporary files", before.files, after.files);
    }

    void expectNoGrowth(const char* what, int earlier, int later) const
    {
        expect(later <= earlier, QStringLiteral("%1: %2 %3 before, %4 after (limit +0)")
                                     .arg(kind, QLatin1String(what), QString::number(earlier), QString::number(later)));
    }
};

void rounds(const QString& folder, const QString& temporary)
{
    setChunks(1, false);
    ScenePanel* panel = newPanel(160, 120);
    Rounds kinds[] = {{QStringLiteral("recordings"), folder + QStringLiteral("/r.raw"), true},
                      {QStringLiteral("recordings as mp4"), folder + QStringLiteral("/r.mp4"), true},
                      {QStringLiteral("pictures"), folder + QStringLiteral("/r.png"), false}};
    for (Rounds& each : kinds) {
        each.run(temporary);
        each.check(temporary);
    }
    Viewer::getInstance()->closePanel(panel);
}

void longRecording(const QString& folder, const QString& temporary)
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

/// Mounts a file system of `SmallDiskMb` on the folder, for this process only. False, with an error message, where that
/// is not allowed. Call it before there are threads.
bool mountSmallDisk(const QString& folder)
{
    const auto write = [](const char* name, const std::string& text) {
        QFile file(QString::fromLatin1(name));
        return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
               file.write(text.data(), qint64(text.size())) == qint64(text.size());
    };
    const auto user = std::to_string(geteuid()), group = std::to_string(getegid());
    // A user name space allows mounting without privileges.
    const bool apart = unshare(CLONE_NEWNS) == 0 ||
                       (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write("/proc/self/setgroups", "deny") &&
                        write("/proc/self/uid_map", user + " " + user + " 1") &&
                        write("/proc/self/gid_map", group + " " + group + " 1"));
    const QByteArray options = "size=" + QByteArray::number(SmallDiskMb) + "m";
    if (apart && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, options.constData()) == 0)
        return true;
    std::fprintf(stderr, "soak: cannot mount a small disk: %s\n", std::strerror(errno));
    return false;
}

} // namespace

// Replaces the library's function, to measure how long the application thread waits before it paints.
void tov::scene::SharedContext::lock()
{
    static const auto real =
        reinterpret_cast<void (*)(SharedContext*)>(dlsym(RTLD_NEXT, "_ZN3tov5scene13SharedContext4lockEv"));
    QElapsedTimer clock;
    clock.start();
    real(this);
    contextWaitMs = double(clock.nsecsElapsed()) / 1e6;
}

void tov::scene::Scene::lock()
{
    static const auto real = reinterpret_cast<void (*)(Scene*)>(dlsym(RTLD_NEXT, "_ZN3tov5scene5Scene4lockEv"));
    QElapsedTimer clock;
    clock.start();
    real(this);
    if (contextWaitMs >= 0 && QThread::currentThread() == QCoreApplication::instance()->thread())
        paintWaits.push_back(contextWaitMs + double(clock.nsecsElapsed()) / 1e6);
    contextWaitMs = -1;
}

// Replaces the system's function, by which the recording finds out how much memory is free.
extern "C" TOV_EXPORT int sysinfo(struct sysinfo* info) noexcept
{
    static const auto real = reinterpret_cast<int (*)(struct ::sysinfo*)>(dlsym(RTLD_NEXT, "sysinfo"));
    const int result = real(info);
    const qint64 free = simulatedFree;
    if (free >= 0) {
        info->mem_unit = 1;
        info->freeram = static_cast<unsigned long>(std::max<qint64>(0, free - (residentBytes() - residentAtStart)));
        info->bufferram = 0;
    }
    return result;
}

int main(int argc, char** argv)
{
    const struct
    {
        const char* name;
        void (*run)(const QString& folder, const QString& temporary);
    } parts[] = {{"slow", slowEncoder}, {"space", space},   {"locks", locks},
                 {"window", window},    {"panels", panels}, {"picture", picture},
                 {"models", models},    {"rounds", rounds}, {"long", longRecording}};
    const auto* part = std::find_if(std::begin(parts), std::end(parts), [&](const auto& each) {
        return argc == 2 && std::strcmp(argv[1], each.name) == 0;
    });
    if (part == std::end(parts)) {
        std::fputs("usage: soak slow|space|locks|window|panels|picture|models|rounds|long\n", stderr);
        return 2;
    }
    // Threads get one of the allocator's arenas at random, and unused megabytes in them hide a small growth.
    if (part->run == rounds || part->run == longRecording)
        mallopt(M_ARENA_MAX, 1);
    tov::app::prepareProcess();
    QTemporaryDir folder, temporary;
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    if (part->run == space && !mountSmallDisk(temporary.path()))
        return 1;
    // If it is not set, Qt creates a folder among the temporary files.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
    {
        tov::app::StartOptions options;
        options.window = part->run == window;
        options.settingsFile = folder.filePath(QStringLiteral("settings.ini"));
        int count = 1;
        tov::app::Startup startup(count, argv, options);
        setScene(largeElement(20000, false));
        part->run(folder.path(), temporary.path());
    }
    if (part->run == space)
        umount2(QFile::encodeName(temporary.path()).constData(), MNT_DETACH);
    std::printf("soak %s: %d of %d\n", part->name, passedCount, checkCount);
    return checkCount > 0 && passedCount == checkCount ? 0 : 1;
}
