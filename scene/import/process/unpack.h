#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace tov::importer {

/// The content of a file, decompressed (gzip) and, where it begins with a byte order mark of UTF-16, converted to
/// UTF-8. Throws `std::runtime_error` for damaged data and for more than 4 GiB.
std::vector<std::uint8_t> unpackFile(const std::filesystem::path& file);

/// True for names that end in ".gz" and files that begin with a byte order mark of UTF-16.
bool isPacked(const std::filesystem::path& file);

} // namespace tov::importer
