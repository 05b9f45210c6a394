#pragma once

#include "scene/material.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tov::scene {

struct Skin;

/// A mesh as a reader returns it: plain arrays, one entry per vertex. An empty array means that the mesh has none.
struct Geometry
{
    /// What the indices mean: three, two or one per primitive.
    enum class Kind
    {
        Surfaces = 3,
        Lines = 2,
        Points = 1,
    };
    Kind kind = Kind::Surfaces;
    /// x, y, z; finite; relative to `origin`, so that large coordinates keep their precision.
    std::vector<float> positions;
    std::array<double, 3> origin = {0, 0, 0};
    std::vector<float> normals;         ///< x, y, z, unit length; empty: computed with a crease angle of 40 degrees
    std::vector<float> tangents;        ///< x, y, z, sign of the bitangent (glTF); empty: derived while drawing
    std::vector<float> uv[2];           ///< u, v; see `Texture::transform`
    std::vector<std::uint16_t> colors;  ///< linear red, green, blue, alpha, 65535 = 1; multiply the base colour
    std::vector<std::uint32_t> indices; ///< below the number of vertices
    std::shared_ptr<const Material> material; ///< null: the default material

    /// Skinning: four joints per vertex (indices into `Skin::joints`) and their weights, which sum to 1. More than four
    /// influences follow as further groups of four: `jointGroups` groups per vertex, group by group for each vertex.
    std::shared_ptr<const Skin> skin; ///< null: not skinned
    int jointGroups = 0;
    std::vector<std::uint16_t> joints;
    std::vector<float> weights;

    /// A morph target: differences to positions and normals (empty: none), in the order of the vertices.
    struct MorphTarget
    {
        std::vector<float> positions;
        std::vector<float> normals;
        std::vector<float> tangents; ///< x, y, z
    };
    std::vector<MorphTarget> morphTargets;
    std::vector<float> morphWeights; ///< one per target: the weights at rest

    /// The number of vertices.
    std::size_t vertexCount() const { return positions.size() / 3; }
};

} // namespace tov::scene
