#include "scene/drawing/closedsurface.h"

#include "tests/scene/drawfixture.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <utility>

#include <dlfcn.h>
#include <pthread.h>

using namespace tov::scene;
using tov::test::drawn;
using tov::test::SceneTest;

namespace {

std::atomic<bool> threadsRefused{false};
std::atomic<int> threadsAskedFor{0};

Winding look(Geometry geometry)
{
    return GeometryElement(QStringLiteral("e"), std::move(geometry)).getWinding();
}

/// A ball with a dent and a bump, closed: its triangles turn counter-clockwise seen from outside.
Geometry ball(int rings = 24, float x = 0)
{
    Geometry geometry;
    const int around = 2 * rings;
    const auto add = [&](double height, double turn) {
        const double r = std::sqrt(1 - height * height), size = 0.4 + 0.15 * r * std::sin(3 * turn);
        const float normal[3] = {float(r * std::cos(turn)), float(height), float(r * std::sin(turn))};
        for (int axis = 0; axis < 3; ++axis) {
            geometry.positions.push_back(float(size) * normal[axis] + (axis == 0 ? x : 0));
            geometry.normals.push_back(normal[axis]);
        }
    };
    add(1, 0);
    for (int ring = 1; ring < rings; ++ring)
        for (int i = 0; i < around; ++i)
            add(std::cos(ring * 3.14159265358979 / rings), i * 2 * 3.14159265358979 / around);
    add(-1, 0);
    const auto at = [&](int ring, int i) {
        return ring == 0       ? 0u
               : ring == rings ? std::uint32_t((rings - 1) * around + 1)
                               : std::uint32_t((ring - 1) * around + 1 + i % around);
    };
    for (int ring = 0; ring < rings; ++ring)
        for (int i = 0; i < around; ++i) {
            if (ring > 0)
                geometry.indices.insert(geometry.indices.end(), {at(ring, i), at(ring, i + 1), at(ring + 1, i)});
            if (ring < rings - 1)
                geometry.indices.insert(geometry.indices.end(),
                                        {at(ring, i + 1), at(ring + 1, i + 1), at(ring + 1, i)});
        }
    return geometry;
}

Geometry turnedRound(Geometry geometry)
{
    for (std::size_t i = 0; i + 2 < geometry.indices.size(); i += 3)
        std::swap(geometry.indices[i], geometry.indices[i + 1]);
    return geometry;
}

/// The same triangles, none of which shares a vertex: to the eye as closed as before, by numbers open.
Geometry apart(const Geometry& geometry)
{
    Geometry result;
    for (const std::uint32_t index : geometry.indices) {
        result.indices.push_back(std::uint32_t(result.indices.size()));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            result.positions.push_back(geometry.positions[3 * std::size_t(index) + axis]);
            result.normals.push_back(geometry.normals[3 * std::size_t(index) + axis]);
        }
    }
    return result;
}

Geometry together(Geometry a, const Geometry& b)
{
    const auto first = std::uint32_t(a.positions.size() / 3);
    a.positions.insert(a.positions.end(), b.positions.begin(), b.positions.end());
    a.normals.insert(a.normals.end(), b.normals.begin(), b.normals.end());
    for (const std::uint32_t index : b.indices)
        a.indices.push_back(first + index);
    return a;
}

SceneElement* rootOf(Geometry geometry)
{
    auto* root = new SceneElement(QStringLiteral("root"));
    root->addChild(new GeometryElement(QStringLiteral("element"), std::move(geometry)));
    return root;
}

} // namespace

// In place of the C library's, also for the libraries.
extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) noexcept
{
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    ++threadsAskedFor;
    return threadsRefused ? EAGAIN : real(thread, attributes, run, argument);
}

