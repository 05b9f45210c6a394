#pragma once

#include "scene/import/process/readers.h"

#include <assimp/scene.h>

namespace tov::importer {

/// The transform that turns a scene of the import library upright (+Y up) and, if the file has a unit, scales it to
/// metres. With `ImportJob::keepAxes` the axes stay as they are in the file: a rotation that the library added is
/// undone.
aiMatrix4x4 rootTransformOf(const aiScene& scene, const ImportJob& job);

} // namespace tov::importer
