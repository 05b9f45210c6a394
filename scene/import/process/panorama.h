#pragma once

#include <filesystem>

namespace tov::importer {

/// Decodes a Radiance picture (.hdr) and writes it to the shared memory as a `stream::PanoramaHeader` and its pixels.
/// Throws `std::runtime_error` for damaged pictures and for sizes out of range.
void readPanorama(const std::filesystem::path& file);

} // namespace tov::importer
