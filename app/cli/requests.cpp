#include "app/cli/requests.h"

#include "app/cli/optionreader.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <cmath>
#include <limits>
#include <utility>

namespace tov::app {

namespace {

constexpr int MostSamples = 8;
constexpr int MostPixels = 200000; ///< of a picture's edge
constexpr int LeastKbps = 100, MostKbps = 2000000;
constexpr int MostFps = 1000;
constexpr int MostPositions = 10000000;
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

void readBackground(OptionReader& reader, Background& background)
{
    if (!reader.has("background"))
        return;
    const QString text = reader.text("background");
    if (text == QLatin1String("transparent")) {
        background.kind = Background::Kind::Transparent;
        return;
    }
    const int dots = text.indexOf(QLatin1String(".."));
    background.kind = dots < 0 ? Background::Kind::Plain : Background::Kind::Gradient;
    background.top = QColor(dots < 0 ? text : text.left(dots));
    background.bottom = dots < 0 ? background.top : QColor(text.mid(dots + 2));
    if (!background.top.isValid() || !background.bottom.isValid())
        reader.fail(tr("--background: \"%1\" is not a colour; use e.g. white, '#204060', 'white..skyblue' or "
                       "transparent")
                        .arg(text));
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
    view.light = reader.text("light");
    if (reader.has("light") && !view.light.endsWith(QLatin1String(".hdr"), Qt::CaseInsensitive))
        reader.readWord("light", {"studio", "headlight", "none"}, view.light);
    reader.readWord("show", {"surface", "edges", "wireframe", "points"}, view.show);
    readBackground(reader, view.background);
    if (reader.has("samples")) {
        int samples = 0;
        reader.readInt("samples", 0, MostSamples, samples);
        view.samples = samples;
    }
    reader.readSize("panel", view.panel);
    const int bases = int(!view.views.isEmpty()) + int(!view.camera.isEmpty()) + int(!view.like.isEmpty()) +
                      int(view.transform.has_value()) + int(view.position.has_value());
    if (bases > 1)
        reader.fail(tr("only one of --view, --camera, --like, --position and --transform can be given"));
}

void readMotion(OptionReader& reader, MotionRequest& motion)
{
    typedef MotionRequest::Kind Kind;
    const std::pair<const char*, Kind> kinds[] = {{"turntable", Kind::Turntable},
                                                  {"trajectory", Kind::Trajectory},
                                                  {"animation", Kind::Animation},
                                                  {"path", Kind::Path},
                                                  {"free", Kind::Free}};
    for (const auto& [option, kind] : kinds) {
        if (!reader.has(option))
            continue;
        if (motion.kind != Kind::None)
            reader.fail(tr("only one of --turntable, --trajectory, --animation, --path and --free can be given"));
        motion.kind = kind;
    }
    if (motion.kind == Kind::Turntable && !reader.text("turntable").isEmpty())
        reader.readInt("turntable", 1, MostPositions, motion.positions);
    motion.file = motion.kind == Kind::Trajectory ? reader.text("trajectory") : reader.text("path");
    motion.name = reader.text("animation");
    if (reader.has("duration")) {
        double seconds = 0;
        reader.readSeconds("duration", seconds);
        motion.seconds = seconds;
    }
    if (motion.kind == Kind::Free) {
        double seconds = 0;
        reader.readSeconds("free", seconds);
        if (motion.seconds)
            reader.fail(tr("--free has its own length; leave out --duration"));
        motion.seconds = seconds;
    }
    if (motion.positions > 0 && motion.seconds)
        reader.fail(tr("give either the frames of --turntable or --duration"));
    reader.readNumber("turns", -1000, 1000, motion.turns);
    if (motion.turns == 0)
        reader.fail(tr("--turns must not be 0"));
    motion.axis = reader.text("axis");
    if (reader.has("axis") && motion.axis.contains(QLatin1Char(','))) {
        std::optional<std::array<double, 3>> axis;
        reader.readVector("axis", axis);
        if (axis && (*axis)[0] == 0 && (*axis)[1] == 0 && (*axis)[2] == 0)
            reader.fail(tr("--axis must not be 0,0,0"));
    } else {
        reader.readWord("axis", {"up", "x", "y", "z"}, motion.axis);
    }
    motion.isEased = reader.has("ease");
    motion.everyPosition = reader.has("every-position");
    for (const char* option : {"turns", "axis", "ease"})
        if (reader.has(option) && motion.kind != Kind::Turntable)
            reader.fail(tr("--%1 belongs to --turntable").arg(QLatin1String(option)));
    if (motion.everyPosition && (motion.kind != Kind::Trajectory || motion.seconds))
        reader.fail(tr("--every-position belongs to --trajectory without --duration"));
    if (motion.kind == Kind::None && reader.has("duration"))
        reader.fail(tr("--duration needs a motion; to record without one use --free SECONDS"));
}

void readOutput(OptionReader& reader, OutputRequest& output)
{
    output.pattern = reader.text("output");
    output.format = reader.text("format").toLower();
    output.keepsExisting = reader.has("no-clobber");
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
    request.size = reader.has("panel") ? request.view.panel : VideoSize;
    reader.readSize("size", request.size);
    if (!reader.has("panel"))
        request.view.panel = request.size;
    constexpr int LeastEdge = 16;
    if (!reader.hasFailed() && (request.size.width() < LeastEdge || request.size.height() < LeastEdge))
        reader.fail(tr("a video must have at least 16 x 16 pixels (got %1 x %2)")
                        .arg(QString::number(request.size.width()), QString::number(request.size.height())));
    readMotion(reader, request.motion);
    if (request.motion.kind == MotionRequest::Kind::None)
        reader.fail(tr("video needs one of --turntable, --trajectory, --animation, --path and --free"));
    reader.readInt("fps", 1, MostFps, request.fps);
    reader.readInt("bitrate", LeastKbps, MostKbps, request.bitrate);
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

bool readSize(const QString& text, QSize& size)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,5})[xX](\\d{1,5})$"));
    constexpr int Most = 65535;
    const auto match = form.match(text);
    if (!match.hasMatch())
        return false;
    const int width = match.captured(1).toInt(), height = match.captured(2).toInt();
    if (width < 1 || height < 1 || width > Most || height > Most)
        return false;
    size = QSize(width, height);
    return true;
}

