// Skinned and morphed elements: shapes computed by hand.

#include "scene/geometryelement.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "tests/scene/drawfixture.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tov::scene;
using tov::math::Matrix4;
using tov::test::SceneTest;

namespace {

/// A strip along y: two vertices of the lower joint, two in between, two of the upper joint, which is at y = 1.
class DeformationTest : public SceneTest
{
protected:
    void SetUp() override
    {
        root = new SceneElement(QStringLiteral("root"));
        lower = new SceneElement(QStringLiteral("lower"));
        upper = new SceneElement(QStringLiteral("upper"));
        upper->setTransform(moved(0, 1));
        root->addChild(lower);
        lower->addChild(upper);
        auto skin = std::make_shared<Skin>();
        skin->joints = {lower, upper};
        skin->inverseBind = {Matrix4::identity(), moved(0, -1)};
        Geometry geometry;
        geometry.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 2, 0, 1, 2, 0};
        geometry.normals = {0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1};
        geometry.tangents = {1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 0, 1, 1, 0, 0, 1, 0, 1, 0, -1, 1, 0, 0, 1};
        geometry.indices = {0, 1, 2, 1, 3, 2, 2, 3, 4, 3, 5, 4};
        geometry.skin = skin;
        geometry.jointGroups = 1;
        for (const float share : {0.0f, 0.0f, 0.5f, 0.5f, 1.0f, 1.0f}) {
            geometry.joints.insert(geometry.joints.end(), {0, 1, 0, 0});
            geometry.weights.insert(geometry.weights.end(), {1 - share, share, 0, 0});
        }
        geometry.morphTargets.resize(1);
        geometry.morphTargets[0].positions.assign(18, 0);
        geometry.morphTargets[0].positions[2] = 3; // the first vertex moves along z
        geometry.morphWeights = {0};
        mesh = new GeometryElement(QStringLiteral("mesh"), std::move(geometry));
        root->addChild(mesh);
        scene->setRootNode(root);
    }
    static Matrix4 moved(double x, double y)
    {
        Matrix4 m = Matrix4::identity();
        m(0, 3) = x;
        m(1, 3) = y;
        return m;
    }
    /// A quarter turn to the left about the joint, which is at `y` in its parent.
    static Matrix4 turned(double y)
    {
        Matrix4 m = moved(0, y);
        m(0, 0) = m(1, 1) = 0;
        m(0, 1) = -1;
        m(1, 0) = 1;
        return m;
    }
    void edit(const std::function<void()>& change)
    {
        SceneEdit guard(scene.get(), SceneLocker::LockTransforms);
        change();
    }
    /// The vertex that is nearest to a point; drawing order differs from the order of the file.
    const GeometryElement::Vertex& near(float x, float y, float z = 0) const
    {
        const GeometryElement::Vertex* best = nullptr;
        float least = 1e9f;
        for (const auto& v : mesh->getVertices()) {
            const float d = std::hypot(v.position[0] - x, v.position[1] - y, v.position[2] - z);
            if (d < least) {
                least = d;
                best = &v;
            }
        }
        EXPECT_LT(least, 1e-5f) << x << " " << y << " " << z;
        return *best;
    }
    SceneElement *root, *lower, *upper;
    GeometryElement* mesh;
};

} // namespace

TEST_F(DeformationTest, TheRestPoseHasTheShapeOfTheFile)
{
    for (float y : {0.f, 1.f, 2.f})
        for (float x : {0.f, 1.f})
            near(x, y);
}

TEST_F(DeformationTest, VerticesNormalsTangentsAndBoxesFollowTheJoints)
{
    const unsigned int before = mesh->getRevision();
    edit([this] { upper->setTransform(turned(1)); });
    near(0, 0);
    near(1, 0);
    // The upper joint turns (x, y) to (1 - y, 1 + x): (0, 2) goes to (-1, 1), (1, 2) to (-1, 2).
    const auto& end = near(-1, 1);
    EXPECT_NEAR(end.normal[0], 0, 1e-6);
    EXPECT_NEAR(end.normal[1], 1, 1e-6) << "its normal pointed along x";
    near(-1, 2);
    // Half of both: (1, 1) between (1, 1) and (0, 2).
    near(0.5f, 1.5f);
    EXPECT_LE(mesh->getBox().low[0], -1 + 1e-6);
    EXPECT_NEAR(mesh->getBox().high[1], 2, 1e-6);
    EXPECT_GT(mesh->getRevision(), before);
    const auto index = std::size_t(&end - mesh->getVertices().data());
    EXPECT_NEAR(mesh->getTangents()[4 * index], -1, 1e-6) << "its tangent pointed along y";
    EXPECT_EQ(mesh->getTangents()[4 * index + 3], -1) << "the sign of the bitangent stays";
    // Back at rest: exactly the file's shape again, however often.
    for (int i = 0; i < 5; ++i) {
        edit([this] { upper->setTransform(turned(1)); });
        edit([this] { upper->setTransform(moved(0, 1)); });
    }
    near(0, 2);
    near(1, 2);
}

TEST_F(DeformationTest, NothingIsComputedWhenNothingHasMoved)
{
    const unsigned int before = mesh->getRevision();
    edit([] {});
    edit([this] { root->setTransform(moved(3, 4)); }); // mesh and joints together
    EXPECT_EQ(mesh->getRevision(), before);
}

TEST_F(DeformationTest, ThePlaceOfASkinnedElementHasNoEffect)
{
    edit([this] { mesh->setTransform(moved(5, 0)); });
    // In the scene the vertices follow the joints.
    near(-5, 0);
    near(-4, 2);
}

TEST_F(DeformationTest, MorphTargetsAreBlended)
{
    edit([this] { mesh->setMorphWeights({0.5f}); });
    near(0, 0, 1.5f);
    near(1, 0);
    edit([this] {
        mesh->setMorphWeights({1});
        lower->setTransform(turned(0));
    });
    near(0, 0, 3); // first morphed, then turned
    near(0, 1);
    edit([this] { mesh->setMorphWeights({}); });
    near(0, 0);
}

TEST_F(DeformationTest, ARemovedJointKeepsItsLastMatrix)
{
    edit([this] { upper->setTransform(turned(1)); });
    {
        SceneEdit guard(scene.get(), SceneLocker::LockAll);
        lower->takeChild(upper);
    }
    delete upper;
    edit([this] { lower->setTransform(moved(0, 0.5)); });
    near(0, 0.5f);
    near(-1, 1);
    // A mesh that is removed and added again keeps its shape.
    {
        SceneEdit guard(scene.get(), SceneLocker::LockAll);
        root->takeChild(mesh);
    }
    {
        SceneEdit guard(scene.get(), SceneLocker::LockAll);
        root->addChild(mesh);
    }
    near(-1, 1);
}
