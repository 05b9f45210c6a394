#pragma once

// Scenes and an independent projection for tests of pictures and videos. See support/pictures.h for the comparison of
// pictures.

#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/import/sceneimport.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace tov::test {

inline tov::scene::SceneElement* makeBox(float half)
{
    tov::scene::Geometry geometry;
    geometry.material = tov::scene::makeMaterial(QColor(200, 60, 60));
    for (int i = 0; i < 8; ++i)
        geometry.positions.insert(geometry.positions.end(),
                                  {i & 1 ? half : -half, i & 2 ? half : -half, i & 4 ? half : -half});
    geometry.indices = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                        2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
    auto* root = new tov::scene::SceneElement(QStringLiteral("root"));
    root->addChild(new tov::scene::GeometryElement(QStringLiteral("box"), std::move(geometry)));
    return root;
}

inline void useScene(tov::scene::SceneElement* root)
{
    tov::scene::Viewer::getInstance()->getGlobalScene()->setRootNode(root);
}

/// A view along -z from a distance, turned about two axes and scaled.
inline tov::math::Matrix4 viewFrom(double distance, double azimuth, double elevation, double scale = 1)
{
    auto turnY = tov::math::Matrix4::identity(), turnX = turnY, back = turnY, scaling = turnY;
    turnY(0, 0) = turnY(2, 2) = std::cos(azimuth);
    turnY(0, 2) = std::sin(azimuth);
    turnY(2, 0) = -turnY(0, 2);
    turnX(1, 1) = turnX(2, 2) = std::cos(elevation);
    turnX(2, 1) = std::sin(elevation);
    turnX(1, 2) = -turnX(2, 1);
    back(2, 3) = -distance;
    for (unsigned int i = 0; i < 3; ++i)
        scaling(i, i) = scale;
    return back * turnX * turnY * scaling;
}

/// The pixels that the triangles of the scene cover, computed without OpenGL. A pixel is covered if its centre is.
/// `halfHeight`: half the height of the picture at distance 1.
inline std::vector<bool> silhouette(const tov::math::Matrix4& transform, int width, int height, double halfHeight)
{
    std::vector<bool> covered(std::size_t(width) * std::size_t(height), false);
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    tov::scene::forEachVisible(scene->getRootNode(), [&](const tov::scene::GeometryElement& element,
                                                         const tov::math::Matrix4& toScene) {
        const auto toEye = transform * toScene;
        std::vector<std::array<double, 2>> at;
        for (const auto& vertex : element.getVertices()) {
            const auto p = tov::scene::transformed(toEye, vertex.position[0], vertex.position[1], vertex.position[2]);
            const double scale = height / (2 * halfHeight * -p[2]);
            at.push_back({width / 2.0 + p[0] * scale, height / 2.0 - p[1] * scale});
        }
        const auto& indices = element.getIndices();
        for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
            const auto &a = at[indices[i]], &b = at[indices[i + 1]], &c = at[indices[i + 2]];
            const double area = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
            if (area == 0)
                continue;
            const int left = std::max(0, int(std::floor(std::min({a[0], b[0], c[0]}) - 0.5)));
            const int right = std::min(width - 1, int(std::ceil(std::max({a[0], b[0], c[0]}))));
            const int top = std::max(0, int(std::floor(std::min({a[1], b[1], c[1]}) - 0.5)));
            const int bottom = std::min(height - 1, int(std::ceil(std::max({a[1], b[1], c[1]}))));
            for (int y = top; y <= bottom; ++y)
                for (int x = left; x <= right; ++x) {
                    const double px = x + 0.5, py = y + 0.5;
                    const double u = ((b[0] - a[0]) * (py - a[1]) - (b[1] - a[1]) * (px - a[0])) / area;
                    const double v = ((c[0] - b[0]) * (py - b[1]) - (c[1] - b[1]) * (px - b[0])) / area;
                    const double w = ((a[0] - c[0]) * (py - c[1]) - (a[1] - c[1]) * (px - c[0])) / area;
                    if (u >= 0 && v >= 0 && w >= 0)
                        covered[std::size_t(y) * std::size_t(width) + std::size_t(x)] = true;
                }
        }
    });
    return covered;
}

} // namespace tov::test
