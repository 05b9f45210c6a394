#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace tov::scene {
class ModelInfo;
}

namespace tov::app {

/// What a model file contains, one line per fact, in the language of the user. Thread: any.
QStringList describe(const QString& fileName, const tov::scene::ModelInfo& info);
/// The same with fixed English keys. Thread: any.
QJsonObject toJson(const QString& fileName, const tov::scene::ModelInfo& info);

} // namespace tov::app
