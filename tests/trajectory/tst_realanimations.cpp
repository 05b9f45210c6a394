// Animations of real files against poses that were computed from the numbers in the files in another way.

#include "scene/geometryelement.h"
#include "scene/import/sceneimport.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"
#include "tests/trajectory/posereference.h"
#include "trajectory/animationmotion.h"

#include <QFileInfo>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

using namespace tov::scene;
using namespace tov::trajectory;
using tov::test::PoseReference;
using tov::test::ReferencePose;

namespace {

/// Of the size of the model.
constexpr double Tolerance = 1e-4;
const QString Models = QStringLiteral("/usr/share/assimp/models/");

class RealAnimations : public testing::Test
{
protected:
    void TearDown() override { scene()->setRootNode(nullptr); }
    static Scene* scene() { return Viewer::getInstance()->getGlobalScene().get(); }

    /// Reads a model into the scene; false if the file is not installed.
    bool open(const QString& fileName)
    {
        if (!QFileInfo::exists(fileName))
            return false;
        QString error;
        SceneElement* tree = SceneImport::readFile(fileName, &error);
        EXPECT_TRUE(tree) << error.toStdString();
        if (!tree)
            return true;
        model = tree->getModelData();
        scene()->setRootNode(tree);
        return true;
    }
    std::shared_ptr<const AnimationMotion> play(double fps) const
    {
        if (!model || model->animations.empty())
            return nullptr;
        PlaybackOptions options;
        options.fps = fps;
        QString error;
        const auto motion = AnimationMotion::create(model->animations.front(), options, &error);
        EXPECT_TRUE(motion) << error.toStdString();
        return motion;
    }
    static void show(const AnimationMotion& motion, unsigned long frame)
    {
        SceneEdit edit(scene(), SceneLocker::LockTransforms);
        motion.moveElements(frame, scene()->getRootNode(), scene()->getStructureRevision());
    }
    static std::array<double, 3> placeOf(const SceneElement* element)
    {
        return transformed(transformToScene(element), 0, 0, 0);
    }
    static const SceneElement* find(const SceneElement* root, const QString& name)
    {
        std::vector<const SceneElement*> pending{root};
        for (std::size_t i = 0; i < pending.size(); ++i) {
            if (pending[i]->getName() == name && !dynamic_cast<const GeometryElement*>(pending[i]))
                return pending[i];
            pending.insert(pending.end(), pending[i]->getChildren().begin(), pending[i]->getChildren().end());
        }
        return nullptr;
    }
    static std::vector<std::array<double, 3>> sceneVertices()
    {
        std::vector<std::array<double, 3>> vertices;
        forEachVisible(scene()->getRootNode(), [&](const GeometryElement& element, const tov::math::Matrix4& matrix) {
            for (const auto& v : element.getVertices())
                vertices.push_back(transformed(matrix, v.position[0], v.position[1], v.position[2]));
        });
        return vertices;
    }
    static double distance(const QVector3D& a, const std::array<double, 3>& b)
    {
        return std::hypot(double(a.x()) - b[0], double(a.y()) - b[1], double(a.z()) - b[2]);
    }
    /// The largest distance of a vertex of one set to the nearest one of the other, both ways.
    static double hausdorff(const std::vector<QVector3D>& a, const std::vector<std::array<double, 3>>& b)
    {
        std::vector<double> nearestOfB(b.size(), 1e300);
        double largest = 0;
        for (const QVector3D& vertex : a) {
            double nearest = 1e300;
            for (std::size_t i = 0; i < b.size(); ++i) {
                const double d = distance(vertex, b[i]);
                nearest = std::min(nearest, d);
                nearestOfB[i] = std::min(nearestOfB[i], d);
            }
            largest = std::max(largest, nearest);
        }
        return std::max(largest, *std::max_element(nearestOfB.begin(), nearestOfB.end()));
    }
    static double sizeOf(const ReferencePose& pose)
    {
        Box box;
        const auto add = [&box](const QVector3D& v) {
            const float point[] = {v.x(), v.y(), v.z()};
            box.add(point);
        };
        std::for_each(pose.vertices.begin(), pose.vertices.end(), add);
        for (const auto& node : pose.nodes)
            add(node.second);
        std::for_each(pose.joints.begin(), pose.joints.end(), add);
        return std::hypot(box.high[0] - box.low[0], box.high[1] - box.low[1], box.high[2] - box.low[2]);
    }
    /// Adds up how far a reference moves, so that a model that does not move is detected.
    static double travel(const ReferencePose& a, const ReferencePose& b)
    {
        double way = 0;
        for (const auto& [name, place] : a.nodes)
            way += double((place - b.nodes.at(name)).length());
        for (std::size_t i = 0; i < a.vertices.size(); ++i)
            way += double((a.vertices[i] - b.vertices[i]).length());
        for (std::size_t i = 0; i < a.joints.size(); ++i)
            way += double((a.joints[i] - b.joints[i]).length());
        return way;
    }
    void comparePose(const ReferencePose& expected, double allowed) const
    {
        for (const auto& [name, place] : expected.nodes) {
            const SceneElement* element = find(scene()->getRootNode(), name);
            ASSERT_TRUE(element) << name.toStdString();
            EXPECT_LT(distance(place, placeOf(element)), allowed) << name.toStdString();
        }
        if (!expected.joints.empty()) {
            ASSERT_FALSE(model->skins.empty());
            const auto& joints = model->skins.front()->joints;
            ASSERT_EQ(joints.size(), expected.joints.size());
            for (std::size_t i = 0; i < joints.size(); ++i)
                EXPECT_LT(distance(expected.joints[i], placeOf(joints[i])), allowed) << "joint " << i;
        }
        if (!expected.vertices.empty()) {
            EXPECT_LT(hausdorff(expected.vertices, sceneVertices()), allowed);
        }
    }
    void compare(const PoseReference& reference)
    {
        const auto motion = play(reference.fps);
        ASSERT_TRUE(motion) << "the animation was not read";
        ASSERT_EQ(reference.frames.size(), 20u);
        const ReferencePose first = reference.poseAt(double(reference.frames.front()) / reference.fps);
        const double size = sizeOf(first);
        ASSERT_GT(size, 0);
        double way = 0;
        for (const unsigned long frame : reference.frames) {
            SCOPED_TRACE("frame " + std::to_string(frame));
            show(*motion, frame);
            const ReferencePose expected = reference.poseAt(double(frame) / reference.fps);
            way += travel(first, expected);
            comparePose(expected, Tolerance * size);
            if (HasFailure())
                return;
        }
        EXPECT_GT(way, 0.01 * size) << "nothing moves";
    }
    std::shared_ptr<ModelData> model;
};

/// A file, and the reference for its first animation.
struct File
{
    const char* name;
    QString fileName;
    std::function<PoseReference(const QString& fileName)> reference;
};

PoseReference xReferenceAt24Fps(const QString& fileName)
{
    return tov::test::xReference(fileName, 24);
}

const File Files[] = {
    {"SimpleSkin", Models + "glTF2/simple_skin/simple_skin.gltf", tov::test::gltfReference},
    {"MorphingCube", Models + "glTF2/glTF-Sample-Models/AnimatedMorphCube-glTF/AnimatedMorphCube.gltf",
     tov::test::gltfReference},
    {"RobotArm", QStringLiteral(TOV_SOURCE_DIR "/samples/arm.gltf"), tov::test::gltfReference},
    {"WalkingMan", Models + "BVH/01_01.bvh", tov::test::bvhReference},
    {"AnotherWalkingMan", Models + "BVH/01_03.bvh", tov::test::bvhReference},
    {"Boxer", Models + "BVH/Boxing_Toes.bvh", tov::test::bvhReference},
    {"JointsOfAnXFile", Models + "X/anim_test.x", xReferenceAt24Fps},
    {"RotatingCubeOf3dStudio", Models + "3DS/RotatingCube.3DS", tov::test::turningObject3dsReference},
    {"ColladaBoxUnderAnArmature", Models + "Collada/box_nested_animation.dae", tov::test::colladaArmatureReference},
};

class RealFile : public RealAnimations, public testing::WithParamInterface<File>
{};

} // namespace