bool readSeconds(const QString& text, double& seconds)
{
    static const QRegularExpression form(QStringLiteral("^\\s*([0-9.eE+-]+?)\\s*(ms|s|sec|min|h)?\\s*$"));
    const auto match = form.match(text);
    bool isNumber = false;
    double value = match.captured(1).toDouble(&isNumber);
    const QString unit = match.captured(2);
    if (unit == QLatin1String("ms"))
        value /= 1000;
    else if (unit == QLatin1String("min"))
        value *= 60;
    else if (unit == QLatin1String("h"))
        value *= 3600;
    if (!isNumber || !std::isfinite(value) || value <= 0)
        return false;
    seconds = value;
    return true;
}

bool readBytes(const QString& text, qint64& bytes)
{
    static const QRegularExpression form(QStringLiteral("^\\s*([0-9.]+)\\s*([KMGT]?)(i?)B?\\s*$"),
                                         QRegularExpression::CaseInsensitiveOption);
    const auto match = form.match(text);
    bool isNumber = false;
    double value = match.captured(1).toDouble(&isNumber);
    const double base = match.captured(3).isEmpty() ? 1000 : 1024;
    const QString unit = match.captured(2).toUpper();
    if (!unit.isEmpty())
        value *= std::pow(base, QStringLiteral("KMGT").indexOf(unit) + 1);
    if (!isNumber || !(value >= 1) || value > 1e18)
        return false;
    bytes = qint64(value);
    return true;
}

} // namespace tov::app
