#pragma once

#include "scene/geometryelement.h"
#include "scene/sceneelement.h"

#include <cmath>

namespace tov::test {

/// A sphere of radius 1 with exact normals and texture coordinates; u runs around, v from the north pole (+y) down.
inline tov::scene::Geometry sphere(int rings = 96)
{
    constexpr double Pi = 3.14159265358979323846;
    tov::scene::Geometry geometry;
    const int around = 2 * rings;
    for (int ring = 0; ring <= rings; ++ring)
        for (int i = 0; i <= around; ++i) {
            const double polar = Pi * ring / rings, turn = 2 * Pi * i / around;
            const double n[3] = {std::sin(polar) * std::sin(turn), std::cos(polar), std::sin(polar) * std::cos(turn)};
            for (const double value : n) {
                geometry.positions.push_back(float(value));
                geometry.normals.push_back(float(value));
            }
            geometry.uv[0].push_back(float(i) / float(around));
            geometry.uv[0].push_back(float(ring) / float(rings));
        }
    const auto at = [around](int ring, int i) { return std::uint32_t(ring * (around + 1) + i); };
    for (int ring = 0; ring < rings; ++ring)
        for (int i = 0; i < around; ++i)
            geometry.indices.insert(geometry.indices.end(), {at(ring, i), at(ring + 1, i), at(ring + 1, i + 1),
                                                             at(ring, i), at(ring + 1, i + 1), at(ring, i + 1)});
    return geometry;
}

/// A square from -1 to 1 in x and y that faces +z; u runs right, v down.
inline tov::scene::Geometry square(float z = 0)
{
    tov::scene::Geometry geometry;
    geometry.positions = {-1, -1, z, 1, -1, z, 1, 1, z, -1, 1, z};
    geometry.normals = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
    geometry.uv[0] = {0, 1, 1, 1, 1, 0, 0, 0};
    geometry.indices = {0, 1, 2, 0, 2, 3};
    return geometry;
}

inline tov::scene::GeometryElement* element(tov::scene::Geometry geometry, const tov::scene::Material& material)
{
    geometry.material = std::make_shared<tov::scene::Material>(material);
    return new tov::scene::GeometryElement(QStringLiteral("element"), std::move(geometry));
}

/// A root with these children.
inline tov::scene::SceneElement* rootOf(const std::vector<tov::scene::SceneElement*>& children)
{
    auto* root = new tov::scene::SceneElement(QStringLiteral("root"));
    for (auto* child : children)
        root->addChild(child);
    return root;
}

/// An image of those pixels, row by row from the top: red, green, blue, alpha.
inline std::shared_ptr<const tov::scene::Image> image(int width, int height, std::vector<std::uint8_t> pixels)
{
    auto result = std::make_shared<tov::scene::Image>();
    result->width = width;
    result->height = height;
    result->pixels = std::move(pixels);
    return result;
}

} // namespace tov::test
