#pragma once

#include "scene/import/process/streamwriter.h"

namespace tov::importer {

/// Gives a triangle mesh without normals the normals of its faces, as glTF 2.0 requires (section 3.7.2.1, "Meshes").
/// Every corner becomes a vertex of its own.
void makeFlat(MeshData& mesh);

} // namespace tov::importer
