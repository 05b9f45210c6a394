#pragma once

#include "scene/import/process/folder.h"

#include <tiny_gltf.h>

#include <cstdint>
#include <vector>

namespace tov::importer::gltf {

/// Reads the bytes of a glTF or GLB file with its buffers; images stay encoded. False for files of version 1. Throws
/// `std::runtime_error` with one line for files that cannot be read or that require what is not supported.
bool load(std::vector<std::uint8_t> bytes, const ModelFolder& folder, tinygltf::Model& model);

} // namespace tov::importer::gltf
