// The cost of one recorded frame, step by step (drawing, reading back, appending to the chunk), then of encoding alone
// and of the whole program, over the same turntable. Prints medians and the ratio to the slowest step.
//
//     bench_recording MODEL [POSITIONS]

#include "kernel/workers/overseer.h"
#include "plugins/platform/select/headless.h"
#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/import/sceneimport.h"
#include "scene/view/scenepanel.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include <sys/resource.h>

namespace {

constexpr int Width = 1280;
constexpr int Height = 720;
constexpr int Runs = 9;
constexpr int ChunkBytes = 50000000;
constexpr int ChunkReserve = 10000000; ///< room for the frame that exceeds ChunkBytes

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

/// Processor time of this process (RUSAGE_SELF) or of the children that it waited for (RUSAGE_CHILDREN), in seconds.
double processorSeconds(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double elapsedMs(const QElapsedTimer& clock)
{
    return double(clock.nsecsElapsed()) / 1e6;
}

/// Medians over `Runs` runs of a process, in seconds; below 0 if a run failed.
struct Seconds
{
    double wall = -1;
    double processor = -1;
};
struct Job
{
    QString program;
    QStringList arguments;
    std::vector<double> wall, processor;

    bool run()
    {
        QElapsedTimer clock;
        clock.start();
        const double before = processorSeconds(RUSAGE_CHILDREN);
        QProcess process;
        process.start(program, arguments);
        if (!process.waitForFinished(-1) || process.exitCode() != 0) {
            std::fprintf(stderr, "bench_recording: %s failed: %s\n", qPrintable(program),
                         process.readAllStandardError().constData());
            return false;
        }
        wall.push_back(elapsedMs(clock) / 1000);
        processor.push_back(processorSeconds(RUSAGE_CHILDREN) - before);
        return true;
    }
    Seconds seconds() const { return wall.size() == Runs ? Seconds{median(wall), median(processor)} : Seconds{}; }
};

/// Milliseconds per frame.
struct CaptureTimes
{
    std::vector<double> draw, readBack, append, processor;

    double frame() const { return median(draw) + median(readBack) + median(append); }
};

/// The OpenGL calls that draw one frame of a recording.
void drawFrame(tov::scene::SceneDrawer& drawer, tov::gui::ScenePanel* panel)
{
    const QColor background = drawer.getBackgroundColor();
    glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_COLOR_MATERIAL);
    drawer.resize(Width, Height);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45.0, double(Width) / Height, 1, 10000);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_LIGHT0);
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    drawer.glDraw(scene->getRootNode(), nullptr, panel->getScaledTransformMatrix(), 0.0, 65535, 7);
    glFinish();
}

