// What a ray meets: against a comparison with every triangle, hidden parts, clip planes, points and lines.

#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"
#include "scene/view/picking.h"
#include "tests/scene/shapes.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

using namespace tov::scene;
using namespace tov::test;
using tov::math::Matrix4;

namespace {

Vector3 minus(const Vector3& a, const Vector3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

double length(const Vector3& v)
{
    return std::hypot(v[0], v[1], v[2]);
}

Ray rayTo(const Vector3& from, const Vector3& to)
{
    const Vector3 along = minus(to, from);
    const double size = length(along);
    return {from, {along[0] / size, along[1] / size, along[2] / size}};
}

Ray downAt(double x, double y)
{
    return {{x, y, 10}, {0, 0, -1}};
}

Matrix4 moved(double x, double y, double z)
{
    return translation({x, y, z});
}

/// The volume of the tetrahedron below the ray's ends, times six; its sign tells on which side of an edge the ray is.
double sideOf(const Ray& ray, const Vector3& a, const Vector3& b)
{
    const Vector3 u = minus(a, ray.origin), v = minus(b, ray.origin);
    return ray.direction[0] * (u[1] * v[2] - u[2] * v[1]) + ray.direction[1] * (u[2] * v[0] - u[0] * v[2]) +
           ray.direction[2] * (u[0] * v[1] - u[1] * v[0]);
}

/// The distance to the nearest triangle in front of the ray; 0 when it meets none. Every triangle is tried, by the
/// sides on which the ray passes its edges.
double nearestByComparison(const SceneElement* root, const Ray& ray)
{
    double nearest = 0;
    forEachVisible(root, [&](const GeometryElement& element, const Matrix4& toScene) {
        const auto& indices = element.getIndices();
        for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
            Vector3 corner[3];
            for (std::size_t k = 0; k < 3; ++k) {
                const float* p = element.getVertices()[indices[i + k]].position;
                corner[k] = transformed(toScene, p[0], p[1], p[2]);
            }
            const double sides[3] = {sideOf(ray, corner[1], corner[2]), sideOf(ray, corner[2], corner[0]),
                                     sideOf(ray, corner[0], corner[1])};
            const double sum = sides[0] + sides[1] + sides[2];
            if (sum == 0 || sides[0] / sum < 0 || sides[1] / sum < 0 || sides[2] / sum < 0)
                continue;
            Vector3 point = {0, 0, 0};
            for (std::size_t k = 0; k < 3; ++k)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    point[axis] += sides[k] / sum * corner[k][axis];
            double distance = 0;
            for (std::size_t axis = 0; axis < 3; ++axis)
                distance += (point[axis] - ray.origin[axis]) * ray.direction[axis];
            if (distance > 0 && (nearest == 0 || distance < nearest))
                nearest = distance;
        }
    });
    return nearest;
}

} // namespace

TEST(Picking, EveryRayMeetsWhatAComparisonWithAllTrianglesFinds)
{
    auto* ball = new GeometryElement(QStringLiteral("ball"), sphere(24));
    Matrix4 skewed = moved(0.4, -0.2, 0.3);
    skewed(0, 0) = -1.7; // mirrored
    skewed(0, 1) = 0.3;
    skewed(2, 2) = 0.4;
    ball->setTransform(skewed);
    auto* group = new SceneElement(QStringLiteral("group"));
    group->setTransform(moved(1e5, 0, -3));
    group->addChild(ball);
    group->addChild(new GeometryElement(QStringLiteral("square"), square(0.1f)));
    const std::unique_ptr<SceneElement> root(rootOf({group}));
    std::mt19937 random(7);
    std::uniform_real_distribution<double> around(-3, 3);
    int met = 0;
    for (int i = 0; i < 2000; ++i) {
        const Ray ray = rayTo({1e5 + around(random), around(random), around(random)},
                              {1e5 + around(random) / 3, around(random) / 3, -3 + around(random) / 3});
        const double expected = nearestByComparison(root.get(), ray);
        const auto picked = pick(root.get(), ray, {});
        ASSERT_EQ(picked.has_value(), expected > 0) << i;
        if (!picked)
            continue;
        ++met;
        ASSERT_NEAR(picked->distance, expected, 1e-6) << i;
        ASSERT_LT(length(minus(picked->point, {ray.origin[0] + expected * ray.direction[0],
                                               ray.origin[1] + expected * ray.direction[1],
                                               ray.origin[2] + expected * ray.direction[2]})),
                  1e-6);
    }
    EXPECT_GT(met, 500);
    EXPECT_LT(met, 1900) << "some rays miss";
}