TEST(ClosedSurface, IsToldByItsEdgesAndPieces)
{
    EXPECT_EQ(look(ball()), Winding::Outward);
    EXPECT_EQ(look(turnedRound(ball())), Winding::Inward);
    EXPECT_EQ(look(together(ball(), ball(10, 3))), Winding::Outward);
    EXPECT_EQ(look(together(ball(), turnedRound(ball(10, 3)))), Winding::Unknown) << "a piece inside out";
    EXPECT_EQ(look(apart(ball())), Winding::Unknown);
    Geometry open = ball();
    open.indices.resize(open.indices.size() - 3);
    EXPECT_EQ(look(open), Winding::Unknown) << "a hole";
    Geometry flipped = ball();
    std::swap(flipped.indices[30], flipped.indices[31]);
    EXPECT_EQ(look(flipped), Winding::Unknown) << "one triangle turns the other way";
    Geometry twice = ball();
    twice.indices.insert(twice.indices.end(), twice.indices.begin(), twice.indices.begin() + 3);
    EXPECT_EQ(look(twice), Winding::Unknown) << "a triangle twice";
    Geometry thin = ball();
    thin.indices.insert(thin.indices.end(), {5, 5, 6});
    EXPECT_EQ(look(thin), Winding::Unknown) << "a triangle that is a line";
    Geometry flat;
    flat.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    flat.indices = {0, 1, 2, 0, 2, 1};
    EXPECT_EQ(look(flat), Winding::Unknown) << "nothing inside";
    Geometry points;
    points.kind = Geometry::Kind::Points;
    points.positions = {0, 0, 0};
    points.indices = {0};
    EXPECT_EQ(look(points), Winding::Unknown);
}

TEST(ClosedSurface, IsToldOfLargeOnesByAThreadOrWithout)
{
    const Geometry large = ball(60); // 42480 indices
    Geometry open = large;
    open.indices.resize(open.indices.size() - 3);
    Geometry flipped = large;
    std::swap(flipped.indices[30], flipped.indices[31]);
    Geometry bare = large;
    bare.normals.clear();
    const std::pair<Geometry, Winding> cases[] = {{large, Winding::Outward},   {turnedRound(large), Winding::Inward},
                                                  {bare, Winding::Outward},    {open, Winding::Unknown},
                                                  {flipped, Winding::Unknown}, {apart(large), Winding::Unknown}};
    for (const bool refused : {false, true}) {
        threadsRefused = refused;
        for (const auto& [geometry, winding] : cases) {
            const int before = threadsAskedFor;
            EXPECT_EQ(look(geometry), winding) << geometry.indices.size() << ' ' << refused;
            EXPECT_EQ(threadsAskedFor, before + 1) << "large enough for a thread";
        }
    }
    threadsRefused = false;
}

TEST_F(SceneTest, ClosedSurfacesLookAsOpenOnesDo)
{
    auto mirrored = at(1.5), turned = at(1.5);
    mirrored(0, 0) = -1;
    turned(0, 0) = turned(2, 2) = -1;
    for (const auto& transform : {at(1.5), mirrored, turned, at(3, 2)})
        for (const bool inward : {false, true}) {
            const Geometry geometry = inward ? turnedRound(ball()) : ball();
            ASSERT_NE(GeometryElement(QStringLiteral("e"), geometry).getWinding(), Winding::Unknown);
            scene->setRootNode(rootOf(apart(geometry)));
            const QImage open = drawn(256, 256, -0.5, 0.5, -0.5, 0.5, transform);
            scene->setRootNode(rootOf(geometry));
            const QImage closed = drawn(256, 256, -0.5, 0.5, -0.5, 0.5, transform);
            EXPECT_GT(covered(open), 256 * 256 / 10);
            int silhouette = 0, shade = 0;
            for (int y = 0; y < 256; ++y)
                for (int x = 0; x < 256; ++x) {
                    const QRgb a = open.pixel(x, y), b = closed.pixel(x, y);
                    silhouette += (qAlpha(a) != 0) != (qAlpha(b) != 0);
                    shade += std::abs(qRed(a) - qRed(b)) > 8;
                }
            EXPECT_EQ(silhouette, 0) << inward;
            EXPECT_LE(shade, 256 * 256 / 1000) << inward;
        }
}

TEST_F(SceneTest, ClosedSurfacesShowTheirInside)
{
    // The eye in the middle, and the near plane within: what is seen are the far sides.
    for (const double distance : {0.0, 1.2}) {
        scene->setRootNode(rootOf(apart(ball())));
        const int open = covered(drawn(128, 128, -0.5, 0.5, -0.5, 0.5, at(distance, 5)));
        scene->setRootNode(rootOf(ball()));
        EXPECT_EQ(covered(drawn(128, 128, -0.5, 0.5, -0.5, 0.5, at(distance, 5))), open) << distance;
        EXPECT_EQ(open, 128 * 128) << distance;
    }
}
