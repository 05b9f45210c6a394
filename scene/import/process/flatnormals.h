#pragma once

#include "scene/import/process/streamwriter.h"

namespace tov::importer {

/// Gives a mesh of triangles without normals those of its faces, as glTF 2.0 demands (section 3.7.2.1, "Meshes"). Every
/// corner becomes a vertex of its own.
void makeFlat(MeshData& mesh);

} // namespace tov::importer
