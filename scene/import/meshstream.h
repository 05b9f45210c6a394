#pragma once

#include <cstdint>

/// What the importing process hands to the program, in shared memory: this header, then `nodes` records of `NodeRecord`
/// with its name, each after its parent, then `parts` records of `PartRecord`, name, positions, normals, colours and
/// indices. Both sides are of one build, so numbers are in the machine's order. The program trusts none of it.
namespace tov::scene::stream {

constexpr char Magic[8] = {'t', 'o', 'v', 'm', 'e', 's', 'h', '1'};
constexpr std::uint32_t NoParent = 0xffffffffu;
/// File descriptors of the importing process: shared memory, and the pipe that it reports through.
constexpr int MeshDescriptor = 3;
constexpr int ReportDescriptor = 4;

/// Reports, a byte each: percent up to 100, else one of these. `Problem` and `Done` are the last; the text of a problem
/// follows.
enum Report : std::uint8_t
{
    Done = 200,
    Problem = 201,  ///< the file is wrong
    NoMemory = 202, ///< the limit on memory was reached
};

struct Header
{
    char magic[8];
    std::uint32_t nodes;
    std::uint32_t parts;
};

struct NodeRecord
{
    double transform[16]; ///< row by row
    std::uint32_t parent; ///< index of an earlier node; `NoParent` for the first
    std::uint32_t nameLength;
};

struct PartRecord
{
    std::uint64_t vertices;
    std::uint64_t indices;
    std::uint32_t node;
    std::uint32_t nameLength;
    std::uint32_t kind; ///< corners of a primitive: 1, 2 or 3
    std::uint8_t hasNormals;
    std::uint8_t hasColors;
    std::uint8_t hasColor;
    std::uint8_t reserved;
    std::uint8_t color[4]; ///< red, green, blue, alpha
    std::uint8_t reserved2[4];
};

} // namespace tov::scene::stream
