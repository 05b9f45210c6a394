// Invalid animation data: every file is either read with a one-line warning, or refused with a one-line error.

#include "scene/import/sceneimport.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/scenelocker.h"
#include "scene/view/viewer.h"
#include "trajectory/animationmotion.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>

using namespace tov::scene;
using namespace tov::trajectory;

namespace {

/// Replaces an entry of a list of the file.
void setEntry(QJsonObject& root, const char* list, int index, const std::function<void(QJsonObject&)>& change)
{
    QJsonArray entries = root[QLatin1String(list)].toArray();
    QJsonObject entry = entries[index].toObject();
    change(entry);
    entries[index] = entry;
    root[QLatin1String(list)] = entries;
}

/// A triangle with two joints; the second one turns. The buffer holds positions, joints, weights, times and turns.
QJsonObject skinnedTriangle(const std::vector<float>& times)
{
    QByteArray bytes;
    const auto append = [&bytes](const std::vector<float>& values) {
        bytes.append(reinterpret_cast<const char*>(values.data()), int(4 * values.size()));
    };
    append({0, 0, 0, 1, 0, 0, 0, 1, 0});
    bytes.append(QByteArray::fromHex("000100000001000000010000"));
    append({0.5f, 0.5f, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0});
    append(times);
    append({0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 1});
    QJsonObject root = QJsonDocument::fromJson(R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0,1]}],
"nodes":[{"mesh":0,"skin":0},{"children":[2]},{"name":"tip"}],"skins":[{"joints":[1,2]}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0,"JOINTS_0":1,"WEIGHTS_0":2}}]}],
"animations":[{"channels":[{"sampler":0,"target":{"node":2,"path":"rotation"}}],"samplers":[{"input":3,"output":4}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},
{"bufferView":1,"componentType":5121,"count":3,"type":"VEC4"},{"bufferView":2,"componentType":5126,"count":3,"type":"VEC4"},
{"bufferView":3,"componentType":5126,"count":3,"type":"SCALAR"},{"bufferView":4,"componentType":5126,"count":3,"type":"VEC4"}],
"bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":12},
{"buffer":0,"byteOffset":48,"byteLength":48},{"buffer":0,"byteOffset":96,"byteLength":12},
{"buffer":0,"byteOffset":108,"byteLength":48}]})")
                           .object();
    root["buffers"] = QJsonArray{QJsonObject{
        {"byteLength", bytes.size()}, {"uri", "data:application/octet-stream;base64," + QString(bytes.toBase64())}}};
    return root;
}

class HostileAnimations : public testing::Test
{
protected:
    void TearDown() override { Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr); }

    /// Reads the file and plays its animations from the first to the last frame. The number of clips that play; -1: the
    /// file was refused.
    int clipsThatPlay(const QJsonObject& root)
    {
        QFile file(folder.filePath(QStringLiteral("hostile.gltf")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QJsonDocument(root).toJson());
        file.close();
        QString error;
        SceneElement* tree = SceneImport::readFile(file.fileName(), &error);
        if (!tree) {
            expectOneLine(error);
            return -1;
        }
        const auto model = tree->getModelData();
        for (const QString& warning : model->warnings)
            expectOneLine(warning);
        const auto scene = Viewer::getInstance()->getGlobalScene();
        scene->setRootNode(tree);
        int played = 0;
        for (const Animation& animation : model->animations) {
            const auto motion = AnimationMotion::create(animation, PlaybackOptions(), &error);
            if (!motion) {
                expectOneLine(error);
                continue;
            }
            for (const unsigned long frame : {0ul, motion->frameCount() / 2, motion->frameCount() - 1}) {
                SceneEdit edit(scene.get(), SceneLocker::LockTransforms);
                motion->moveElements(frame, scene->getRootNode(), scene->getStructureRevision());
            }
            ++played;
        }
        return played;
    }
    static void expectOneLine(const QString& text)
    {
        EXPECT_FALSE(text.isEmpty());
        EXPECT_FALSE(text.contains(QLatin1Char('\n'))) << text.toStdString();
        EXPECT_LT(text.size(), 1000);
    }
    QTemporaryDir folder;
};

} // namespace

TEST_F(HostileAnimations, AWholeFilePlays)
{
    EXPECT_EQ(clipsThatPlay(skinnedTriangle({0, 1, 2})), 1);
}

TEST_F(HostileAnimations, TimesThatCannotBePlayedAreLeftOutOrRefused)
{
    EXPECT_EQ(clipsThatPlay(skinnedTriangle({0, std::nanf(""), 2})), 0);
    EXPECT_EQ(clipsThatPlay(skinnedTriangle({0, std::numeric_limits<float>::infinity(), 2})), 0);
    EXPECT_EQ(clipsThatPlay(skinnedTriangle({2, 0, 1})), 0);
    EXPECT_EQ(clipsThatPlay(skinnedTriangle({0, 1, 1e12f})), 0) << "more frames than a recording may have";
    EXPECT_EQ(clipsThatPlay(skinnedTriangle({0, 0, 0})), 1) << "a clip of length 0 is one frame";
}

TEST_F(HostileAnimations, AnimationsWithMoreKeysThanTheFileHoldsAreLeftOut)
{
    QJsonObject root = skinnedTriangle({0, 1, 2});
    for (const int accessor : {3, 4})
        setEntry(root, "accessors", accessor, [](QJsonObject& entry) { entry["count"] = 1000000000; });
    EXPECT_LE(clipsThatPlay(root), 0);
}

TEST_F(HostileAnimations, JointsThatFormACycleOrAreMissing)
{
    QJsonObject cycle = skinnedTriangle({0, 1, 2});
    setEntry(cycle, "nodes", 2, [](QJsonObject& node) { node["children"] = QJsonArray{1}; });
    EXPECT_LE(clipsThatPlay(cycle), 1);
    QJsonObject own = skinnedTriangle({0, 1, 2});
    setEntry(own, "nodes", 1, [](QJsonObject& node) { node["children"] = QJsonArray{1}; });
    EXPECT_LE(clipsThatPlay(own), 1);
    QJsonObject missing = skinnedTriangle({0, 1, 2});
    setEntry(missing, "skins", 0, [](QJsonObject& skin) { skin["joints"] = QJsonArray{1, 77}; });
    EXPECT_EQ(clipsThatPlay(missing), -1);
    QJsonObject mesh = skinnedTriangle({0, 1, 2});
    setEntry(mesh, "skins", 0, [](QJsonObject& skin) { skin["joints"] = QJsonArray{0, 0}; });
    EXPECT_EQ(clipsThatPlay(mesh), 1) << "a mesh that is its own joint";
}
