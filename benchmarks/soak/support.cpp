#include "benchmarks/soak/support.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/main/settings.h"
#include "kernel/util/processmemory.h"
#include "kernel/workers/overseer.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

#include <cmath>
#include <cstdio>
#include <vector>

namespace tov::soak {

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::scene::Geometry;
using tov::scene::GeometryElement;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

namespace {

int passedCount = 0, checkCount = 0;

} // namespace

void expect(bool passed, const QString& what)
{
    ++checkCount;
    passedCount += passed ? 1 : 0;
    std::printf("%s  %s\n", passed ? "passed" : "FAILED", qPrintable(what));
    std::fflush(stdout);
}

bool summarise(const char* part)
{
    std::printf("soak %s: %d of %d\n", part, passedCount, checkCount);
    return checkCount > 0 && passedCount == checkCount;
}

qint64 statusBytes(const char* field)
{
    return tov::util::kilobyteValue(QStringLiteral("/proc/self/status"), QByteArray(field) + ':');
}

qint64 residentBytes()
{
    return statusBytes("VmRSS");
}

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

void expectNoTemporaryFiles(const QString& folder)
{
    const QStringList left = entryNames(folder);
    expect(left.isEmpty(),
           QStringLiteral("temporary files left: %1 (limit 0) %2").arg(left.size()).arg(left.join(QLatin1Char(' '))));
}

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
    CommandRunPointer run = Overseer::getInstance()->getCommandProcessor()->start(text, &error);
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

namespace {

Geometry sphereOfPoints(std::size_t count)
{
    Geometry geometry;
    geometry.kind = Geometry::Kind::Points;
    geometry.positions.reserve(count * 3);
    for (std::size_t i = 0; i < count; ++i) {
        const double height = 2.0 * (double(i) + 0.5) / double(count) - 1, turn = 2.399963229728653 * double(i);
        const double radius = std::sqrt(1 - height * height);
        geometry.positions.insert(geometry.positions.end(),
                                  {float(radius * std::cos(turn)), float(height), float(radius * std::sin(turn))});
        geometry.indices.push_back(std::uint32_t(i));
    }
    return geometry;
}

Geometry sheetOfTriangles(std::size_t count)
{
    Geometry geometry;
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
    return geometry;
}

} // namespace

GeometryElement* largeElement(std::size_t count, bool points)
{
    return new GeometryElement(QStringLiteral("large"), points ? sphereOfPoints(count) : sheetOfTriangles(count));
}

void setScene(GeometryElement* element)
{
    auto* root = new tov::scene::SceneElement(QStringLiteral("root"));
    root->addChild(element);
    Viewer::getInstance()->getGlobalScene()->setRootNode(root);
}

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

void expectFrames(const QString& name, int width, int height, int frames)
{
    const qint64 found = framesIn(name, width, height);
    expect(found == frames, QStringLiteral("frames in %1, frames out %2").arg(frames).arg(found));
}

} // namespace tov::soak
