#include "scene/import/process/folder.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

namespace fs = std::filesystem;

namespace tov::importer {

namespace {

/// Entries of a folder that are compared by name in another letter case.
constexpr int MaxEntries = 10000;
/// The most folders of a name that are tried.
constexpr std::size_t MaxTail = 8;

std::vector<std::string> partsOf(const fs::path& path)
{
    std::vector<std::string> parts;
    for (const fs::path& part : path)
        parts.push_back(part.string());
    return parts;
}

fs::path joined(const std::vector<std::string>& parts, std::size_t first)
{
    fs::path path;
    for (std::size_t i = first; i < parts.size(); ++i)
        path /= parts[i];
    return path;
}

} // namespace

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

ModelFolder::ModelFolder(const fs::path& model) : m_Folder(fs::canonical(model).parent_path()) {}

bool ModelFolder::isInside(const fs::path& file) const
{
    std::error_code error;
    const fs::path whole = fs::canonical(file, error);
    if (error || !fs::is_regular_file(whole, error))
        return false;
    const auto [end, unused] = std::mismatch(m_Folder.begin(), m_Folder.end(), whole.begin(), whole.end());
    return end == m_Folder.end();
}

std::optional<fs::path> ModelFolder::findAnyCase(const fs::path& relative) const
{
    fs::path at = m_Folder;
    for (const fs::path& part : relative) {
        std::error_code error;
        if (part == ".." || part == "." || fs::exists(at / part, error)) {
            at /= part;
            continue;
        }
        const std::string wanted = lower(part.string());
        bool found = false;
        int entries = 0;
        fs::directory_iterator end;
        for (fs::directory_iterator entry(at, error); !error && entry != end && ++entries < MaxEntries;
             entry.increment(error))
            if (lower(entry->path().filename().string()) == wanted) {
                at = entry->path();
                found = true;
                break;
            }
        if (!found)
            return std::nullopt;
    }
    return isInside(at) ? std::optional(at) : std::nullopt;
}

std::optional<fs::path> ModelFolder::find(std::string name) const
{
    // No file system accepts longer names.
    if (name.empty() || name.size() > 4000 || name.find('\0') != std::string::npos)
        return std::nullopt;
    if (name.rfind("file://", 0) == 0)
        name.erase(0, 7);
    std::string slashes = name;
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    std::vector<fs::path> candidates{name, slashes};
    // The folders of the machine on which the model was made, the outermost left out first.
    const std::vector<std::string> parts = partsOf(slashes);
    for (std::size_t first = std::max<std::size_t>(1, parts.size() - std::min(parts.size(), MaxTail));
         first < parts.size(); ++first)
        candidates.push_back(joined(parts, first));
    if (!parts.empty())
        candidates.push_back(fs::path("textures") / parts.back());
    for (const fs::path& candidate : candidates) {
        if (candidate.empty())
            continue;
        if (candidate.is_absolute()) {
            if (isInside(candidate))
                return candidate;
            continue;
        }
        if (isInside(m_Folder / candidate))
            return m_Folder / candidate;
        if (auto found = findAnyCase(candidate))
            return found;
    }
    return std::nullopt;
}

std::vector<std::uint8_t> readWholeFile(const fs::path& file)
{
    std::error_code error;
    const auto size = fs::file_size(file, error);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> handle(std::fopen(file.c_str(), "rb"), &std::fclose);
    if (error || !handle)
        return {};
    std::vector<std::uint8_t> bytes(size);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), handle.get()));
    return bytes;
}

} // namespace tov::importer
