#include "scene/view/camera.h"

#include "scene/drawing/scenedrawer.h"
#include "scene/model.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace tov::scene;
using tov::math::Matrix4;

namespace {

/// A point in the picture, from -1 to 1, and its depth from -1 (near) to 1 (far).
struct Seen
{
    double x, y, depth, w;
};

/// Projects as pictures do (46.29 degrees).
Seen project(const Matrix4& matrix, const Vector3& point, double aspect)
{
    double eye[4];
    for (unsigned int r = 0; r < 4; ++r)
        eye[r] = matrix(r, 0) * point[0] + matrix(r, 1) * point[1] + matrix(r, 2) * point[2] + matrix(r, 3);
    const double n = SceneDrawer::ZNEAR, f = SceneDrawer::ZFAR;
    const double w = -eye[2];
    const double z = -(f + n) / (f - n) * eye[2] - 2 * f * n / (f - n) * eye[3];
    return {eye[0] / (PictureHalfHeight * aspect) / w, eye[1] / PictureHalfHeight / w, z / w, w};
}

const SceneExtent Extent{{1, 2, 3}, 1000 / 5.0};

std::vector<Vector3> cloud(unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> at(-1, 1);
    std::vector<Vector3> points;
    while (points.size() < 200) {
        const Vector3 p = {at(random) * 5, at(random) * 5, at(random) * 5};
        if (std::hypot(p[0], p[1], p[2]) < 5)
            points.push_back({p[0] + 1, p[1] + 2, p[2] + 3});
    }
    return points;
}

/// Cameras of every kind.
std::vector<Camera> cameras()
{
    std::vector<Camera> all;
    for (const bool orthographic : {false, true})
        for (const double fieldOfView : {20.0, Camera::DefaultFieldOfView, 100.0})
            for (const auto view : {StandardView::Front, StandardView::Bottom, StandardView::Isometric}) {
                Camera camera;
                camera.rotation = standardRotation(view);
                camera.orbit(17, -23, 31);
                camera.target = {1.5, 2, 2};
                camera.distance = 14;
                camera.fieldOfView = fieldOfView;
                camera.orthographic = orthographic;
                all.push_back(camera);
            }
    return all;
}

void expectNear(const Vector3& a, const Vector3& b, double tolerance)
{
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << i;
}

} // namespace

TEST(Camera, StandardViewsLookAlongTheirAxes)
{
    const std::pair<StandardView, Vector3> expected[] = {
        {StandardView::Front, {0, 0, 1}},
        {StandardView::Back, {0, 0, -1}},
        {StandardView::Left, {-1, 0, 0}},
        {StandardView::Right, {1, 0, 0}},
        {StandardView::Top, {0, 1, 0}},
        {StandardView::Bottom, {0, -1, 0}},
        {StandardView::Isometric, {std::sqrt(1 / 3.0), std::sqrt(1 / 3.0), std::sqrt(1 / 3.0)}},
    };
    for (const auto& [view, position] : expected) {
        Camera camera;
        camera.rotation = standardRotation(view);
        camera.distance = 1;
        expectNear(camera.position(), position, 1e-12);
    }
}

TEST(Camera, AzimuthElevationAndRollAreRelativeToAView)
{
    Camera camera;
    camera.distance = 1;
    camera.orbit(90, 0);
    expectNear(camera.position(), {1, 0, 0}, 1e-12);
    camera.orbit(0, 90);
    expectNear(camera.position(), {0, 1, 0}, 1e-12);
    Camera rolled;
    rolled.orbit(0, 0, 90);
    // The picture turns counter-clockwise: what was at the top is on the left.
    const auto above = transformed(rolled.rotation, 0, 1, 0);
    expectNear(above, {-1, 0, 0}, 1e-12);
}

TEST(Camera, TheFieldOfViewIsTheAngleOfThePicture)
{
    Camera camera;
    camera.distance = 10;
    camera.target = {1, 2, 3};
    for (const double degrees : {10.0, 46.0, 90.0, 140.0}) {
        camera.fieldOfView = degrees;
        const double top = 2 + 10 * std::tan(degrees * M_PI / 360);
        const Seen seen = project(camera.scaledMatrix(Extent), {1, top, 3}, 1.5);
        EXPECT_NEAR(seen.y, 1, 1e-9) << degrees;
        EXPECT_NEAR(seen.x, 0, 1e-12);
    }
    camera.fieldOfView = Camera::DefaultFieldOfView;
    EXPECT_NEAR(Camera::DefaultFieldOfView, 46.29, 0.005);
    // The default lens changes nothing: the matrix is a uniform scale and a rigid motion.
    const Matrix4 matrix = camera.scaledMatrix(Extent);
    EXPECT_NEAR(matrix(0, 0), Extent.scaling, 1e-9);
    EXPECT_NEAR(matrix(2, 2), Extent.scaling, 1e-9);
}