TEST(Picking, HiddenPartsAreNotMet)
{
    auto* near = new GeometryElement(QStringLiteral("near"), square(1));
    auto* far = new GeometryElement(QStringLiteral("far"), square(-1));
    auto* group = new SceneElement(QStringLiteral("group"));
    group->addChild(near);
    const std::unique_ptr<SceneElement> root(rootOf({group, far}));
    EXPECT_EQ(pick(root.get(), downAt(0.5, 0.5), {})->element, near);
    group->setVisible(false);
    EXPECT_EQ(pick(root.get(), downAt(0.5, 0.5), {})->element, far);
    far->setVisible(false);
    EXPECT_FALSE(pick(root.get(), downAt(0.5, 0.5), {}));
    EXPECT_FALSE(pick(nullptr, downAt(0.5, 0.5), {}));
}

TEST(Picking, WhatIsBehindTheEyeIsNotMet)
{
    const std::unique_ptr<SceneElement> root(rootOf({new GeometryElement(QStringLiteral("square"), square(0))}));
    EXPECT_TRUE(pick(root.get(), {{0.2, 0.2, 1}, {0, 0, -1}}, {}));
    EXPECT_FALSE(pick(root.get(), {{0.2, 0.2, -1}, {0, 0, -1}}, {}));
    EXPECT_FALSE(pick(root.get(), downAt(1.01, 0), {})) << "next to it";
}

TEST(Picking, BackFacesAreMetWhereTheyAreDrawn)
{
    Material oneSided;
    oneSided.doubleSided = false;
    auto* front = element(square(1), oneSided);
    auto* behind = element(square(-1), Material());
    const std::unique_ptr<SceneElement> root(rootOf({behind, front}));
    EXPECT_EQ(pick(root.get(), downAt(0.5, 0.5), {})->element, front);
    const Ray up = {{0.5, 0.5, -0.5}, {0, 0, 1}};
    EXPECT_FALSE(pick(root.get(), up, {})) << "only drawn from the front";
    PickOptions wireframe;
    wireframe.meetsBackFaces = true;
    EXPECT_EQ(pick(root.get(), up, wireframe)->element, front);
    // A mirrored part keeps its front where it is drawn.
    Matrix4 mirror = Matrix4::identity();
    mirror(0, 0) = -1;
    front->setTransform(mirror);
    EXPECT_EQ(pick(root.get(), downAt(0.5, 0.5), {})->element, front);
    EXPECT_FALSE(pick(root.get(), up, {}));
}

TEST(Picking, WhatAPlaneHidesIsNotMet)
{
    auto* near = new GeometryElement(QStringLiteral("near"), square(1));
    auto* far = new GeometryElement(QStringLiteral("far"), square(-1));
    const std::unique_ptr<SceneElement> root(rootOf({near, far}));
    PickOptions options;
    options.clip = ClipPlane{2, 0, false};
    EXPECT_EQ(pick(root.get(), downAt(0.5, 0.5), options)->element, far);
    options.clip->isFlipped = true;
    EXPECT_EQ(pick(root.get(), downAt(0.5, 0.5), options)->element, near);
    // A part that is cut is met where it is left.
    options.clip = ClipPlane{0, 0.25, false};
    EXPECT_TRUE(pick(root.get(), downAt(0.2, 0), options));
    EXPECT_FALSE(pick(root.get(), downAt(0.3, 0), options));
}

TEST(Picking, PointsAndLinesAreMetWithinTheRadius)
{
    Geometry points, lines;
    points.kind = Geometry::Kind::Points;
    points.positions = {0, 0, 0, 0.5f, 0, 0};
    points.indices = {0, 1};
    lines.kind = Geometry::Kind::Lines;
    lines.positions = {-1, 1, 0, 1, 1, 0};
    lines.indices = {0, 1};
    auto* dots = new GeometryElement(QStringLiteral("points"), std::move(points));
    auto* line = new GeometryElement(QStringLiteral("lines"), std::move(lines));
    const std::unique_ptr<SceneElement> root(rootOf({dots, line}));
    PickOptions options;
    EXPECT_FALSE(pick(root.get(), downAt(0.05, 0), options));
    options.radius = 0.1;
    EXPECT_EQ(pick(root.get(), downAt(0.05, 0), options)->element, dots);
    EXPECT_EQ(pick(root.get(), downAt(0.55, 0), options)->point, (Vector3{0.5, 0, 0}));
    EXPECT_FALSE(pick(root.get(), downAt(0.25, 0), options));
    EXPECT_EQ(pick(root.get(), downAt(0.3, 1.05), options)->element, line);
    EXPECT_NEAR(pick(root.get(), downAt(0.3, 1.05), options)->point[0], 0.3, 1e-9);
    EXPECT_FALSE(pick(root.get(), downAt(1.2, 1), options)) << "beyond the end of the line";
    EXPECT_EQ(pick(root.get(), downAt(1.05, 1), options)->element, line);
    options.radius = 0;
    options.radiusPerDistance = 0.02;
    EXPECT_TRUE(pick(root.get(), downAt(0.15, 0), options)) << "0.2 at a distance of 10";
    EXPECT_FALSE(pick(root.get(), {{0.15, 0, 5}, {0, 0, -1}}, options)) << "0.1 at a distance of 5";
}
