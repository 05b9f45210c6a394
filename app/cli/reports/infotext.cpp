#include "app/cli/reports/infotext.h"

#include "scene/modelinfo.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QLocale>

namespace tov::app {

using tov::scene::ModelInfo;

namespace {

/// Longer lists are truncated; the number of names left out is added.
constexpr int MostNames = 12;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

std::array<double, 3> sizeOf(const ModelInfo& info)
{
    return {info.high[0] - info.low[0], info.high[1] - info.low[1], info.high[2] - info.low[2]};
}

QString joined(const std::array<double, 3>& values)
{
    return QStringLiteral("%1 x %2 x %3")
        .arg(QString::number(values[0], 'g', 6), QString::number(values[1], 'g', 6),
             QString::number(values[2], 'g', 6));
}

QString pointText(const std::array<double, 3>& point)
{
    return QStringLiteral("(%1, %2, %3)")
        .arg(QString::number(point[0], 'g', 6), QString::number(point[1], 'g', 6), QString::number(point[2], 'g', 6));
}

/// "3: a, b, c"
QString counted(const QStringList& names)
{
    QStringList shown;
    for (const QString& name : names.mid(0, MostNames))
        shown << (name.isEmpty() ? tr("(unnamed)") : name);
    if (names.size() > MostNames)
        shown << tr("%1 more").arg(names.size() - MostNames);
    return QStringLiteral("%1: %2").arg(QString::number(names.size()), shown.join(QStringLiteral(", ")));
}

QStringList textureTexts(const ModelInfo& info)
{
    QStringList texts;
    for (const auto& texture : info.textures)
        texts << QStringLiteral("%1 (%2 x %3)")
                     .arg(texture.name, QString::number(texture.width), QString::number(texture.height));
    return texts;
}

QStringList animationTexts(const ModelInfo& info)
{
    QStringList texts;
    for (const auto& animation : info.animations)
        texts << tr("%1 (%2 s)").arg(animation.name, QString::number(animation.seconds, 'g', 4));
    return texts;
}

QJsonArray toArray(const std::array<double, 3>& values)
{
    return {values[0], values[1], values[2]};
}

QJsonArray textureArray(const ModelInfo& info)
{
    QJsonArray array;
    for (const auto& texture : info.textures)
        array << QJsonObject{{QStringLiteral("name"), texture.name},
                             {QStringLiteral("width"), texture.width},
                             {QStringLiteral("height"), texture.height},
                             {QStringLiteral("bytes"), qint64(texture.bytes)}};
    return array;
}

QJsonArray animationArray(const ModelInfo& info)
{
    QJsonArray array;
    for (const auto& animation : info.animations)
        array << QJsonObject{{QStringLiteral("name"), animation.name},
                             {QStringLiteral("seconds"), animation.seconds},
                             {QStringLiteral("channels"), int(animation.channels)}};
    return array;
}

} // namespace

QStringList describe(const QString& fileName, const ModelInfo& info)
{
    QStringList lines{fileName};
    const auto add = [&lines](const QString& name, const QString& value) {
        lines << QStringLiteral("  %1 %2").arg((name + QLatin1Char(':')).leftJustified(14), value);
    };
    const auto addCount = [&add](const QString& name, std::uint64_t count) {
        if (count > 0)
            add(name, QString::number(count));
    };
    const auto addNames = [&add](const QString& name, const QStringList& names) {
        if (!names.isEmpty())
            add(name, counted(names));
    };
    addNames(tr("parts"), info.partNames);
    addCount(tr("triangles"), info.triangles);
    addCount(tr("lines"), info.lines);
    addCount(tr("points"), info.points);
    addCount(tr("vertices"), info.vertices);
    if (!info.isEmpty) {
        add(tr("size"), joined(sizeOf(info)));
        add(tr("box"), tr("%1 to %2").arg(pointText(info.low), pointText(info.high)));
    }
    addNames(tr("materials"), info.materials);
    addNames(tr("textures"), textureTexts(info));
    addNames(tr("cameras"), info.cameras);
    addNames(tr("lights"), info.lights);
    addNames(tr("animations"), animationTexts(info));
    addCount(tr("skins"), info.skins);
    addCount(tr("morph targets"), info.morphTargets);
    add(tr("memory"), QLocale::c().formattedDataSize(qint64(info.memoryBytes), 1, QLocale::DataSizeSIFormat));
    for (const QString& warning : info.warnings)
        add(tr("warning"), warning);
    return lines;
}

QJsonObject toJson(const QString& fileName, const ModelInfo& info)
{
    QJsonObject object{{QStringLiteral("event"), QStringLiteral("result")},
                       {QStringLiteral("file"), fileName},
                       {QStringLiteral("bytes"), QFileInfo(fileName).size()},
                       {QStringLiteral("parts"), QJsonArray::fromStringList(info.partNames)},
                       {QStringLiteral("triangles"), qint64(info.triangles)},
                       {QStringLiteral("lines"), qint64(info.lines)},
                       {QStringLiteral("points"), qint64(info.points)},
                       {QStringLiteral("vertices"), qint64(info.vertices)},
                       {QStringLiteral("materials"), QJsonArray::fromStringList(info.materials)},
                       {QStringLiteral("textures"), textureArray(info)},
                       {QStringLiteral("cameras"), QJsonArray::fromStringList(info.cameras)},
                       {QStringLiteral("lights"), QJsonArray::fromStringList(info.lights)},
                       {QStringLiteral("animations"), animationArray(info)},
                       {QStringLiteral("skins"), int(info.skins)},
                       {QStringLiteral("morphTargets"), int(info.morphTargets)},
                       {QStringLiteral("memory"), qint64(info.memoryBytes)},
                       {QStringLiteral("warnings"), QJsonArray::fromStringList(info.warnings)}};
    if (!info.isEmpty) {
        object[QStringLiteral("low")] = toArray(info.low);
        object[QStringLiteral("high")] = toArray(info.high);
        object[QStringLiteral("size")] = toArray(sizeOf(info));
    }
    return object;
}

} // namespace tov::app
