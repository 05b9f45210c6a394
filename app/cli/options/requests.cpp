#include "app/cli/options/requests.h"

#include "app/cli/options/motionreader.h"
#include "app/cli/options/optionreader.h"
#include "app/cli/options/valuetext.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tov::app {

namespace {

constexpr int MostPixels = 200000; ///< of a picture's edge
constexpr int LeastKbps = 100, MostKbps = 2000000;
constexpr int MostFps = 1000;
constexpr double LeastFieldOfView = 1, MostFieldOfView = 150; ///< degrees
const QSize PictureSize(1920, 1080), VideoSize(1280, 720);

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

const QStringList& viewNames()
{
    static const QStringList names{QStringLiteral("front"), QStringLiteral("back"), QStringLiteral("left"),
                                   QStringLiteral("right"), QStringLiteral("top"),  QStringLiteral("bottom"),
                                   QStringLiteral("iso")};
    return names;
}

void readViewNames(OptionReader& reader, const Options& options, QStringList& views)
{
    if (!reader.has("view"))
        return;
    for (const QString& list : options.values.at(QStringLiteral("view")))
        for (const QString& name : list.split(QLatin1Char(','))) {
            if (!viewNames().contains(name))
                reader.fail(tr("--view: unknown view \"%1\"; known views: %2")
                                .arg(name, viewNames().join(QStringLiteral(", "))));
            views << name;
        }
}

/// Determinant of a 4 x 4 matrix, by elimination with pivots, relative to the size of its rows.
double relativeDeterminant(tov::math::Matrix4 matrix)
{
    double determinant = 1;
    for (unsigned row = 0; row < 4; ++row) {
        double length = 0;
        for (unsigned column = 0; column < 4; ++column)
            length = std::max(length, std::abs(matrix(row, column)));
        if (length == 0)
            return 0;
        for (unsigned column = 0; column < 4; ++column)
            matrix(row, column) /= length;
    }
    for (unsigned i = 0; i < 4; ++i) {
        unsigned pivot = i;
        for (unsigned row = i + 1; row < 4; ++row)
            if (std::abs(matrix(row, i)) > std::abs(matrix(pivot, i)))
                pivot = row;
        if (matrix(pivot, i) == 0)
            return 0;
        for (unsigned column = 0; column < 4; ++column)
            std::swap(matrix(i, column), matrix(pivot, column));
        determinant *= pivot == i ? matrix(i, i) : -matrix(i, i);
        for (unsigned row = i + 1; row < 4; ++row) {
            const double factor = matrix(row, i) / matrix(i, i);
            for (unsigned column = i; column < 4; ++column)
                matrix(row, column) -= factor * matrix(i, column);
        }
    }
    return determinant;
}

void readTransform(OptionReader& reader, std::optional<tov::math::Matrix4>& transform)
{
    if (!reader.has("transform"))
        return;
    static const QRegularExpression separators(QStringLiteral("[\\s,;]+"));
    const QStringList words = reader.text("transform").split(separators, Qt::SkipEmptyParts);
    tov::math::Matrix4 matrix;
    bool isMatrix = words.size() == 16;
    for (int i = 0; isMatrix && i < 16; ++i) {
        matrix.data()[i] = words[i].toDouble(&isMatrix);
        isMatrix = isMatrix && std::isfinite(matrix.data()[i]);
    }
    if (!isMatrix)
        reader.fail(tr("--transform needs 16 finite numbers, row by row, in one argument"));
    else if (std::abs(relativeDeterminant(matrix)) < std::numeric_limits<double>::epsilon())
        reader.fail(tr("--transform maps the scene onto a plane or a point; its determinant must not be 0"));
    else
        transform = matrix;
}

void readView(OptionReader& reader, const Options& options, ViewRequest& view)
{
    readViewNames(reader, options, view.views);
    view.camera = reader.text("camera");
    view.like = reader.text("like");
    readTransform(reader, view.transform);
    reader.readDegrees("azimuth", -36000, 36000, view.azimuth);
    reader.readDegrees("elevation", -36000, 36000, view.elevation);
    reader.readDegrees("roll", -36000, 36000, view.roll);
    reader.readNumber("zoom", 1e-6, 1e6, view.zoom);
    reader.readVector("position", view.position);
    reader.readVector("target", view.target);
    reader.readVector("up", view.up);
    if (reader.has("fov")) {
        double degrees = 0;
        reader.readDegrees("fov", LeastFieldOfView, MostFieldOfView, degrees);
        view.fieldOfView = degrees;
    }
    view.isOrthographic = reader.has("orthographic");
    reader.readWord("model-up", {"+X", "-X", "+Y", "-Y", "+Z", "-Z", "auto"}, view.modelUp);
    readLook(reader, view.look);
    view.savedScene = reader.text("save-scene");
    if (reader.has("save-scene") && !SceneFile::isSceneFile(view.savedScene))
        reader.fail(tr("--save-scene: '%1' does not end in .tovscene").arg(view.savedScene));
    reader.readSize("panel", view.panel);
    const int bases = int(!view.views.isEmpty()) + int(!view.camera.isEmpty()) + int(!view.like.isEmpty()) +
                      int(view.transform.has_value()) + int(view.position.has_value());
    if (bases > 1)
        reader.fail(tr("only one of --view, --camera, --like, --position and --transform can be given"));
}

void readOutput(OptionReader& reader, OutputRequest& output)
{
    output.pattern = reader.text("output");
    output.format = reader.text("format").toLower();
    output.older = reader.has("no-clobber") ? SafeOutput::Older::Keep : SafeOutput::Older::Replace;
    output.skipsExisting = reader.has("skip-existing");
    output.isEach = reader.has("each");
    if (reader.has("max-memory") && !readBytes(reader.text("max-memory"), output.maxMemory))
        reader.fail(
            tr("--max-memory must be an amount such as 800M or 2G (got \"%1\")").arg(reader.text("max-memory")));
    if (output.isStandardOutput() && output.format.isEmpty())
        reader.fail(tr("-o - needs --format, e.g. --format png"));
    if (!output.isStandardOutput() && !output.format.isEmpty())
        reader.fail(tr("--format is only for -o -; for files the ending selects the format"));
    if (output.isStandardOutput() && reader.has("json"))
        reader.fail(tr("-o - and --json both need standard output"));
}

bool finish(const OptionReader& reader, QString* error)
{
    if (reader.hasFailed())
        *error = reader.getError();
    return !reader.hasFailed();
}

} // namespace

