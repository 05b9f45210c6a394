#pragma once

#include <cstdint>
#include <string>

namespace tov::importer {

/// Sends a report code of meshstream.h and its text to the program.
void report(std::uint8_t code, const std::string& text = std::string());
/// Sends a percentage when it is higher than the last one.
void reportProgress(double share);

} // namespace tov::importer