/// Draws the turntable into a buffer of its own and writes the raw frames to `raw`. False when there is no OpenGL.
bool captureTurn(tov::gui::ScenePanel* panel, int positions, QFile& raw, CaptureTimes& times)
{
    QOpenGLContext context;
    context.setShareContext(tov::scene::_GlobalContext()->glContext());
    QOffscreenSurface surface;
    surface.create();
    if (!context.create() || !context.makeCurrent(&surface))
        return false;
    {
        QOpenGLFramebufferObject fbo(Width, Height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                     GL_RGBA8);
        tov::scene::SceneDrawer drawer(tov::scene::Viewer::getInstance()->getGlobalScene());
        QBuffer chunk;
        chunk.open(QIODevice::ReadWrite);
        // The program prefaults the pages of a chunk while it draws, so they are prefaulted here too.
        chunk.buffer().fill(0, ChunkBytes + ChunkReserve);
        chunk.buffer().reserve(ChunkBytes + ChunkReserve);
        chunk.buffer().resize(0);
        QElapsedTimer clock;
        for (int i = 0; i < positions; ++i) {
            const double before = processorSeconds(RUSAGE_SELF);
            tov::trajectory::TrajectoryHandler::getInstance()->setPosition(static_cast<unsigned long>(i));
            clock.start();
            fbo.bind();
            drawFrame(drawer, panel);
            times.draw.push_back(elapsedMs(clock));
            clock.start();
            const QImage picture = fbo.toImage();
            fbo.release();
            times.readBack.push_back(elapsedMs(clock));
            clock.start();
            chunk.write(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
            times.append.push_back(elapsedMs(clock));
            times.processor.push_back((processorSeconds(RUSAGE_SELF) - before) * 1000);
            raw.write(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
            if (chunk.size() > ChunkBytes) {
                chunk.buffer().resize(0);
                chunk.seek(0);
            }
        }
    }
    context.doneCurrent();
    return true;
}

void printCapture(const char* model, int positions, double loadMs, const CaptureTimes& times)
{
    std::printf("%s, %d x %d, %d positions; medians, of whole processes over %d runs\n", model, Width, Height,
                positions, Runs);
    std::printf("load                 %8.1f ms\n", loadMs);
    std::printf("draw                 %8.2f ms per frame\n", median(times.draw));
    std::printf("read back            %8.2f ms per frame\n", median(times.readBack));
    std::printf("append to the chunk  %8.2f ms per frame\n", median(times.append));
    std::printf("capture alone        %8.1f frames/s\n", 1000 / times.frame());
    std::fflush(stdout);
}

/// Runs the ffmpeg program on the raw frames and the tov program on the model, and compares tov with the slowest step.
/// False when a program failed.
bool compareWithLimit(const QString& model, int positions, const QString& rawFile, const QTemporaryDir& folder,
                      const CaptureTimes& times)
{
    const QString size = QStringLiteral("%1x%2").arg(Width).arg(Height);
    const QString encodingArguments =
        QStringLiteral("-v error -y -f rawvideo -pix_fmt bgra -s %1 -r 25 -i FRAMES -c:v libx264 -preset veryfast "
                       "-pix_fmt yuv420p -b:v 1200k")
            .arg(size);
    Job encoding{QStringLiteral("ffmpeg"), encodingArguments.split(QLatin1Char(' ')), {}, {}};
    encoding.arguments.replace(encoding.arguments.indexOf(QStringLiteral("FRAMES")), rawFile);
    encoding.arguments << folder.filePath(QStringLiteral("e.mp4"));
    Job recording{QStringLiteral(TOV_BINARY_DIR "/bin/tov"),
                  {"video", "-q", model, "-o", folder.filePath(QStringLiteral("w.mp4")), "--size", size, "--turntable",
                   QString::number(positions)},
                  {},
                  {}};
    // In turns, so that other load on the machine affects both alike.
    for (int i = 0; i < Runs && encoding.run() && recording.run(); ++i) {
    }
    const Seconds encode = encoding.seconds(), whole = recording.seconds();
    if (encode.wall <= 0 || whole.wall <= 0)
        return false;
    const double captureAlone = 1000 / times.frame(), encodeAlone = positions / encode.wall;
    const double cores = QThread::idealThreadCount();
    const double processorMs = median(times.processor), encodeMs = encode.processor / positions * 1000;
    const double spread = cores * 1000 / (processorMs + encodeMs);
    const double ratio = positions / whole.wall / std::min({captureAlone, encodeAlone, spread});
    std::printf("encode alone         %8.1f frames/s (the ffmpeg program, same codec and preset)\n", encodeAlone);
    std::printf("both, all cores busy %8.1f frames/s (%.1f and %.1f ms of processor time per frame, %.0f cores)\n",
                spread, processorMs, encodeMs, cores);
    std::printf("tov video            %8.1f frames/s (whole process)\n", positions / whole.wall);
    std::printf("ratio                %8.2f of the slowest of these three, target at least 0.8: %s\n", ratio,
                ratio >= 0.8 ? "reached" : "missed");
    return true;
}

int measure(const char* model, int positions)
{
    auto* viewer = tov::scene::Viewer::getInstance();
    QString error;
    QElapsedTimer clock;
    clock.start();
    if (!viewer->initialize() || !tov::scene::SceneImport::addFiles({QString::fromLocal8Bit(model)}, &error)) {
        std::fprintf(stderr, "%s\n", error.toLocal8Bit().constData());
        return 1;
    }
    const double loadMs = elapsedMs(clock);
    auto* panel = new tov::gui::ScenePanel;
    panel->resize(Width, Height);
    panel->fitToTurn();
    viewer->setActivePanel(panel);
    tov::trajectory::TrajectoryHandler::getInstance()->selectTurntable(positions, &error);

    QTemporaryDir folder;
    QFile raw(folder.filePath(QStringLiteral("frames.bgra")));
    CaptureTimes times;
    if (!raw.open(QIODevice::WriteOnly) || !captureTurn(panel, positions, raw, times))
        return 1;
    raw.close();
    printCapture(model, positions, loadMs, times);
    const bool good = compareWithLimit(QString::fromLocal8Bit(model), positions, raw.fileName(), folder, times);
    viewer->closePanel(panel);
    viewer->shutdown();
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fputs("usage: bench_recording MODEL [POSITIONS]\n", stderr);
        return 2;
    }
    const int positions = argc > 2 ? std::max(2, std::atoi(argv[2])) : 100;
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    tov::platform::setDefaultFormat();
    tov::platform::prepareHeadless(QStringLiteral(TOV_BINARY_DIR "/bin/plugins"));
    int one = 1;
    QApplication application(one, argv);
    tov::main::Overseer::getInstance();
    const int status = measure(argv[1], positions);
    tov::main::Overseer::destroyInstance();
    return status;
}
