#pragma once

#include "scene/import/importprocess.h"
#include "scene/material.h"
#include "scene/model.h"

#include <memory>
#include <vector>

namespace tov::scene {

/// Checks the importer's output and makes a tree of it, which the caller owns; its root is named `name`. Throws
/// `ReadError`.
SceneElement* readStream(const ImportedBytes& bytes, const QString& name);
/// The images of a stream that holds nothing else, null for those that could not be read, and the warnings.
std::vector<std::shared_ptr<const Image>> readImageStream(const ImportedBytes& bytes, QStringList& warnings);

} // namespace tov::scene
