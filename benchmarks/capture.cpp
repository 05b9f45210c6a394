// The cost of single frames: drawing a small part of a large scene, the capture thread's work other than drawing and
// reading back, and the pace of a free-running recording while its frames are encoded. Prints rows of a Markdown table.
//
//     bench_capture MODEL LARGE_MODEL

#include "app/common/startup.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/import/sceneimport.h"
#include "scene/view/scenepanel.h"
#include "scene/sceneview.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QTemporaryDir>
#include <QThread>

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

#include <dlfcn.h>

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::math::Matrix4;
using tov::scene::Geometry;
using tov::scene::GeometryElement;
using tov::scene::SceneDrawer;
using tov::scene::SceneElement;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

namespace {

/// When the capture thread worked on a frame, in milliseconds of a steady clock.
struct Frame
{
    double begun = 0;     ///< the projection is set and drawing begins
    double readFrom = 0;  ///< reading back begins
    double readUntil = 0; ///< reading back ends
};
std::mutex framesMutex;
std::vector<Frame> frames; ///< guarded by framesMutex

double now()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

void printRow(const char* what, const QString& measured, double value, double limit)
{
    std::printf("| %s | %s | %.3f | at most %g | %s |\n", what, qPrintable(measured), value, limit,
                value <= limit ? "reached" : "missed");
    std::fflush(stdout);
}

/// Runs the event loop until `done`.
void processUntil(const std::function<bool()>& done)
{
    while (!done()) {
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(500);
    }
}

/// Reads a file; `element` becomes its last visible geometry. Null when it cannot be read.
std::unique_ptr<SceneElement> read(const QString& file, const GeometryElement*& element)
{
    QString error;
    std::unique_ptr<SceneElement> root(tov::scene::SceneImport::readFile(file, &error));
    if (!root) {
        std::fprintf(stderr, "bench_capture: %s: %s\n", qPrintable(file), qPrintable(error));
        return nullptr;
    }
    tov::scene::forEachVisible(root.get(),
                               [&element](const GeometryElement& each, const Matrix4&) { element = &each; });
    return root;
}

/// Sets the projection to the middle of a 16:9 picture, `part` of its width and height, and returns the matrix.
Matrix4 zoomTo(double part)
{
    const double top = SceneDrawer::ZNEAR * tov::scene::PictureHalfHeight * part;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(-top * 16 / 9, top * 16 / 9, -top, top, SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
    Matrix4 columns;
    glGetDoublev(GL_PROJECTION_MATRIX, columns.data());
    return columns.transposed();
}

/// The triangles that are not completely outside one of the four sides of the view.
std::vector<std::size_t> inView(const GeometryElement& element, const Matrix4& clip)
{
    std::vector<unsigned> outside;
    for (const auto& vertex : element.getVertices()) {
        std::array<double, 4> at{};
        for (unsigned r = 0; r < 4; ++r)
            at[r] = clip(r, 0) * vertex.position[0] + clip(r, 1) * vertex.position[1] +
                    clip(r, 2) * vertex.position[2] + clip(r, 3);
        outside.push_back((at[0] < -at[3] ? 1u : 0) | (at[0] > at[3] ? 2u : 0) | (at[1] < -at[3] ? 4u : 0) |
                          (at[1] > at[3] ? 8u : 0));
    }
    std::vector<std::size_t> triangles;
    const auto& indices = element.getIndices();
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3)
        if ((outside[indices[i]] & outside[indices[i + 1]] & outside[indices[i + 2]]) == 0)
            triangles.push_back(i / 3);
    return triangles;
}

/// An element with only those triangles.
GeometryElement* partOf(const GeometryElement& element, const std::vector<std::size_t>& triangles)
{
    Geometry geometry;
    std::vector<std::int64_t> placed(element.getVertices().size(), -1);
    for (const std::size_t triangle : triangles)
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t from = element.getIndices()[3 * triangle + k];
            const bool known = placed[from] >= 0;
            if (!known)
                placed[from] = std::int64_t(geometry.positions.size() / 3);
            geometry.indices.push_back(std::uint32_t(placed[from]));
            if (known)
                continue;
            const auto& vertex = element.getVertices()[from];
            geometry.positions.insert(geometry.positions.end(), std::begin(vertex.position), std::end(vertex.position));
            geometry.normals.insert(geometry.normals.end(), std::begin(vertex.normal), std::end(vertex.normal));
        }
    return new GeometryElement(QStringLiteral("part"), std::move(geometry));
}