bool isFitted(const ViewRequest& view)
{
    return view.camera.isEmpty() && view.like.isEmpty() && !view.transform && !view.position && !view.target &&
           !view.sceneCamera;
}

bool readImageRequest(const Options& options, ImageRequest& request, QString* error)
{
    OptionReader reader(options);
    request.models = options.files;
    if (request.models.isEmpty())
        reader.fail(tr("image needs a model"));
    if (!reader.has("output"))
        reader.fail(tr("image needs an output: -o OUT"));
    readOutput(reader, request.output);
    readView(reader, options, request.view);
    reader.readInt("dpi", 1, 100000, request.dpi);
    reader.readInt("quality", 0, 100, request.quality);
    readStill(reader, request.motion);
    request.size = PictureSize;
    if (reader.has("width") && reader.has("size"))
        reader.fail(tr("give either --size or --width"));
    if (reader.has("width")) {
        int width = 0;
        reader.readInt("width", 2, MostPixels, width);
        // The height that the picture command computes for the same width and panel.
        request.size = QSize(width, int(double(request.view.panel.height()) / request.view.panel.width() * width));
    } else {
        if (reader.has("panel"))
            request.size = request.view.panel;
        reader.readSize("size", request.size);
        request.view.panel = request.size;
    }
    if (!reader.hasFailed() && (request.size.width() < 2 || request.size.height() < 2))
        reader.fail(tr("a picture must have at least 2 x 2 pixels (got %1 x %2)")
                        .arg(QString::number(request.size.width()), QString::number(request.size.height())));
    return finish(reader, error);
}

bool readVideoRequest(const Options& options, VideoRequest& request, QString* error)
{
    OptionReader reader(options);
    request.models = options.files;
    if (request.models.isEmpty())
        reader.fail(tr("video needs a model"));
    if (!reader.has("output"))
        reader.fail(tr("video needs an output: -o OUT"));
    readOutput(reader, request.output);
    readView(reader, options, request.view);
    request.size = VideoSize;
    reader.readSize("size", request.size);
    request.view.panel = request.size;
    constexpr int LeastEdge = 16;
    if (!reader.hasFailed() && (request.size.width() < LeastEdge || request.size.height() < LeastEdge))
        reader.fail(tr("a video must have at least 16 x 16 pixels (got %1 x %2)")
                        .arg(QString::number(request.size.width()), QString::number(request.size.height())));
    readMotion(reader, request.motion);
    const bool hasMotion = request.motion.kind != MotionRequest::Kind::None || request.motion.animation;
    // What moves may be in a scene file, which is not opened yet.
    if (!hasMotion && !std::any_of(request.models.begin(), request.models.end(), SceneFile::isSceneFile))
        reader.fail(tr("video needs one of --turntable, --trajectory, --animation, --path and --free"));
    reader.readInt("fps", 1, MostFps, request.fps);
    reader.readInt("bitrate", LeastKbps, MostKbps, request.bitrate);
    readParts(reader, request.parts);
    return finish(reader, error);
}

bool readRunRequest(const Options& options, RunRequest& request, QString* error)
{
    OptionReader reader(options);
    readView(reader, options, request.view);
    readMotion(reader, request.motion);
    reader.readInt("fps", 1, MostFps, request.fps);
    request.models = options.files;
    if (reader.has("command"))
        request.texts = options.values.at(QStringLiteral("command"));
    else if (request.models.isEmpty())
        reader.fail(tr("run needs a script, or -c TEXT"));
    else
        request.script = request.models.takeLast();
    return finish(reader, error);
}

} // namespace tov::app
