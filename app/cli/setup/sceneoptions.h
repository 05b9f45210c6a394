#pragma once

#include "app/cli/options/requests.h"

#include <QJsonObject>
#include <QStringList>

#include <vector>

namespace tov::app {

/// Reads the scene file among the models of a call, if there is one, and adds its look, view and motion to the request
/// where options have given none. On failure false and one line per problem in `errors`: a file that cannot be read, a
/// missing model. Thread: application.
bool addScene(const QStringList& models, ViewRequest& view, MotionRequest& motion, QStringList& errors);

/// What `tov image`, `video` and `run` read: the models of the scene file, or the files themselves, with the upward
/// axis of the request. Thread: any.
std::vector<SceneFile::Model> modelsOf(const QStringList& files, const ViewRequest& view);

/// One line per model that does not exist, with the place where it was searched for. Thread: any.
QStringList findMissingModels(const QString& fileName, const SceneFile& scene);

/// What a scene file contains, for `tov info`: one line per fact in the language of the user, or with fixed English
/// keys. Thread: any.
QStringList describeScene(const QString& fileName, const SceneFile& scene);
QJsonObject sceneToJson(const QString& fileName, const SceneFile& scene);

} // namespace tov::app