/// Compares drawing a view that contains 1 % of a large scene with drawing only what is in that view.
bool zoomed(const QString& large)
{
    constexpr int Width = 1280, Height = 720, Rounds = 60;
    const GeometryElement* element = nullptr;
    const auto root = read(large, element);
    if (!root || !element)
        return false;
    QOpenGLContext context;
    context.setShareContext(tov::scene::_GlobalContext()->glContext());
    QOffscreenSurface surface;
    surface.create();
    if (!context.create() || !context.makeCurrent(&surface))
        return false;
    // The view of a panel that shows the complete element.
    const auto& box = element->getBox();
    const double scaling = tov::scene::scalingFor(box);
    const auto centre = tov::scene::centreOf(box);
    Matrix4 view = Matrix4::identity();
    for (unsigned axis = 0; axis < 3; ++axis) {
        view(axis, axis) = scaling;
        view(axis, 3) = -scaling * centre[axis];
    }
    view(2, 3) -= 3000;
    double least = 0, most = 1;
    std::vector<std::size_t> triangles;
    const std::size_t all = element->getIndices().size() / 3;
    for (int i = 0; i < 40; ++i) {
        const double part = (least + most) / 2;
        triangles = inView(*element, zoomTo(part) * view);
        (triangles.size() * 100 > all ? most : least) = part;
    }
    SceneElement alone(QStringLiteral("alone"));
    alone.addChild(partOf(*element, triangles));
    {
        QOpenGLFramebufferObject fbo(Width, Height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                     GL_RGBA8);
        SceneDrawer drawer(Viewer::getInstance()->getGlobalScene());
        fbo.bind();
        drawer.resize(Width, Height);
        glEnable(GL_DEPTH_TEST);
        glEnable(GL_LIGHTING);
        glEnable(GL_COLOR_MATERIAL);
        glEnable(GL_LIGHT0);
        zoomTo(least);
        std::vector<double> times[2];
        for (int i = 0; i < 2 * Rounds + 4; ++i) {
            glMatrixMode(GL_MODELVIEW);
            glLoadIdentity();
            const double start = now();
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            drawer.glDraw(i % 2 ? &alone : root.get(), nullptr, view, 0.0, 3, 7);
            glFinish();
            if (i >= 4) // the first frames upload the geometry
                times[i % 2].push_back(now() - start);
        }
        fbo.release();
        const double whole = median(times[0]), part = median(times[1]);
        printRow("drawing a view of 1 % of 1.1 M triangles (closed), compared with a scene of these alone (open, so "
                 "both sides are drawn)",
                 QStringLiteral("%1 triangles: %2 and %3 ms")
                     .arg(triangles.size())
                     .arg(whole, 0, 'f', 2)
                     .arg(part, 0, 'f', 2),
                 whole / part, 1.3);
    }
    context.doneCurrent();
    return true;
}

CommandRunPointer record(const QString& file, int width, int height, bool stepped)
{
    {
        std::lock_guard<std::mutex> guard(framesMutex);
        frames.clear();
    }
    QString error;
    const CommandRunPointer run = Overseer::getInstance()->getCommandProcessor()->start(
        QStringLiteral("grabvideo filename=\"%1\" width=%2 height=%3 sync=%4")
            .arg(file, QString::number(width), QString::number(height), QString::number(int(stepped))),
        &error);
    if (!run)
        std::fprintf(stderr, "bench_capture: %s\n", qPrintable(error));
    return run;
}

std::vector<Frame> recorded()
{
    std::lock_guard<std::mutex> guard(framesMutex);
    return frames;
}

/// The time from one frame to the next that is neither drawing nor reading back.
bool captureThread(const QString& folder)
{
    QString error;
    TrajectoryHandler::getInstance()->selectTurntable(100, &error);
    const CommandRunPointer run = record(folder + QStringLiteral("/stepped.mp4"), 1920, 1080, true);
    if (!run)
        return false;
    processUntil([&] { return run->isFinished(); });
    const auto all = recorded();
    std::vector<double> draw, read, rest, whole;
    for (std::size_t i = 0; i + 1 < all.size(); ++i) {
        whole.push_back(all[i + 1].begun - all[i].begun);
        draw.push_back(all[i].readFrom - all[i].begun);
        read.push_back(all[i].readUntil - all[i].readFrom);
        rest.push_back(whole.back() - draw.back() - read.back());
    }
    printRow("capture thread at 1920 x 1080, stepped, H.264: time not spent on drawing and reading back",
             QStringLiteral("%1 of %2 ms per frame, %3 frames")
                 .arg(median(rest), 0, 'f', 2)
                 .arg(median(whole), 0, 'f', 2)
                 .arg(all.size()),
             median(rest) / median(whole), 0.1);
    return all.size() == 100;
}