TEST(Camera, AnOrthographicLensKeepsParallelEdgesParallel)
{
    for (Camera camera : cameras()) {
        camera.orthographic = true;
        const Matrix4 matrix = camera.scaledMatrix(Extent);
        const Seen a = project(matrix, {0, 0, 0}, 1.6), b = project(matrix, {1, 2, -1}, 1.6);
        for (const Vector3& offset : {Vector3{3, 0, 0}, Vector3{0, -2, 1}, Vector3{2, 2, 2}}) {
            const Seen c = project(matrix, offset, 1.6);
            const Seen d = project(matrix, {1 + offset[0], 2 + offset[1], -1 + offset[2]}, 1.6);
            EXPECT_NEAR(d.x - c.x, b.x - a.x, 1e-9);
            EXPECT_NEAR(d.y - c.y, b.y - a.y, 1e-9);
            EXPECT_NEAR(d.depth - c.depth, b.depth - a.depth, 1e-9) << "depth is linear";
            EXPECT_NEAR(c.w, 1, 1e-9);
        }
    }
}

TEST(Camera, BothLensesShowTheTargetsPlaneInTheSameSize)
{
    for (Camera camera : cameras()) {
        const Vector3 up = camera.up();
        const double half = camera.halfHeight();
        const Vector3 edge = {camera.target[0] + up[0] * half, camera.target[1] + up[1] * half,
                              camera.target[2] + up[2] * half};
        const Seen seen = project(camera.scaledMatrix(Extent), edge, 2);
        EXPECT_NEAR(seen.y, 1, 1e-9);
        EXPECT_NEAR(seen.x, 0, 1e-9);
    }
}

TEST(Camera, TheSceneIsBetweenThePlanesFromAnyDistance)
{
    for (Camera camera : cameras())
        for (const double distance : {6.5, 30.0, 500.0, 1e6}) {
            camera.distance = distance;
            camera.target = Extent.center;
            const Matrix4 matrix = camera.scaledMatrix(Extent);
            for (const Vector3& point : cloud(3)) {
                const Seen seen = project(matrix, point, 1);
                EXPECT_GT(seen.depth, -1) << distance;
                EXPECT_LT(seen.depth, 1) << distance;
            }
        }
}

TEST(Camera, NearPointsCoverFarPoints)
{
    for (const Camera& camera : cameras()) {
        const Matrix4 matrix = camera.scaledMatrix(Extent);
        const Vector3 eye = camera.position();
        const auto at = [&](double share) {
            return Vector3{eye[0] + (camera.target[0] - eye[0]) * share, eye[1] + (camera.target[1] - eye[1]) * share,
                           eye[2] + (camera.target[2] - eye[2]) * share};
        };
        EXPECT_LT(project(matrix, at(0.9), 1).depth, project(matrix, at(1.1), 1).depth);
    }
}

TEST(Camera, ACameraIsRestoredFromItsMatrix)
{
    for (const Camera& camera : cameras()) {
        const Matrix4 matrix = camera.scaledMatrix(Extent);
        const auto found = cameraOfMatrix(matrix, Extent, camera);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->orthographic, camera.orthographic);
        EXPECT_NEAR(found->fieldOfView, camera.fieldOfView, 1e-9);
        EXPECT_NEAR(found->distance, camera.distance, 1e-9);
        const Matrix4 again = found->scaledMatrix(Extent);
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(again.data()[i], matrix.data()[i], 1e-6 * Extent.scaling) << i;
    }
    EXPECT_FALSE(cameraOfMatrix(Matrix4(), Extent));
    Matrix4 broken = Matrix4::identity();
    broken(1, 2) = std::nan("");
    EXPECT_FALSE(cameraOfMatrix(broken, Extent));
    EXPECT_FALSE(cameraOfPose(broken));
    EXPECT_FALSE(cameraOfPose(Matrix4()));
}

TEST(Camera, APoseIsInvertedExactly)
{
    for (const Camera& camera : cameras()) {
        const auto found = cameraOfPose(camera.pose(), camera);
        ASSERT_TRUE(found);
        expectNear(found->target, camera.target, 1e-9);
        const Matrix4 unit = camera.pose() * camera.toEye();
        for (unsigned int i = 0; i < 16; ++i)
            EXPECT_NEAR(unit.data()[i], i % 5 == 0 ? 1 : 0, 1e-12);
    }
}

TEST(Camera, LooksAtPointsWithAnyUpDirection)
{
    const auto camera = lookAt({0, 0, 5}, {0, 0, 0}, {0, 1, 0});
    ASSERT_TRUE(camera);
    expectNear(camera->position(), {0, 0, 5}, 1e-12);
    expectNear(camera->up(), {0, 1, 0}, 1e-12);
    // Up along the view direction: another axis is up.
    for (const Vector3& from : {Vector3{0, 5, 0}, Vector3{0, -5, 0}, Vector3{0, 0, 5}}) {
        const auto straight = lookAt(from, {0, 0, 0}, from);
        ASSERT_TRUE(straight);
        expectNear(straight->position(), from, 1e-12);
    }
    EXPECT_FALSE(lookAt({1, 2, 3}, {1, 2, 3}, {0, 1, 0}));
    EXPECT_FALSE(lookAt({1, 2, std::nan("")}, {0, 0, 0}, {0, 1, 0}));
    EXPECT_FALSE(lookAt({1, 2, 3}, {0, 0, 0}, {0, std::numeric_limits<double>::infinity(), 0}));
}

