#pragma once

#include <cstdint>

namespace tov::importer {

/// Restricts this process to what reading a file needs: from now on it opens files for reading only, starts no program
/// and uses no network, whatever a damaged file makes a library do. False when the system refuses.
bool enterSandbox(std::uint64_t memoryBytes, std::uint64_t seconds);

} // namespace tov::importer
