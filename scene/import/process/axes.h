#pragma once

#include "scene/import/process/readers.h"

#include <assimp/scene.h>

namespace tov::importer {

/// What turns a scene of the import library upright (+Y up) and, where the file says what its unit is, scales it to
/// metres. With `ImportJob::keepAxes` the axes stay as they are in the file: a rotation that the library added is
/// undone.
aiMatrix4x4 rootTransformOf(const aiScene& scene, const ImportJob& job);

} // namespace tov::importer
