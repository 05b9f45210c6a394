#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <array>

namespace tov::scene {
class SceneElement;
}

namespace tov::app {

/// What a model file contains.
struct ModelInfo
{
    QString fileName;
    qint64 bytes = 0;
    int parts = 0; ///< elements with geometry
    qint64 triangles = 0, lines = 0, points = 0, vertices = 0;
    std::array<double, 3> low{}, high{}; ///< corners of the box around everything, in the units of the file
    bool hasBox = false;
    int materials = 0, textures = 0;
    QStringList cameras, animations, warnings;
    int lights = 0, skins = 0;
};

/// Collects what the tree of a file contains. Thread: any.
ModelInfo collectModelInfo(const QString& fileName, const tov::scene::SceneElement& root);
/// One line per fact, in the language of the user.
QStringList describe(const ModelInfo& info);
/// The same with fixed English keys.
QJsonObject toJson(const ModelInfo& info);

} // namespace tov::app
