// Large pictures and models.

#include "benchmarks/soak/parts.h"

#include "benchmarks/soak/support.h"
#include "scene/geometryelement.h"
#include "scene/import/sceneimport.h"
#include "scene/scene.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QProcess>

#include <memory>

#include <malloc.h>

namespace tov::soak {

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::scene::Geometry;
using tov::scene::GeometryElement;
using tov::scene::Viewer;

void drawLargePicture(const QString& folder, const QString&)
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

namespace {

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

} // namespace

void readLargeModels(const QString& folder, const QString&)
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

} // namespace tov::soak