TEST_P(RealFile, MovesAsItsReference)
{
    if (!open(GetParam().fileName))
        GTEST_SKIP() << "the model is not installed";
    compare(GetParam().reference(GetParam().fileName));
}

INSTANTIATE_TEST_SUITE_P(Animations, RealFile, testing::ValuesIn(Files),
                         [](const auto& file) { return std::string(file.param.name); });

TEST_F(RealAnimations, BendingSkeletonOfAnFbxFile)
{
    const QString file = Models + "FBX/animation_with_skeleton.fbx";
    if (!open(file))
        GTEST_SKIP() << "the model is not installed";
    // The highest vertex every 0.045 s, by three.js 0.187.0 (FBXLoader, AnimationMixer). The lowest ones have more than
    // four joints, of which three.js drops some.
    const double heights[] = {91.66661, 100.8689, 125.0783, 160.8924, 204.6355, 252.3699, 300.1284,
                              344.2932, 381.9461, 411.0055, 430.0514, 437.8554, 438.5016, 438.5016,
                              438.5016, 438.5016, 438.5016, 438.5016, 438.5016};
    // The file is in centimetres, which the reader turns into metres.
    constexpr double Metre = 0.01;
    const double left = -3642.014 * Metre, right = 3479.132 * Metre, size = right - left;
    const auto motion = play(1 / 0.045);
    ASSERT_TRUE(motion) << "the animation was not read";
    unsigned long frame = 0;
    for (const double height : heights) {
        SCOPED_TRACE(frame);
        show(*motion, frame++);
        const Box box = visibleBox(scene()->getRootNode());
        EXPECT_NEAR(box.low[0], left, Tolerance * size);
        EXPECT_NEAR(box.high[0], right, Tolerance * size);
        EXPECT_NEAR(box.high[1], height * Metre, Tolerance * size);
    }
}
