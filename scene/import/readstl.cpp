#include "scene/import/readers.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <unordered_map>

namespace tov::scene {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

struct Position
{
    float at[3];
    /// Equal bits, so that a hash table also finds positions that are not finite.
    std::array<std::uint32_t, 3> bits() const { return std::bit_cast<std::array<std::uint32_t, 3>>(at); }
    bool operator==(const Position& other) const { return bits() == other.bits(); }
};

struct PositionHash
{
    std::size_t operator()(const Position& p) const
    {
        const auto bits = p.bits();
        return (std::size_t(bits[0]) * 73856093u) ^ (std::size_t(bits[1]) * 19349663u) ^
               (std::size_t(bits[2]) * 83492791u);
    }
};

/// Joins equal corners, so that smooth normals can be made: the format stores each triangle separately.
class Welder
{
public:
    void add(Position position)
    {
        for (float& value : position.at)
            value += 0.0f; // -0 becomes 0
        const auto entry = m_Known.emplace(position, std::uint32_t(geometry.positions.size() / 3));
        if (entry.second)
            geometry.positions.insert(geometry.positions.end(), position.at, position.at + 3);
        geometry.indices.push_back(entry.first->second);
    }
    Geometry geometry;

private:
    std::unordered_map<Position, std::uint32_t, PositionHash> m_Known;
};

constexpr std::size_t BinaryHeader = 80 + 4; ///< a comment and the count of triangles
constexpr std::size_t BinaryTriangle = 50;   ///< normal, three corners, two bytes

void readBinary(const ReadSource& source, Welder& welder, std::uint32_t count)
{
    const char* at = source.begin + BinaryHeader;
    for (std::uint32_t i = 0; i < count; ++i, at += BinaryTriangle) {
        if ((i & 0xffff) == 0)
            source.report(at);
        for (int corner = 0; corner < 3; ++corner) {
            Position position;
            std::memcpy(position.at, at + 12 + 12 * corner, 12);
            welder.add(position);
        }
    }
}

void readText(const ReadSource& source, Welder& welder)
{
    const char* at = source.begin;
    std::size_t line = 1;
    int corners = 0;
    bool ended = false;
    const auto word = [&] {
        while (at < source.end && std::isspace(static_cast<unsigned char>(*at)))
            line += *at++ == '\n';
        const char* first = at;
        while (at < source.end && !std::isspace(static_cast<unsigned char>(*at)))
            ++at;
        return std::string_view(first, std::size_t(at - first));
    };
    std::size_t words = 0;
    const auto skipLine = [&] {
        while (at < source.end && *at != '\n')
            ++at;
    };
    for (std::string_view next = word(); !next.empty(); next = word()) {
        if ((++words & 0xffff) == 0)
            source.report(at);
        if (next == "vertex") {
            Position position;
            for (float& value : position.at) {
                std::string_view text = word();
                if (!text.empty() && text.front() == '+')
                    text.remove_prefix(1);
                const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
                if (result.ec != std::errc() || result.ptr != text.data() + text.size())
                    throw ReadError(
                        tr("line %1: \"%2\" is not a number")
                            .arg(line)
                            .arg(QString::fromLatin1(text.data(), int(std::min<std::size_t>(text.size(), 40)))));
            }
            ++corners;
            welder.add(position);
        } else if (next == "endfacet") {
            if (corners != 3)
                throw ReadError(tr("line %1: a facet has %2 corners instead of 3").arg(line).arg(corners));
            corners = 0;
        } else if (next == "solid") {
            skipLine(); // followed by a name, which may have several words
        } else if (next == "endsolid") {
            skipLine();
            ended = true;
        }
    }
    if (corners != 0 || !ended)
        throw ReadError(tr("line %1: the file ends in the middle of its data").arg(line));
}

} // namespace

SceneElement* readStl(const ReadSource& source)
{
    Welder welder;
    std::uint32_t count = 0;
    if (source.size() >= BinaryHeader)
        std::memcpy(&count, source.begin + 80, sizeof count);
    // A binary file may begin with "solid" as a text file does; the length distinguishes them.
    const bool exact =
        source.size() >= BinaryHeader && source.size() == BinaryHeader + std::size_t(count) * BinaryTriangle;
    const bool saysText = source.size() >= 5 && std::memcmp(source.begin, "solid", 5) == 0;
    if (!exact && saysText) {
        readText(source, welder);
    } else {
        if (source.size() < BinaryHeader)
            throw ReadError(tr("the file is too short for an STL file"));
        if (std::size_t(count) > (source.size() - BinaryHeader) / BinaryTriangle)
            throw ReadError(tr("the header declares %1 triangles, but the file is too short for them").arg(count));
        readBinary(source, welder, count);
    }
    checkFinite(welder.geometry.positions);
    auto root = std::make_unique<SceneElement>(QFileInfo(source.fileName).completeBaseName());
    if (!welder.geometry.indices.empty())
        root->addChild(new GeometryElement(root->getName(), std::move(welder.geometry)));
    return root.release();
}

} // namespace tov::scene