/// A frame must start at most 40 ms after the previous one.
bool pace(const QString& folder)
{
    constexpr double PaceMs = 40, ToleranceMs = 5, Seconds = 20;
    const CommandRunPointer run = record(folder + QStringLiteral("/free.mp4"), 1280, 720, false);
    if (!run)
        return false;
    QElapsedTimer clock;
    clock.start();
    auto* panel = Viewer::getInstance()->getActivePanel();
    double turned = 0;
    processUntil([&] {
        // The view turns, so that the codec has work to do.
        const double until = double(clock.elapsed()) / 1000;
        if (until - turned > 0.04) {
            panel->orbit(3, 0);
            turned = until;
        }
        return until > Seconds || run->isFinished();
    });
    const auto all = recorded();
    const bool lasted = !run->isFinished();
    run->stop();
    processUntil([&] { return run->isFinished(); });
    std::vector<double> busy;
    std::size_t late = 0, counted = 0;
    // In the first second the codec is starting.
    for (std::size_t i = 0; i + 1 < all.size(); ++i) {
        if (all[i].begun - all.front().begun < 1000)
            continue;
        ++counted;
        busy.push_back(all[i].readUntil - all[i].begun);
        late += all[i + 1].begun - all[i].begun > PaceMs + ToleranceMs ? 1 : 0;
    }
    if (!lasted)
        std::fprintf(stderr, "bench_capture: the recording ended before it was stopped\n");
    printRow("free-running at 1280 x 720 while H.264 is encoded, no window shown: frames more than 45 ms after the "
             "previous one",
             QStringLiteral("%1 of %2, %3 ms per frame").arg(late).arg(counted).arg(median(busy), 0, 'f', 1),
             counted ? double(late) / double(counted) : 1, 0.01);
    return lasted && counted > 0;
}

} // namespace

// These replace the libraries' functions. The capture thread calls each once per frame.
extern "C" TOV_EXPORT void gluPerspective(double angle, double aspect, double nearPlane, double farPlane)
{
    static const auto real =
        reinterpret_cast<void (*)(double, double, double, double)>(dlsym(RTLD_NEXT, "gluPerspective"));
    {
        std::lock_guard<std::mutex> guard(framesMutex);
        frames.push_back({now(), 0, 0});
    }
    real(angle, aspect, nearPlane, farPlane);
}

QImage QOpenGLFramebufferObject::toImage() const
{
    static const auto real = reinterpret_cast<QImage (*)(const QOpenGLFramebufferObject*)>(
        dlsym(RTLD_NEXT, "_ZNK24QOpenGLFramebufferObject7toImageEv"));
    const double from = now();
    QImage image = real(this);
    std::lock_guard<std::mutex> guard(framesMutex);
    if (!frames.empty()) {
        frames.back().readFrom = from;
        frames.back().readUntil = now();
    }
    return image;
}

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: bench_capture MODEL LARGE_MODEL\n", stderr);
        return 2;
    }
    tov::app::prepareProcess();
    QTemporaryDir folder;
    tov::app::StartOptions options;
    options.settingsFile = folder.filePath(QStringLiteral("settings.ini"));
    int one = 1;
    tov::app::Startup startup(one, argv, options);
    std::puts("| what | measured | ratio | limit | |\n|---|---|---|---|---|");
    bool good = zoomed(QString::fromLocal8Bit(argv[2]));
    QString error;
    if (!tov::scene::SceneImport::addFiles({QString::fromLocal8Bit(argv[1])}, &error)) {
        std::fprintf(stderr, "bench_capture: %s\n", qPrintable(error));
        return 1;
    }
    auto* panel = new ScenePanel;
    panel->resize(1280, 720);
    panel->fitToTurn();
    Viewer::getInstance()->setActivePanel(panel);
    Overseer::getInstance()->getCommandProcessor()->drain();
    good = captureThread(folder.path()) && good;
    good = pace(folder.path()) && good;
    Viewer::getInstance()->closePanel(panel);
    return good ? 0 : 1;
}
