#pragma once

#include "scene/import/process/folder.h"
#include "scene/import/process/images.h"
#include "scene/import/process/streamwriter.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tov::importer {

/// What the readers of the importer process work with.
struct ImportJob
{
    std::filesystem::path file;         ///< without ".gz" for compressed ones
    std::string suffix;                 ///< lower case, no dot
    std::vector<std::uint8_t> unpacked; ///< the unpacked content of the file, if it was packed; see unpack.h
    bool keepAxes = false;              ///< leave the up axis as it is in the file
    ModelFolder folder;
    StreamWriter& writer;

    /// The content of the file, unpacked; empty when it cannot be read.
    std::vector<std::uint8_t> content() const { return unpacked.empty() ? readWholeFile(file) : unpacked; }
};

/// Each writes one model to the stream; throws `std::exception` with one line.
void readGltf(ImportJob& job);
/// Reads every format that has no reader of its own.
void readWithAssimp(ImportJob& job);
/// Decodes the images that are named one per line, "name<TAB>place", in `list`: for each one an image record, of the
/// size 0 x 0 when it cannot be read.
void readImageList(ImportJob& job, const std::string& list);

/// Makes the keys ascending and finite and checks the number of values; false and one warning when that fails.
bool cleanKeys(ChannelData& channel, std::size_t valuesPerKey, const std::string& place, StreamWriter& writer);

} // namespace tov::importer
