#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tov::importer {

/// The folder of a model. Files outside of it, links resolved, are not read.
class ModelFolder
{
public:
    explicit ModelFolder(const std::filesystem::path& model);

    /// True for regular files inside the folder.
    bool isInside(const std::filesystem::path& file) const;
    /// The file that a model refers to by a name: as written, with backslashes as separators, in other letter case,
    /// with some or all folders left out, or in a folder "textures".
    std::optional<std::filesystem::path> find(std::string name) const;
    /// The folder, links resolved.
    const std::filesystem::path& path() const { return m_Folder; }

private:
    std::optional<std::filesystem::path> findAnyCase(const std::filesystem::path& relative) const;

    std::filesystem::path m_Folder;
};

/// The text with the letters A to Z in lower case.
std::string lower(std::string text);

/// The whole file; empty when it cannot be read.
std::vector<std::uint8_t> readWholeFile(const std::filesystem::path& file);

} // namespace tov::importer
