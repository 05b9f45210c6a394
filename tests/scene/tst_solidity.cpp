#include "scene/drawing/scenedrawer.h"
#include "scene/solidity.h"
#include "tests/scene/drawfixture.h"
#include "tests/scene/shapes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>

using namespace tov::scene;
using namespace tov::test;

namespace {

typedef GeometryElement::Solidity Solidity;
typedef std::array<double, 3> Point;

Point minus(const Point& a, const Point& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Point cross(const Point& a, const Point& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Point& a, const Point& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The cube from -1 to 1, each side a grid of `n` x `n` squares with vertices of its own.
Geometry cube(std::uint32_t n = 1)
{
    Geometry result;
    for (int side = 0; side < 6; ++side) {
        const auto first = std::uint32_t(result.positions.size() / 3);
        const std::size_t axis = std::size_t(side) / 2;
        const float at = side % 2 ? 1.0f : -1.0f;
        for (std::uint32_t i = 0; i <= n; ++i)
            for (std::uint32_t j = 0; j <= n; ++j) {
                float p[3] = {};
                p[axis] = at;
                p[(axis + 1) % 3] = at * (2.0f * float(i) - float(n)) / float(n);
                p[(axis + 2) % 3] = (2.0f * float(j) - float(n)) / float(n);
                result.positions.insert(result.positions.end(), p, p + 3);
            }
        for (std::uint32_t i = 0; i < n; ++i)
            for (std::uint32_t j = 0; j < n; ++j) {
                const std::uint32_t a = first + i * (n + 1) + j, b = a + n + 1;
                for (const std::uint32_t index : {a, b, a + 1, b, b + 1, a + 1})
                    result.indices.push_back(index);
            }
    }
    return result;
}

/// The cube's grid on a sphere with radius 1. Without normals.
Geometry ball(std::uint32_t n)
{
    Geometry result = cube(n);
    for (std::size_t i = 0; i < result.positions.size(); i += 3) {
        float* p = &result.positions[i];
        const float length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
        for (std::size_t axis = 0; axis < 3; ++axis)
            p[axis] /= length;
    }
    return result;
}

Geometry moved(Geometry geometry, float x)
{
    for (std::size_t i = 0; i < geometry.positions.size(); i += 3)
        geometry.positions[i] += x;
    return geometry;
}

Geometry turnedInsideOut(Geometry geometry)
{
    for (std::size_t i = 0; i + 2 < geometry.indices.size(); i += 3)
        std::swap(geometry.indices[i], geometry.indices[i + 1]);
    return geometry;
}

Geometry together(Geometry a, const Geometry& b)
{
    const auto first = std::uint32_t(a.positions.size() / 3);
    a.positions.insert(a.positions.end(), b.positions.begin(), b.positions.end());
    for (const std::uint32_t index : b.indices)
        a.indices.push_back(first + index);
    return a;
}

/// The cube with a bump in the middle of the side x = 1 that reaches to `depth`.
Geometry dented(float depth, std::uint32_t n = 24)
{
    Geometry result = cube(n);
    for (std::size_t i = 0; i < result.positions.size(); i += 3) {
        float* p = &result.positions[i];
        const float away = std::sqrt(p[1] * p[1] + p[2] * p[2]);
        if (p[0] == 1.0f && away < 0.5f)
            p[0] += (depth - 1) * (1 - 2 * away);
    }
    return result;
}

/// A ball whose vertices are moved at random; vertices in the same place stay together.
Geometry crumpled(unsigned int seed, float reach, std::uint32_t n)
{
    Geometry result = ball(n);
    std::map<std::array<float, 3>, std::array<float, 3>> places;
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> offset(-reach, reach);
    for (std::size_t i = 0; i < result.positions.size(); i += 3) {
        float* p = &result.positions[i];
        const auto known = places.find({p[0], p[1], p[2]});
        const std::array<float, 3> to =
            known != places.end()
                ? known->second
                : std::array<float, 3>{p[0] + offset(random), p[1] + offset(random), p[2] + offset(random)};
        places[{p[0], p[1], p[2]}] = to;
        std::copy(to.begin(), to.end(), p);
    }
    return result;
}

/// Two cones on one circle: `n` triangles meet at each tip.
Geometry spindle(std::uint32_t n)
{
    constexpr double FullTurn = 6.283185307179586;
    Geometry result;
    result.positions = {0, 0, 1, 0, 0, -1};
    for (std::uint32_t i = 0; i < n; ++i) {
        const double angle = FullTurn * i / n;
        for (const double value : {std::cos(angle), std::sin(angle), 0.0})
            result.positions.push_back(float(value));
        const std::uint32_t from = 2 + i, to = 2 + (i + 1) % n;
        for (const std::uint32_t index : {0u, from, to, 1u, to, from})
            result.indices.push_back(index);
    }
    return result;
}

SolidSurface examined(const Geometry& geometry)
{
    const GeometryElement element("surface", geometry);
    return findSolidSurface(element.getVertices(), element.getIndices());
}

/// The triangle that a ray hits first, and whether it is seen from its outer side; -1: none.
struct Hit
{
    int triangle = -1;
    bool isOuterSide = false;
};

Hit firstHit(const GeometryElement& element, const Point& from, const Point& direction)
{
    Hit hit;
    double nearest = std::numeric_limits<double>::infinity();
    const auto& indices = element.getIndices();
    for (std::size_t t = 0; t + 2 < indices.size(); t += 3) {
        Point c[3];
        for (std::size_t k = 0; k < 3; ++k) {
            const float* p = element.getVertices()[indices[t + k]].position;
            c[k] = {p[0], p[1], p[2]};
        }
        const Point normal = cross(minus(c[1], c[0]), minus(c[2], c[0]));
        const double along = dot(normal, direction);
        if (along == 0)
            continue;
        const double distance = dot(normal, minus(c[0], from)) / along;
        Point at;
        for (std::size_t axis = 0; axis < 3; ++axis)
            at[axis] = from[axis] + distance * direction[axis];
        bool isInside = distance > 0 && distance < nearest;
        for (std::size_t k = 0; k < 3 && isInside; ++k)
            isInside = dot(normal, cross(minus(c[(k + 1) % 3], c[k]), minus(at, c[k]))) > 0;
        if (isInside) {
            nearest = distance;
            hit = {int(t / 3), along < 0};
        }
    }
    return hit;
}

/// Rays from outside, at random: how many hit an inner side first, and how many of those triangles are no exceptions.
struct InnerHits
{
    int all = 0;
    int unexpected = 0;
};

InnerHits countInnerHits(const Geometry& geometry, const SolidSurface& solid, int rays)
{
    const GeometryElement element("surface", geometry);
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    InnerHits hits;
    for (int i = 0; i < rays; ++i) {
        Point from{}, to{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            from[axis] = normal(random);
            to[axis] = 0.4 * normal(random);
        }
        const double scale = 10 / std::sqrt(dot(from, from));
        for (double& value : from)
            value *= scale;
        const Hit hit = firstHit(element, from, minus(to, from));
        const bool isInner = hit.triangle >= 0 && hit.isOuterSide != (solid.side == Solidity::Outward);
        if (!isInner)
            continue;
        ++hits.all;
        if (!std::binary_search(solid.exceptions.begin(), solid.exceptions.end(), std::uint32_t(hit.triangle)))
            ++hits.unexpected;
    }
    return hits;
}

} // namespace

TEST(Solidity, ClosedBodiesHaveAnOuterSide)
{
    for (const Geometry& body : {cube(), cube(7), ball(8)}) {
        const SolidSurface solid = examined(body);
        EXPECT_EQ(solid.side, Solidity::Outward);
        EXPECT_TRUE(solid.exceptions.empty());
        EXPECT_EQ(examined(turnedInsideOut(body)).side, Solidity::Inward);
    }
}

TEST(Solidity, PiecesMayOverlap)
{
    const SolidSurface solid = examined(together(cube(3), moved(ball(8), 0.9f)));
    EXPECT_EQ(solid.side, Solidity::Outward);
    EXPECT_TRUE(solid.exceptions.empty());
}

TEST(Solidity, OpenAndInconsistentSurfacesAreNotSolid)
{
    Geometry open = cube(3);
    open.indices.resize(open.indices.size() - 3);
    EXPECT_EQ(examined(open).side, Solidity::None);
    Geometry turned = cube(3);
    std::swap(turned.indices[0], turned.indices[1]);
    EXPECT_EQ(examined(turned).side, Solidity::None);
    EXPECT_EQ(examined(square()).side, Solidity::None);
    EXPECT_EQ(examined(together(cube(2), cube(2))).side, Solidity::None) << "two faces in the same place";
}

TEST(Solidity, PiecesThatDisagreeAreNotSolid)
{
    EXPECT_EQ(examined(together(cube(2), turnedInsideOut(moved(ball(8), 5)))).side, Solidity::None);
}

TEST(Solidity, NumbersThatAreNotFiniteAreNotSolid)
{
    Geometry geometry = cube(2);
    GeometryElement element("surface", geometry);
    auto vertices = element.getVertices();
    vertices[3].position[1] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(findSolidSurface(vertices, element.getIndices()).side, Solidity::None);
    EXPECT_EQ(findSolidSurface({}, {}).side, Solidity::None);
}

TEST(Solidity, TrianglesWithoutAreaDoNotMatter)
{
    Geometry geometry = cube(3);
    for (const std::uint32_t index : {5u, 5u, 6u})
        geometry.indices.push_back(index);
    EXPECT_EQ(examined(geometry).side, Solidity::Outward);
}

TEST(Solidity, ThousandsOfSliversAroundAVertexAreNotExamined)
{
    EXPECT_EQ(examined(spindle(1000)).side, Solidity::Outward);
    EXPECT_EQ(examined(spindle(16000)).side, Solidity::None);
}

TEST(Solidity, DentsThatStayInsideAreNoExceptions)
{
    const SolidSurface solid = examined(dented(-0.9f));
    EXPECT_EQ(solid.side, Solidity::Outward);
    EXPECT_TRUE(solid.exceptions.empty());
}

/// The tip of the dent sticks out on the other side, where its inner side is seen.
TEST(Solidity, InvertedTipsAreExceptions)
{
    const Geometry geometry = dented(-2.5f);
    const SolidSurface solid = examined(geometry);
    ASSERT_EQ(solid.side, Solidity::Outward);
    EXPECT_GT(solid.exceptions.size(), 50u);
    EXPECT_LT(solid.exceptions.size(), geometry.indices.size() / 6);
    const InnerHits hits = countInnerHits(geometry, solid, 5000);
    EXPECT_GT(hits.all, 20);
    EXPECT_EQ(hits.unexpected, 0);
}

/// A bump outwards that does not touch anything, and a body whose loops overlap without an inverted part.
TEST(Solidity, InnerSidesThatAreSeenAreExceptionsOnRandomSurfaces)
{
    int solids = 0, seen = 0;
    for (unsigned int seed = 1; seed <= 40; ++seed) {
        const Geometry geometry = crumpled(seed, 0.02f * float(seed % 10), 12);
        const SolidSurface solid = examined(geometry);
        if (solid.side == Solidity::None)
            continue;
        ++solids;
        const InnerHits hits = countInnerHits(geometry, solid, 1000);
        seen += hits.all;
        EXPECT_EQ(hits.unexpected, 0) << seed;
    }
    EXPECT_GT(solids, 30);
    EXPECT_GT(seen, 100) << "inverted parts were visible at all";
}

class SolidDrawingTest : public SceneTest
{
protected:
    void TearDown() override
    {
        SceneDrawer::setLook(SceneLook());
        SceneTest::TearDown();
    }
    /// The picture before and after the surface is examined: from both sides, and by the outer sides alone.
    std::pair<QImage, QImage> pictures(const Geometry& geometry, const Matrix4& transform)
    {
        Material material;
        material.doubleSided = true;
        GeometryElement* body = element(geometry, material);
        scene->setRootNode(rootOf({body}));
        const auto picture = [&] {
            return drawn(256, 256, -0.5, 0.5, -0.5, 0.5, transform, 3, 7, {}, QColor(0, 0, 0, 0));
        };
        const QImage before = picture();
        EXPECT_EQ(body->getSolidity(), Solidity::Unknown);
        body->examineSolidity();
        side = body->getSolidity();
        return {before, picture()};
    }
    static int differences(const std::pair<QImage, QImage>& images)
    {
        int count = 0;
        for (int y = 0; y < images.first.height(); ++y)
            for (int x = 0; x < images.first.width(); ++x)
                count += images.first.pixel(x, y) != images.second.pixel(x, y);
        return count;
    }
    /// Turned about two axes.
    static Matrix4 view(double angle, double distance)
    {
        Matrix4 m = Matrix4::identity();
        const double c = std::cos(angle), s = std::sin(angle);
        m(0, 0) = c;
        m(0, 2) = s;
        m(1, 0) = s * s;
        m(1, 1) = c;
        m(1, 2) = -s * c;
        m(2, 0) = -s * c;
        m(2, 1) = s;
        m(2, 2) = c * c;
        m(2, 3) = -distance;
        return m;
    }
    Solidity side = Solidity::Unknown;
};

/// Rounding decides at single samples of the outline, where outer and inner side meet.
TEST_F(SolidDrawingTest, OuterSidesAloneGiveTheSamePicture)
{
    const Geometry bodies[] = {ball(24), turnedInsideOut(ball(24)), together(cube(20), moved(ball(24), 0.9f)),
                               dented(-0.9f), dented(-2.5f)};
    for (const Geometry& body : bodies)
        for (int i = 0; i < 6; ++i) {
            const auto images = pictures(body, view(0.3 + i, 9));
            EXPECT_NE(side, Solidity::None);
            EXPECT_GT(covered(images.first), 2000);
            EXPECT_LE(differences(images), 3) << (&body - bodies) << " from " << i;
        }
}

TEST_F(SolidDrawingTest, RandomSurfacesGiveTheSamePicture)
{
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        const auto images = pictures(crumpled(seed, 0.02f * float(seed % 10), 20), view(0.2 * seed, 6));
        EXPECT_LE(differences(images), 3) << seed;
    }
}

TEST_F(SolidDrawingTest, BodiesThatTheNearPlaneCutsShowTheirInside)
{
    const auto images = pictures(cube(30), view(0.3, 1.5));
    EXPECT_EQ(side, Solidity::Outward);
    EXPECT_GT(covered(images.first), 60000);
    EXPECT_EQ(differences(images), 0);
}

TEST_F(SolidDrawingTest, MirroredBodiesShowTheirOutside)
{
    Matrix4 mirrored = view(0.4, 9);
    for (unsigned int r = 0; r < 3; ++r)
        mirrored(r, 0) = -mirrored(r, 0);
    const auto images = pictures(together(cube(20), moved(ball(24), 0.9f)), mirrored);
    EXPECT_GT(covered(images.first), 2000);
    EXPECT_LE(differences(images), 3);
}
