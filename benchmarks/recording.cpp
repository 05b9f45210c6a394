// What a frame of a recording costs, part by part: drawing, reading back, appending to the chunk; then encoding alone
// and the whole program, over the same turntable. Prints medians and the ratio to the limit.
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

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

/// Seconds of the processors that this process, or those that it waited for, have used.
double processorSeconds(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

/// Medians of whole processes, in seconds; below 0 when one fails.
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
        wall.push_back(double(clock.nsecsElapsed()) / 1e9);
        processor.push_back(processorSeconds(RUSAGE_CHILDREN) - before);
        return true;
    }
    Seconds seconds() const { return wall.size() == Runs ? Seconds{median(wall), median(processor)} : Seconds{}; }
};

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
    auto* viewer = tov::scene::Viewer::getInstance();
    QString error;
    QElapsedTimer clock;
    clock.start();
    if (!viewer->initialize() || !tov::scene::SceneImport::addFiles({QString::fromLocal8Bit(argv[1])}, &error)) {
        std::fprintf(stderr, "%s\n", error.toLocal8Bit().constData());
        return 1;
    }
    const double load = double(clock.nsecsElapsed()) / 1e6;
    auto* panel = new tov::gui::ScenePanel;
    panel->resize(Width, Height);
    panel->fitToTurn();
    viewer->setActivePanel(panel);
    auto* trajectory = tov::trajectory::TrajectoryHandler::getInstance();
    trajectory->selectTurntable(positions, &error);

    QTemporaryDir folder;
    QFile raw(folder.filePath(QStringLiteral("frames.bgra")));
    if (!raw.open(QIODevice::WriteOnly))
        return 1;
    std::vector<double> draw, readBack, append, processor;
    {
        QOpenGLContext context;
        context.setShareContext(tov::scene::_GlobalContext()->glContext());
        QOffscreenSurface surface;
        surface.create();
        if (!context.create() || !context.makeCurrent(&surface))
            return 1;
        QOpenGLFramebufferObject fbo(Width, Height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                     GL_RGBA8);
        const auto scene = viewer->getGlobalScene();
        tov::scene::SceneDrawer drawer(scene);
        QBuffer chunk;
        chunk.open(QIODevice::ReadWrite);
        // There from the start, as good as in the program, which asks for it beside the drawing.
        chunk.buffer().fill(0, 60000000);
        chunk.buffer().reserve(60000000);
        chunk.buffer().resize(0);
        for (int i = 0; i < positions; ++i) {
            const double before = processorSeconds(RUSAGE_SELF);
            trajectory->setPosition(static_cast<unsigned long>(i));
            clock.start();
            fbo.bind();
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
            drawer.glDraw(scene->getRootNode(), nullptr, panel->getScaledTransformMatrix(), 0.0, 65535, 7);
            glFinish();
            draw.push_back(double(clock.nsecsElapsed()) / 1e6);
            clock.start();
            const QImage picture = fbo.toImage();
            fbo.release();
            readBack.push_back(double(clock.nsecsElapsed()) / 1e6);
            clock.start();
            chunk.write(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
            append.push_back(double(clock.nsecsElapsed()) / 1e6);
            processor.push_back((processorSeconds(RUSAGE_SELF) - before) * 1000);
            raw.write(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
            if (chunk.size() > 50000000) {
                chunk.buffer().resize(0);
                chunk.seek(0);
            }
        }
        context.doneCurrent();
    }
    raw.close();
    const double frame = median(draw) + median(readBack) + median(append);
    std::printf("%s, %d x %d, %d positions, medians (whole processes: of %d runs)\n", argv[1], Width, Height, positions,
                Runs);
    std::printf("load                 %8.1f ms\n", load);
    std::printf("draw                 %8.2f ms a frame\n", median(draw));
    std::printf("read back            %8.2f ms a frame\n", median(readBack));
    std::printf("append to the chunk  %8.2f ms a frame\n", median(append));
    std::printf("capture alone        %8.1f frames/s\n", 1000 / frame);
    std::fflush(stdout);

    const QString size = QStringLiteral("%1x%2").arg(Width).arg(Height);
    Job encoding{QStringLiteral("ffmpeg"),
                 {"-v",           "error",
                  "-y",           "-f",
                  "rawvideo",     "-pix_fmt",
                  "bgra",         "-s",
                  size,           "-r",
                  "25",           "-i",
                  raw.fileName(), "-c:v",
                  "libx264",      "-preset",
                  "veryfast",     "-pix_fmt",
                  "yuv420p",      "-b:v",
                  "1200k",        folder.filePath(QStringLiteral("e.mp4"))},
                 {},
                 {}};
    Job recording{QStringLiteral(TOV_BINARY_DIR "/bin/tov"),
                  {"video", "-q", QString::fromLocal8Bit(argv[1]), "-o", folder.filePath(QStringLiteral("w.mp4")),
                   "--size", size, "--turntable", QString::number(positions)},
                  {},
                  {}};
    // In turns: other work on the machine meets both.
    for (int i = 0; i < Runs && encoding.run() && recording.run(); ++i) {
    }
    const Seconds encode = encoding.seconds(), whole = recording.seconds();
    const bool good = encode.wall > 0 && whole.wall > 0;
    if (good) {
        const double captureAlone = 1000 / frame, encodeAlone = positions / encode.wall;
        const double cores = QThread::idealThreadCount();
        const double spread = cores / (median(processor) / 1000 + encode.processor / positions);
        const double limit = std::min({captureAlone, encodeAlone, spread});
        std::printf("encode alone         %8.1f frames/s (the ffmpeg program, same codec and preset)\n", encodeAlone);
        std::printf("both spread          %8.1f frames/s (%.1f and %.1f ms of processor time a frame, %.0f cores)\n",
                    spread, median(processor), encode.processor / positions * 1000, cores);
        std::printf("tov video            %8.1f frames/s (whole process)\n", positions / whole.wall);
        std::printf("ratio                %8.2f of the slowest of these three, at least 0.8: %s\n",
                    positions / whole.wall / limit, positions / whole.wall / limit >= 0.8 ? "reached" : "missed");
    }
    viewer->closePanel(panel);
    viewer->shutdown();
    tov::main::Overseer::destroyInstance();
    return good ? 0 : 1;
}
