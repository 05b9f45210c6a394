// The text of scene files. Keys and words are fixed English; lengths are scene units, angles degrees.

#include "app/common/jsonreader.h"
#include "app/common/scenefile.h"
#include "scene/import/sceneimport.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <limits>

namespace tov::app {

using tov::scene::Camera;
using tov::scene::SceneLook;
using tov::scene::Vector3;
using tov::trajectory::CameraPath;
using tov::trajectory::Ease;
using tov::trajectory::PlaybackOptions;
using tov::trajectory::Selection;
using tov::trajectory::TurntableOptions;

namespace {

constexpr int Version = 1;
constexpr int MostModels = 10000, MostParts = 1000000, MostViews = 4, MostBookmarks = 1000;
constexpr int DefaultSamples = 4;
constexpr double Largest = std::numeric_limits<double>::max();
constexpr double Smallest = std::numeric_limits<double>::min();

const std::vector<const char*> LightWords{"studio", "headlight", "none", "environment"};
const std::vector<const char*> ShowWords{"surface", "edges", "wireframe", "points"};
const std::vector<const char*> AxisWords{"x", "y", "z"};
const std::vector<const char*> EaseWords{"none", "in", "out", "in-out"};
const std::vector<const char*> MotionWords{"none", "file", "turntable", "path"};

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

template <std::size_t N>
QJsonArray toJson(const std::array<double, N>& values)
{
    QJsonArray list;
    for (const double value : values)
        list.append(value);
    return list;
}

void readColor(const JsonReader& reader, const char* key, std::optional<QColor>& color)
{
    QString name;
    reader.read(key, name);
    if (!reader.has(key))
        return;
    color = QColor(name);
    if (!color->isValid())
        reader.fail(key, tr("must be a colour such as \"#204060\" (got \"%1\")").arg(name));
}

/// Names of files are stored relative to the folder of the scene.
class FileNames
{
public:
    explicit FileNames(const QString& folder) : m_Folder(folder) {}
    QString stored(const QString& fileName) const { return m_Folder.relativeFilePath(fileName); }
    void read(const JsonReader& reader, const char* key, QString& fileName) const
    {
        QString name;
        reader.read(key, name);
        if (name.isEmpty())
            reader.fail(key, tr("must be the name of a file"));
        else
            fileName = QDir::cleanPath(m_Folder.absoluteFilePath(name));
    }

private:
    const QDir m_Folder;
};

QJsonObject toJson(const Camera& camera)
{
    QJsonArray rotation;
    for (unsigned int i = 0; i < 9; ++i)
        rotation.append(camera.rotation(i / 3, i % 3));
    QJsonObject object{{QStringLiteral("rotation"), rotation},
                       {QStringLiteral("target"), toJson(camera.target)},
                       {QStringLiteral("distance"), camera.distance},
                       {QStringLiteral("fieldOfView"), camera.fieldOfView}};
    if (camera.orthographic)
        object[QStringLiteral("orthographic")] = true;
    return object;
}

bool isRotation(const std::array<double, 9>& m)
{
    constexpr double Tolerance = 1e-6;
    for (std::size_t a = 0; a < 3; ++a)
        for (std::size_t b = 0; b < 3; ++b) {
            const double product = m[3 * a] * m[3 * b] + m[3 * a + 1] * m[3 * b + 1] + m[3 * a + 2] * m[3 * b + 2];
            if (!(std::abs(product - (a == b ? 1 : 0)) < Tolerance))
                return false;
        }
    const double determinant =
        m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
    return determinant > 0;
}

void readCamera(const JsonReader& reader, Camera& camera)
{
    std::array<double, 9> rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    reader.read("rotation", rotation);
    if (!isRotation(rotation))
        reader.fail("rotation", tr("must be a rotation, 9 numbers row by row"));
    for (unsigned int i = 0; i < 9; ++i)
        camera.rotation(i / 3, i % 3) = rotation[i];
    reader.read("target", camera.target);
    reader.read("distance", Smallest, Largest, camera.distance);
    reader.read("fieldOfView", Camera::MinFieldOfView, Camera::MaxFieldOfView, camera.fieldOfView);
    reader.read("orthographic", camera.orthographic);
}

QJsonObject toJson(const SceneFile::Part& part)
{
    QJsonObject object{{QStringLiteral("part"), part.key}};
    if (part.isHidden)
        object[QStringLiteral("hidden")] = true;
    if (part.isRemoved)
        object[QStringLiteral("removed")] = true;
    if (part.color)
        object[QStringLiteral("color")] = part.color->name();
    if (part.opacity != 1)
        object[QStringLiteral("opacity")] = part.opacity;
    return object;
}

QJsonObject toJson(const SceneFile::Model& model, const FileNames& names)
{
    QJsonObject object{{QStringLiteral("file"), names.stored(model.file)}};
    if (!model.up.isEmpty())
        object[QStringLiteral("up")] = model.up;
    QJsonArray parts;
    for (const auto& part : model.parts)
        parts.append(toJson(part));
    if (!parts.isEmpty())
        object[QStringLiteral("parts")] = parts;
    return object;
}

SceneFile::Model readModel(const JsonReader& reader, const FileNames& names)
{
    SceneFile::Model model;
    names.read(reader, "file", model.file);
    reader.read("up", model.up);
    if (!tov::scene::SceneImport::isModelUp(model.up))
        reader.fail("up", tr("must be one of: +X, -X, +Y, -Y, +Z, -Z, auto (got \"%1\")").arg(model.up));
    for (const JsonReader& each : reader.objects("parts", MostParts)) {
        SceneFile::Part part;
        each.read("part", part.key);
        each.read("hidden", part.isHidden);
        each.read("removed", part.isRemoved);
        readColor(each, "color", part.color);
        each.read("opacity", 0, 1, part.opacity);
        model.parts.push_back(part);
    }
    return model;
}

QString textOf(const Background& background)
{
    switch (background.kind) {
    case Background::Kind::Transparent:
        return QStringLiteral("transparent");
    case Background::Kind::Plain:
        return background.top.name();
    case Background::Kind::Gradient:
        return background.top.name() + QStringLiteral("..") + background.bottom.name();
    case Background::Kind::Default:
        break;
    }
    return QString();
}

void readBackground(const JsonReader& reader, Background& background)
{
    QString text;
    reader.read("background", text);
    if (text.isEmpty())
        return;
    if (text == QLatin1String("transparent")) {
        background.kind = Background::Kind::Transparent;
        return;
    }
    const int dots = text.indexOf(QLatin1String(".."));
    background.kind = dots < 0 ? Background::Kind::Plain : Background::Kind::Gradient;
    background.top = QColor(dots < 0 ? text : text.left(dots));
    background.bottom = dots < 0 ? background.top : QColor(text.mid(dots + 2));
    if (!background.top.isValid() || !background.bottom.isValid())
        reader.fail("background",
                    tr("must be a colour, two colours joined by \"..\", or \"transparent\" (got \"%1\")").arg(text));
}

QJsonObject toJson(const SceneLook& look, const Background& background, const FileNames& names)
{
    QJsonObject object{{QStringLiteral("light"), QLatin1String(LightWords[std::size_t(look.light)])},
                       {QStringLiteral("exposure"), look.exposure},
                       {QStringLiteral("show"), QLatin1String(ShowWords[std::size_t(look.show)])},
                       {QStringLiteral("featureEdges"), look.hasFeatureEdges},
                       {QStringLiteral("flat"), look.isFlat},
                       {QStringLiteral("pointSize"), look.pointSize},
                       {QStringLiteral("lineWidth"), look.lineWidth},
                       {QStringLiteral("samples"), look.samples}};
    if (!look.environmentFile.isEmpty())
        object[QStringLiteral("environment")] = names.stored(look.environmentFile);
    if (look.clip)
        object[QStringLiteral("clip")] =
            QJsonObject{{QStringLiteral("axis"), QLatin1String(AxisWords[look.clip->axis])},
                        {QStringLiteral("position"), look.clip->position},
                        {QStringLiteral("flipped"), look.clip->isFlipped}};
    if (look.color)
        object[QStringLiteral("color")] = look.color->name();
    if (background.kind != Background::Kind::Default)
        object[QStringLiteral("background")] = textOf(background);
    return object;
}

void readClip(const JsonReader& reader, std::optional<tov::scene::ClipPlane>& clip)
{
    if (!reader.has("clip"))
        return;
    const JsonReader object = reader.object("clip");
    int axis = 0;
    clip.emplace();
    object.readWord("axis", AxisWords, axis);
    clip->axis = std::size_t(axis);
    object.read("position", -Largest, Largest, clip->position);
    object.read("flipped", clip->isFlipped);
}

void readLook(const JsonReader& reader, SceneFile& scene, const FileNames& names)
{
    SceneLook& look = scene.look;
    int light = int(look.light), show = int(look.show);
    reader.readWord("light", LightWords, light);
    reader.readWord("show", ShowWords, show);
    look.light = SceneLook::Light(light);
    look.show = SceneLook::Show(show);
    if (look.light == SceneLook::Light::Environment)
        names.read(reader, "environment", look.environmentFile);
    reader.read("exposure", 0, 1000, look.exposure);
    reader.read("featureEdges", look.hasFeatureEdges);
    reader.read("flat", look.isFlat);
    reader.read("pointSize", 1e-5, 0.5, look.pointSize);
    reader.read("lineWidth", 1e-5, 0.5, look.lineWidth);
    double samples = look.samples;
    reader.read("samples", 0, 8, samples);
    look.samples = int(samples);
    readColor(reader, "color", look.color);
    readClip(reader, look.clip);
    readBackground(reader, scene.background);
}

QJsonObject toJson(const PlaybackOptions& options)
{
    QJsonObject object{{QStringLiteral("fps"), options.fps}};
    if (options.seconds > 0)
        object[QStringLiteral("seconds")] = options.seconds;
    if (options.repeat)
        object[QStringLiteral("repeat")] = true;
    if (options.everyPosition)
        object[QStringLiteral("everyPosition")] = true;
    if (options.start > 0)
        object[QStringLiteral("start")] = options.start;
    if (options.ease != Ease::None)
        object[QStringLiteral("ease")] = QLatin1String(EaseWords[std::size_t(options.ease)]);
    return object;
}

void readEase(const JsonReader& reader, Ease& ease)
{
    int word = int(ease);
    reader.readWord("ease", EaseWords, word);
    ease = Ease(word);
}

void readPlayback(const JsonReader& reader, PlaybackOptions& options)
{
    reader.read("fps", 1e-3, 1000, options.fps);
    reader.read("seconds", 0, 1e9, options.seconds);
    reader.read("repeat", options.repeat);
    reader.read("everyPosition", options.everyPosition);
    reader.read("start", 0, 1e9, options.start);
    readEase(reader, options.ease);
}

void addTurntable(QJsonObject& object, const Selection& selection)
{
    const TurntableOptions& options = selection.turntable;
    object[QStringLiteral("frames")] = double(options.frames);
    object[QStringLiteral("turns")] = options.turns;
    object[QStringLiteral("axis")] = toJson(options.axis);
    object[QStringLiteral("center")] = toJson(selection.center);
    object[QStringLiteral("start")] = toJson(selection.start);
    if (options.reverse)
        object[QStringLiteral("reverse")] = true;
    if (options.swing != 0)
        object[QStringLiteral("swing")] = options.swing;
    if (options.ease != Ease::None)
        object[QStringLiteral("ease")] = QLatin1String(EaseWords[std::size_t(options.ease)]);
}

void readTurntable(const JsonReader& reader, Selection& selection)
{
    TurntableOptions& options = selection.turntable;
    double frames = double(options.frames);
    reader.read("frames", 1, tov::trajectory::MaxFrames, frames);
    options.frames = static_cast<unsigned long>(frames);
    reader.read("turns", -1000, 1000, options.turns);
    reader.read("axis", options.axis);
    if (options.axis == Vector3{0, 0, 0})
        reader.fail("axis", tr("must have a length"));
    reader.read("center", selection.center);
    readCamera(reader.object("start"), selection.start);
    reader.read("reverse", options.reverse);
    reader.read("swing", -360, 360, options.swing);
    readEase(reader, options.ease);
}

QJsonObject toJson(const SceneFile::Motion& motion, const FileNames& names)
{
    const Selection& selection = motion.selection;
    QJsonObject object{{QStringLiteral("kind"), QLatin1String(MotionWords[std::size_t(selection.kind)])},
                       {QStringLiteral("position"), double(motion.position)},
                       {QStringLiteral("playback"), toJson(selection.playback)}};
    if (selection.kind == Selection::Kind::File)
        object[QStringLiteral("file")] = names.stored(selection.file);
    if (selection.kind == Selection::Kind::Turntable)
        addTurntable(object, selection);
    if (selection.kind == Selection::Kind::Path)
        object[QStringLiteral("path")] = QJsonDocument::fromJson(selection.path.toJson()).object();
    if (selection.animation) {
        object[QStringLiteral("animation")] = *selection.animation;
        object[QStringLiteral("animationPlayback")] = toJson(selection.animationPlayback);
    }
    return object;
}

void readMotion(const JsonReader& reader, SceneFile::Motion& motion, const FileNames& names)
{
    Selection& selection = motion.selection;
    int kind = 0;
    reader.readWord("kind", MotionWords, kind);
    selection.kind = Selection::Kind(kind);
    double position = 0;
    reader.read("position", 0, tov::trajectory::MaxFrames, position);
    motion.position = static_cast<unsigned long>(position);
    readPlayback(reader.object("playback"), selection.playback);
    if (selection.kind == Selection::Kind::File)
        names.read(reader, "file", selection.file);
    if (selection.kind == Selection::Kind::Turntable)
        readTurntable(reader, selection);
    QString reason;
    if (selection.kind == Selection::Kind::Path &&
        !CameraPath::fromJson(QJsonDocument(reader.object("path").getObject()).toJson(), selection.path, &reason))
        reader.fail("path", tr("cannot be used: %1").arg(reason));
    if (!reader.has("animation"))
        return;
    selection.animation = QString();
    reader.read("animation", *selection.animation);
    readPlayback(reader.object("animationPlayback"), selection.animationPlayback);
}

void readViews(const JsonReader& reader, SceneFile& scene)
{
    for (const JsonReader& each : reader.objects("views", MostViews)) {
        SceneFile::View view;
        readCamera(each.object("camera"), view.camera);
        each.read("follows", view.isFollowing);
        scene.views.push_back(view);
    }
    double active = 0;
    reader.read("activeView", 0, scene.views.empty() ? 0 : double(scene.views.size() - 1), active);
    scene.activeView = std::size_t(active);
    for (const JsonReader& each : reader.objects("bookmarks", MostBookmarks)) {
        SceneFile::Bookmark bookmark;
        each.read("name", bookmark.name);
        readCamera(each.object("camera"), bookmark.camera);
        scene.bookmarks.push_back(bookmark);
    }
}

void readExtent(const JsonReader& reader, SceneFile& scene)
{
    if (!reader.has("extent"))
        return;
    const JsonReader object = reader.object("extent");
    scene.extent.emplace();
    object.read("center", scene.extent->center);
    object.read("scaling", Smallest, Largest, scene.extent->scaling);
}

/// Whether this is a scene that this version can read; the reason in `error` otherwise.
bool checkHeader(const JsonReader& reader, QString* error)
{
    QString format;
    double version = 0;
    reader.read("format", format);
    if (!reader.hasFailed() && format != QLatin1String("tov scene"))
        *error = tr("it is not a scene of tov");
    reader.read("version", 0, Largest, version);
    if (reader.hasFailed())
        return false;
    if (version > Version)
        *error = tr("it has version %1, and this tov reads up to version %2; a later tov can open it")
                     .arg(QString::number(version), QString::number(Version));
    else if (version != Version)
        *error = tr("it has no valid version");
    return error->isEmpty();
}

} // namespace

QByteArray SceneFile::toJson(const QString& folder) const
{
    const FileNames names(folder);
    QJsonArray modelList, viewList, bookmarkList;
    for (const Model& model : models)
        modelList.append(app::toJson(model, names));
    for (const View& view : views)
        viewList.append(QJsonObject{{QStringLiteral("camera"), app::toJson(view.camera)},
                                    {QStringLiteral("follows"), view.isFollowing}});
    for (const Bookmark& bookmark : bookmarks)
        bookmarkList.append(QJsonObject{{QStringLiteral("name"), bookmark.name},
                                        {QStringLiteral("camera"), app::toJson(bookmark.camera)}});
    QJsonObject object{{QStringLiteral("format"), QStringLiteral("tov scene")},
                       {QStringLiteral("version"), Version},
                       {QStringLiteral("models"), modelList},
                       {QStringLiteral("look"), app::toJson(look, background, names)},
                       {QStringLiteral("views"), viewList},
                       {QStringLiteral("activeView"), int(activeView)},
                       {QStringLiteral("bookmarks"), bookmarkList}};
    if (extent)
        object[QStringLiteral("extent")] = QJsonObject{{QStringLiteral("center"), app::toJson(extent->center)},
                                                       {QStringLiteral("scaling"), extent->scaling}};
    if (!origin.isEmpty())
        object[QStringLiteral("origin")] = names.stored(origin);
    if (!motion.isNone() && motion.selection.kind != Selection::Kind::Other)
        object[QStringLiteral("motion")] = app::toJson(motion, names);
    return QJsonDocument(object).toJson();
}

std::optional<SceneFile> SceneFile::fromJson(const QByteArray& text, const QString& folder, QString* error)
{
    error->clear();
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(text, &problem);
    if (problem.error != QJsonParseError::NoError)
        *error =
            tr("line %1: %2").arg(QString::number(text.left(problem.offset).count('\n') + 1), problem.errorString());
    else if (!document.isObject())
        *error = tr("it is not a scene of tov");
    if (!error->isEmpty())
        return std::nullopt;
    const JsonReader reader(document.object(), error);
    if (!checkHeader(reader, error))
        return std::nullopt;
    const FileNames names(folder);
    SceneFile scene;
    scene.look.samples = DefaultSamples;
    for (const JsonReader& each : reader.objects("models", MostModels))
        scene.models.push_back(readModel(each, names));
    readLook(reader.object("look"), scene, names);
    if (reader.has("origin"))
        names.read(reader, "origin", scene.origin);
    readExtent(reader, scene);
    readViews(reader, scene);
    if (reader.has("motion"))
        readMotion(reader.object("motion"), scene.motion, names);
    if (!error->isEmpty())
        return std::nullopt;
    return scene;
}

} // namespace tov::app
