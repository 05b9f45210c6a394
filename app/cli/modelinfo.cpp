#include "app/cli/modelinfo.h"

#include "scene/geometryelement.h"
#include "scene/material.h"
#include "scene/model.h"
#include "scene/sceneview.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QSet>

namespace tov::app {

namespace {

using tov::scene::Geometry;
using tov::scene::GeometryElement;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QString joined(const std::array<double, 3>& values)
{
    return QStringLiteral("%1 x %2 x %3")
        .arg(QString::number(values[0], 'g', 6), QString::number(values[1], 'g', 6),
             QString::number(values[2], 'g', 6));
}

std::array<double, 3> sizeOf(const ModelInfo& info)
{
    return {info.high[0] - info.low[0], info.high[1] - info.low[1], info.high[2] - info.low[2]};
}

void addTextures(const tov::scene::Material& material, QSet<const void*>& images)
{
    for (const tov::scene::Texture* texture :
         {&material.baseColorTexture, &material.metallicRoughnessTexture, &material.normalTexture,
          &material.occlusionTexture, &material.emissiveTexture})
        if (*texture)
            images.insert(texture->image.get());
}

void addGeometry(const GeometryElement& element, ModelInfo& info)
{
    ++info.parts;
    info.vertices += qint64(element.getVertices().size());
    const auto indices = qint64(element.getIndices().size());
    switch (element.getKind()) {
    case Geometry::Kind::Surfaces:
        info.triangles += indices / 3;
        break;
    case Geometry::Kind::Lines:
        info.lines += indices / 2;
        break;
    default:
        info.points += indices;
        break;
    }
}

QJsonArray toArray(const std::array<double, 3>& values)
{
    return {values[0], values[1], values[2]};
}

} // namespace

ModelInfo collectModelInfo(const QString& fileName, const tov::scene::SceneElement& root)
{
    ModelInfo info;
    info.fileName = fileName;
    info.bytes = QFileInfo(fileName).size();
    QSet<const void*> materials, images;
    tov::scene::forEachVisible(&root, [&](const GeometryElement& element, const tov::math::Matrix4&) {
        addGeometry(element, info);
        materials.insert(element.getMaterial().get());
        addTextures(*element.getMaterial(), images);
    });
    info.materials = materials.size();
    info.textures = images.size();
    const tov::scene::Box box = tov::scene::visibleBox(&root);
    info.hasBox = !box.isEmpty();
    if (info.hasBox) {
        info.low = box.low;
        info.high = box.high;
    }
    if (const auto& data = root.getModelData()) {
        for (const auto& camera : data->cameras)
            info.cameras << camera.name;
        for (const auto& animation : data->animations)
            info.animations << tr("%1 (%2 s)").arg(animation.name, QString::number(animation.duration, 'g', 4));
        info.lights = int(data->lights.size());
        info.skins = int(data->skins.size());
        info.warnings = data->warnings;
    }
    return info;
}

QStringList describe(const ModelInfo& info)
{
    QStringList lines{info.fileName};
    const auto add = [&lines](const QString& name, const QString& value) {
        lines << QStringLiteral("  %1 %2").arg((name + QLatin1Char(':')).leftJustified(12), value);
    };
    add(tr("parts"), QString::number(info.parts));
    if (info.triangles > 0)
        add(tr("triangles"), QString::number(info.triangles));
    if (info.lines > 0)
        add(tr("lines"), QString::number(info.lines));
    if (info.points > 0)
        add(tr("points"), QString::number(info.points));
    add(tr("vertices"), QString::number(info.vertices));
    if (info.hasBox)
        add(tr("size"), joined(sizeOf(info)));
    add(tr("materials"), QString::number(info.materials));
    if (info.textures > 0)
        add(tr("textures"), QString::number(info.textures));
    if (!info.cameras.isEmpty())
        add(tr("cameras"), info.cameras.join(QStringLiteral(", ")));
    if (!info.animations.isEmpty())
        add(tr("animations"), info.animations.join(QStringLiteral(", ")));
    if (info.lights > 0)
        add(tr("lights"), QString::number(info.lights));
    if (info.skins > 0)
        add(tr("skins"), QString::number(info.skins));
    for (const QString& warning : info.warnings)
        add(tr("warning"), warning);
    return lines;
}

QJsonObject toJson(const ModelInfo& info)
{
    QJsonObject object{{QStringLiteral("event"), QStringLiteral("result")},
                       {QStringLiteral("file"), info.fileName},
                       {QStringLiteral("bytes"), info.bytes},
                       {QStringLiteral("parts"), info.parts},
                       {QStringLiteral("triangles"), info.triangles},
                       {QStringLiteral("lines"), info.lines},
                       {QStringLiteral("points"), info.points},
                       {QStringLiteral("vertices"), info.vertices},
                       {QStringLiteral("materials"), info.materials},
                       {QStringLiteral("textures"), info.textures},
                       {QStringLiteral("cameras"), QJsonArray::fromStringList(info.cameras)},
                       {QStringLiteral("animations"), QJsonArray::fromStringList(info.animations)},
                       {QStringLiteral("lights"), info.lights},
                       {QStringLiteral("skins"), info.skins},
                       {QStringLiteral("warnings"), QJsonArray::fromStringList(info.warnings)}};
    if (info.hasBox) {
        object[QStringLiteral("low")] = toArray(info.low);
        object[QStringLiteral("high")] = toArray(info.high);
        object[QStringLiteral("size")] = toArray(sizeOf(info));
    }
    return object;
}

} // namespace tov::app
