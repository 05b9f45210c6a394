#include "app/cli/setup/sceneoptions.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>

namespace tov::app {

using tov::scene::SceneLook;
using tov::trajectory::Selection;

namespace {

constexpr double Percent = 100;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QString lightOf(const SceneLook& look)
{
    switch (look.light) {
    case SceneLook::Light::Headlight:
        return QStringLiteral("headlight");
    case SceneLook::Light::None:
        return QStringLiteral("none");
    case SceneLook::Light::Environment:
        return look.environmentFile;
    default:
        return QStringLiteral("studio");
    }
}

QString showOf(const SceneLook& look)
{
    switch (look.show) {
    case SceneLook::Show::SurfaceWithEdges:
        return QStringLiteral("edges");
    case SceneLook::Show::Wireframe:
        return QStringLiteral("wireframe");
    case SceneLook::Show::Points:
        return QStringLiteral("points");
    default:
        return QStringLiteral("surface");
    }
}

template <typename T, typename Value>
void setIfNone(std::optional<T>& option, const Value& value)
{
    if (!option)
        option = value;
}

/// Options override what the file says.
void addLook(const SceneFile& scene, LookRequest& look)
{
    if (look.light.isEmpty())
        look.light = lightOf(scene.look);
    if (look.show.isEmpty())
        look.show = showOf(scene.look);
    setIfNone(look.exposure, scene.look.exposure);
    setIfNone(look.pointSize, scene.look.pointSize * Percent);
    setIfNone(look.lineWidth, scene.look.lineWidth * Percent);
    setIfNone(look.samples, scene.look.samples);
    look.clip = scene.look.clip;
    if (!look.color)
        look.color = scene.look.color;
    look.isFlat = look.isFlat || scene.look.isFlat;
    look.hasFeatureEdges = look.hasFeatureEdges || scene.look.hasFeatureEdges;
    if (look.background.kind == Background::Kind::Default)
        look.background = scene.background;
}

bool hasOwnView(const ViewRequest& view)
{
    return !view.views.isEmpty() || !isFitted(view) || view.up;
}

QString motionOf(const SceneFile::Motion& motion)
{
    QStringList texts;
    switch (motion.selection.kind) {
    case Selection::Kind::File:
        texts << tr("trajectory %1").arg(QFileInfo(motion.selection.file).fileName());
        break;
    case Selection::Kind::Turntable:
        texts << tr("turntable of %1 positions").arg(motion.selection.turntable.frames);
        break;
    case Selection::Kind::Path:
        texts << tr("camera path of %1 views").arg(motion.selection.path.getKeys().size());
        break;
    default:
        break;
    }
    if (motion.selection.animation)
        texts << tr("animation \"%1\"").arg(*motion.selection.animation);
    return texts.join(QStringLiteral(", "));
}

template <typename Predicate>
int countParts(const SceneFile& scene, Predicate predicate)
{
    int count = 0;
    for (const auto& model : scene.models)
        count += int(std::count_if(model.parts.begin(), model.parts.end(), predicate));
    return count;
}

int countHidden(const SceneFile& scene)
{
    return countParts(scene, [](const SceneFile::Part& part) { return part.isHidden; });
}

int countRemoved(const SceneFile& scene)
{
    return countParts(scene, [](const SceneFile::Part& part) { return part.isRemoved; });
}

} // namespace

QStringList findMissingModels(const QString& fileName, const SceneFile& scene)
{
    QStringList lines;
    for (const auto& model : scene.models)
        if (!QFileInfo::exists(model.file))
            lines << tr("%1: the model %2 is missing; there is no file '%3'")
                         .arg(fileName, QFileInfo(model.file).fileName(), model.file);
    return lines;
}

bool addScene(const QStringList& models, ViewRequest& view, MotionRequest& motion, QStringList& errors)
{
    if (std::none_of(models.begin(), models.end(), SceneFile::isSceneFile))
        return true;
    if (models.size() > 1) {
        errors << tr("a scene file is opened alone, not together with other files");
        return false;
    }
    QString error;
    auto scene = SceneFile::load(models.first(), &error);
    if (!scene) {
        errors << error;
        return false;
    }
    errors << findMissingModels(models.first(), *scene);
    if (!errors.isEmpty())
        return false;
    if (scene->models.empty()) {
        errors << tr("%1 contains no model").arg(models.first());
        return false;
    }
    addLook(*scene, view.look);
    if (!hasOwnView(view) && !scene->views.empty())
        view.sceneCamera = scene->views[scene->activeView].camera;
    if (motion.kind == MotionRequest::Kind::None && !motion.animation && !scene->motion.isNone())
        motion.kind = MotionRequest::Kind::Scene;
    view.scene = std::make_shared<const SceneFile>(std::move(*scene));
    return true;
}

std::vector<SceneFile::Model> modelsOf(const QStringList& files, const ViewRequest& view)
{
    std::vector<SceneFile::Model> models;
    if (view.scene)
        models = view.scene->models;
    else
        for (const QString& file : files)
            models.push_back({file, QString(), {}});
    if (!view.modelUp.isEmpty())
        for (auto& model : models)
            model.up = view.modelUp;
    return models;
}

QStringList describeScene(const QString& fileName, const SceneFile& scene)
{
    QStringList lines{fileName};
    for (const auto& model : scene.models)
        lines << tr("  model: %1").arg(model.file);
    lines << tr("  parts: %1 hidden, %2 removed")
                 .arg(QString::number(countHidden(scene)), QString::number(countRemoved(scene)));
    lines << tr("  views: %1, bookmarks: %2")
                 .arg(QString::number(scene.views.size()), QString::number(scene.bookmarks.size()));
    lines << tr("  light: %1, show: %2").arg(lightOf(scene.look), showOf(scene.look));
    if (!scene.motion.isNone())
        lines << tr("  motion: %1").arg(motionOf(scene.motion));
    return lines;
}

QJsonObject sceneToJson(const QString& fileName, const SceneFile& scene)
{
    QJsonArray models;
    for (const auto& model : scene.models)
        models.append(model.file);
    return QJsonObject{{QStringLiteral("file"), fileName},
                       {QStringLiteral("models"), models},
                       {QStringLiteral("hidden"), countHidden(scene)},
                       {QStringLiteral("removed"), countRemoved(scene)},
                       {QStringLiteral("views"), int(scene.views.size())},
                       {QStringLiteral("bookmarks"), int(scene.bookmarks.size())},
                       {QStringLiteral("light"), lightOf(scene.look)},
                       {QStringLiteral("show"), showOf(scene.look)},
                       {QStringLiteral("motion"), motionOf(scene.motion)}};
}

} // namespace tov::app