TEST(Camera, FitsAnyViewAspectAndLensWithoutCropping)
{
    for (const double aspect : {0.2, 0.75, 1.0, 16 / 9.0, 5.0})
        for (const Camera& camera : cameras()) {
            const auto points = cloud(unsigned(aspect * 100));
            ViewFitter fitter(camera, aspect);
            for (const Vector3& point : points)
                fitter.add(point);
            const Camera fitted = fitter.fitted(0.01);
            const Matrix4 matrix = fitted.scaledMatrix(Extent);
            double largest = 0;
            for (const Vector3& point : points) {
                const Seen seen = project(matrix, point, aspect);
                EXPECT_GT(seen.w, 0);
                largest = std::max({largest, std::fabs(seen.x), std::fabs(seen.y)});
            }
            // Videos show 1.032 times less.
            EXPECT_LE(largest, 1 / 1.032) << aspect;
            EXPECT_GE(largest, 0.9) << aspect << " " << camera.orthographic;
        }
}

TEST(Camera, MovesBackOnlyAsFarAsNeeded)
{
    for (Camera camera : cameras()) {
        const auto points = cloud(9);
        camera.distance = 3;
        ViewFitter fitter(camera, 1.5);
        for (const Vector3& point : points)
            fitter.add(point);
        const Camera back = fitter.movedBack(0.01);
        EXPECT_GT(back.distance, 3);
        EXPECT_EQ(back.target, camera.target) << "the view direction stays";
        double largest = 0;
        for (const Vector3& point : points) {
            const Seen seen = project(back.scaledMatrix(Extent), point, 1.5);
            largest = std::max({largest, std::fabs(seen.x), std::fabs(seen.y)});
        }
        EXPECT_LE(largest, 1 / 1.032);
        EXPECT_GE(largest, 0.95);
        // A distant camera changes nothing.
        camera.distance = 1000;
        ViewFitter far(camera, 1.5);
        for (const Vector3& point : points)
            far.add(point);
        EXPECT_EQ(far.movedBack(0.01).distance, 1000);
    }
}

TEST(Camera, RaysGoThroughWhatTheyPointAt)
{
    for (const Camera& camera : cameras()) {
        const Matrix4 matrix = camera.scaledMatrix(Extent);
        for (const Vector3& point : cloud(4)) {
            const Seen seen = project(matrix, point, 1.3);
            if (std::fabs(seen.x) > 1 || std::fabs(seen.y) > 1 || seen.w <= 0)
                continue;
            const auto ray = rayThrough(matrix, seen.x, seen.y, 1.3);
            ASSERT_TRUE(ray);
            double along = 0, square = 0;
            for (std::size_t i = 0; i < 3; ++i)
                along += (point[i] - ray->origin[i]) * ray->direction[i];
            for (std::size_t i = 0; i < 3; ++i)
                square += std::pow(ray->origin[i] + along * ray->direction[i] - point[i], 2);
            EXPECT_LT(std::sqrt(square), 1e-6);
            EXPECT_GT(along, 0) << "the ray points forwards";
        }
    }
    EXPECT_FALSE(rayThrough(Matrix4(), 0, 0, 1));
}

TEST(Camera, CamerasOfFilesAreAtTheirElement)
{
    SceneElement root(QStringLiteral("root"));
    auto* arm = new SceneElement(QStringLiteral("arm"));
    auto* holder = new SceneElement(QStringLiteral("holder"));
    root.addChild(arm);
    arm->addChild(holder);
    Matrix4 move = Matrix4::identity();
    move(0, 3) = 1;
    move(1, 3) = 2;
    arm->setTransform(move);
    Matrix4 back = Matrix4::identity();
    back(2, 3) = 23;
    holder->setTransform(back);
    FileCamera file;
    file.element = holder;
    file.fieldOfView = 0.5;
    const auto camera = cameraOfFile(file, Extent);
    ASSERT_TRUE(camera);
    expectNear(camera->position(), {1, 2, 23}, 1e-9);
    expectNear(camera->target, {1, 2, 3}, 1e-9); // the scene's centre is straight ahead
    EXPECT_NEAR(camera->fieldOfView, 0.5 * 180 / M_PI, 1e-9);
    file.orthographic = true;
    file.halfHeight = 4;
    file.fieldOfView = 0;
    const auto flat = cameraOfFile(file, Extent);
    ASSERT_TRUE(flat);
    EXPECT_TRUE(flat->orthographic);
    EXPECT_NEAR(project(flat->scaledMatrix(Extent), {1, 6, 3}, 1).y, 1, 1e-9);
    file.element = nullptr;
    EXPECT_FALSE(cameraOfFile(file, Extent));
}
