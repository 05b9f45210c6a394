#pragma once

#include <cstdint>

namespace tov::importer {

/// Takes from this process what reading a file does not need: from now on it opens files for reading only, starts
/// nothing and sends nothing, whatever a file makes a library do. False when the system refuses.
bool enterSandbox(std::uint64_t memoryBytes, std::uint64_t seconds);

} // namespace tov::importer
