#include "scene/import/process/flatnormals.h"

#include <array>
#include <cmath>
#include <numeric>

namespace tov::importer {

namespace {

/// One entry of `each` values for every index.
template <typename T>
void expand(std::vector<T>& values, std::size_t each, const std::vector<std::uint32_t>& indices)
{
    if (values.empty())
        return;
    std::vector<T> expanded;
    expanded.reserve(each * indices.size());
    for (const std::uint32_t index : indices) {
        const auto from = values.begin() + std::ptrdiff_t(each * index);
        expanded.insert(expanded.end(), from, from + std::ptrdiff_t(each));
    }
    values.swap(expanded);
}

std::array<float, 3> normalOf(const float* corners)
{
    std::array<double, 3> a, b;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        a[axis] = double(corners[3 + axis]) - double(corners[axis]);
        b[axis] = double(corners[6 + axis]) - double(corners[axis]);
    }
    const double x = a[1] * b[2] - a[2] * b[1], y = a[2] * b[0] - a[0] * b[2], z = a[0] * b[1] - a[1] * b[0];
    const double length = std::hypot(x, y, z);
    if (!std::isfinite(length) || length <= 0)
        return {0, 0, 1};
    return {float(x / length), float(y / length), float(z / length)};
}

} // namespace

void makeFlat(MeshData& mesh)
{
    const std::size_t vertices = mesh.positions.size() / 3;
    for (const std::uint32_t index : mesh.indices)
        if (index >= vertices)
            return; // the program reports it
    mesh.tangents.clear();
    expand(mesh.positions, 3, mesh.indices);
    expand(mesh.uv[0], 2, mesh.indices);
    expand(mesh.uv[1], 2, mesh.indices);
    expand(mesh.colors, 4, mesh.indices);
    expand(mesh.joints, 4 * std::size_t(mesh.jointGroups), mesh.indices);
    expand(mesh.weights, 4 * std::size_t(mesh.jointGroups), mesh.indices);
    for (MeshData::Morph& morph : mesh.morphs) {
        expand(morph.positions, 3, mesh.indices);
        morph.normals.clear();
        morph.tangents.clear();
    }
    std::iota(mesh.indices.begin(), mesh.indices.end(), 0u);
    mesh.normals.resize(mesh.positions.size());
    for (std::size_t corner = 0; corner + 2 < mesh.indices.size(); corner += 3) {
        const auto normal = normalOf(mesh.positions.data() + 3 * corner);
        for (std::size_t i = 0; i < 9; ++i)
            mesh.normals[3 * corner + i] = normal[i % 3];
    }
}

} // namespace tov::importer
