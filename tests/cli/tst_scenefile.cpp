// The text of scene files: what is written is read back exactly, and what cannot be meant is refused in one line.

#include "app/common/partkeys.h"
#include "app/common/scenefile.h"
#include "scene/geometryelement.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>

using tov::app::Background;
using tov::app::PartKeys;
using tov::app::SceneFile;
using tov::scene::GeometryElement;
using tov::scene::SceneElement;
using tov::scene::SceneLook;
using tov::trajectory::Selection;

namespace {

const QString Folder = QStringLiteral("/data/scenes");

/// A scene in which every field differs from its default.
SceneFile fullScene()
{
    SceneFile scene;
    scene.models = {{QStringLiteral("/data/crane.obj"), QStringLiteral("+Z"), {}},
                    {QStringLiteral("/data/scenes/50% \"ü\"/%1.glb"), QString(), {}}};
    SceneFile::Part part;
    part.key = QStringLiteral("posts/left#2");
    part.isHidden = true;
    part.color = QColor(1, 2, 3);
    part.opacity = double(0.3f);
    scene.models[0].parts = {part, {QStringLiteral("floor"), false, true, std::nullopt, 1}};
    scene.look.light = SceneLook::Light::Environment;
    scene.look.environmentFile = QStringLiteral("/data/sky.hdr");
    scene.look.exposure = 1.1;
    scene.look.show = SceneLook::Show::Wireframe;
    scene.look.hasFeatureEdges = scene.look.isFlat = true;
    scene.look.color = QColor(200, 100, 50);
    scene.look.pointSize = 1.0 / 3;
    scene.look.lineWidth = 0.1;
    scene.look.samples = 8;
    scene.look.clip = tov::scene::ClipPlane{2, 1.0 / 3, true};
    scene.background = {Background::Kind::Gradient, QColor(1, 2, 3), QColor(4, 5, 6)};
    scene.extent = {{0.1, 0.2, 0.3}, 1.0 / 7};
    tov::scene::Camera camera;
    camera.orbit(33, 12, 5);
    camera.target = {1.0 / 3, -2.0 / 7, 1e-300};
    camera.distance = 12345.678901234567;
    camera.fieldOfView = 33.3;
    camera.orthographic = true;
    scene.views = {{camera, true}, {tov::scene::Camera(), false}};
    scene.activeView = 1;
    scene.bookmarks = {{QStringLiteral("View 1"), camera}};
    scene.motion.position = 17;
    Selection& motion = scene.motion.selection;
    motion.kind = Selection::Kind::Turntable;
    motion.turntable.frames = 48;
    motion.turntable.turns = -1.5;
    motion.turntable.reverse = true;
    motion.turntable.axis = {0, 0.6, 0.8};
    motion.turntable.swing = 30;
    motion.turntable.ease = tov::trajectory::Ease::InOut;
    motion.start = camera;
    motion.center = {3, 4, 5};
    motion.animation = QStringLiteral("lift");
    motion.playback.fps = motion.animationPlayback.fps = 29.97;
    motion.animationPlayback.seconds = 2.5;
    motion.animationPlayback.repeat = true;
    return scene;
}

QByteArray minimal(const QByteArray& rest = QByteArray())
{
    return "{\"format\": \"tov scene\", \"version\": 1" + (rest.isEmpty() ? QByteArray() : ", " + rest) + "}";
}

} // namespace

TEST(SceneFile, EveryFieldIsReadBackExactly)
{
    const SceneFile scene = fullScene();
    QString error;
    const auto read = SceneFile::fromJson(scene.toJson(Folder), Folder, &error);
    ASSERT_TRUE(read) << error.toStdString();
    EXPECT_EQ(read->models[0].file, scene.models[0].file);
    EXPECT_EQ(read->models[1].file, scene.models[1].file);
    EXPECT_EQ(read->models[0].up, scene.models[0].up);
    EXPECT_TRUE(read->models[0].parts == scene.models[0].parts);
    EXPECT_EQ(read->views[0].camera.distance, scene.views[0].camera.distance);
    EXPECT_EQ(read->views[0].camera.target, scene.views[0].camera.target);
    for (unsigned int i = 0; i < 16; ++i)
        EXPECT_EQ(read->views[0].camera.rotation(i / 4, i % 4), scene.views[0].camera.rotation(i / 4, i % 4));
    EXPECT_EQ(read->motion.selection.turntable.axis, scene.motion.selection.turntable.axis);
    EXPECT_EQ(read->extent->scaling, scene.extent->scaling);
    // All the rest, whatever fields are added later.
    EXPECT_EQ(read->toJson(Folder), scene.toJson(Folder));
    EXPECT_NE(read->toJson(Folder), SceneFile().toJson(Folder));
}

TEST(SceneFile, NamesOfFilesAreRelativeToTheFolder)
{
    const QByteArray text = fullScene().toJson(Folder);
    EXPECT_TRUE(text.contains("\"../crane.obj\"")) << text.constData();
    EXPECT_FALSE(text.contains("/data")) << text.constData();
    QString error;
    const auto moved = SceneFile::fromJson(text, QStringLiteral("/else/where"), &error);
    ASSERT_TRUE(moved) << error.toStdString();
    EXPECT_EQ(moved->models[0].file, QStringLiteral("/else/crane.obj"));
}

TEST(SceneFile, TextsThatAreNoSceneAreRefusedInOneLine)
{
    QByteArray fiveViews;
    for (int i = 0; i < 5; ++i)
        fiveViews += i == 0 ? "{}" : ", {}";
    const std::pair<QByteArray, const char*> rows[] = {
        {"", "line 1"},
        {"nonsense", "line 1"},
        {"{\n\"format\": \"tov scene\",\n\"version\": NaN}", "line 3"},
        {"[]", "it is not a scene of tov"},
        {"{}", "it is not a scene of tov"},
        {"{\"format\": 1, \"version\": 1}", "format must be a text"},
        {"{\"format\": \"tov scene\", \"version\": 2}", "it has version 2, and this tov reads up to version 1"},
        {"{\"format\": \"tov scene\", \"version\": 0}", "it has no valid version"},
        {"{\"format\": \"tov scene\", \"version\": \"1\"}", "version must be a number"},
        {minimal("\"models\": {}"), "models must be a list"},
        {minimal("\"models\": [1]"), "models[0] must be an object"},
        {minimal("\"models\": [{}]"), "models[0].file must be the name of a file"},
        {minimal("\"models\": [{\"file\": 5}]"), "models[0].file must be a text"},
        {minimal("\"models\": [{\"file\": \"a\\nb.obj\"}]"), "models[0].file must not contain control characters"},
        {minimal("\"models\": [{\"file\": \"a\\u0000.obj\"}]"), "models[0].file must not contain control characters"},
        {minimal("\"models\": [{\"file\": \"a.obj\", \"up\": \"Z\"}]"), "models[0].up must be one of"},
        {minimal("\"models\": [{\"file\": \"a.obj\", \"parts\": [{\"part\": \"x\", \"opacity\": 2}]}]"),
         "models[0].parts[0].opacity must be from 0 to 1 (got 2)"},
        {minimal("\"models\": [{\"file\": \"a.obj\", \"parts\": [{\"part\": \"x\", \"hidden\": 1}]}]"),
         "models[0].parts[0].hidden must be true or false"},
        {minimal("\"look\": {\"light\": \"sun\"}"), "look.light must be one of: studio, headlight, none, environment"},
        {minimal("\"look\": {\"clip\": {\"axis\": \"w\"}}"), "look.clip.axis must be one of: x, y, z"},
        {minimal("\"look\": {\"light\": \"environment\"}"), "look.environment must be the name of a file"},
        {minimal("\"look\": {\"exposure\": 1e999}"), "line 1"},
        {minimal("\"look\": {\"background\": \"white..nothing\"}"), "look.background must be a colour"},
        {minimal("\"views\": [" + fiveViews + "]"), "views must have at most 4 entries (it has 5)"},
        {minimal("\"views\": [{\"camera\": {\"rotation\": [1,0,0, 0,1,0, 0,0]}}]"),
         "views[0].camera.rotation must be a list of 9 numbers"},
        {minimal("\"views\": [{\"camera\": {\"rotation\": [1,0,0, 0,1,0, 0,0,2]}}]"),
         "views[0].camera.rotation must be a rotation"},
        {minimal("\"views\": [{\"camera\": {\"rotation\": [1,0,0, 0,1,0, 0,0,-1]}}]"),
         "views[0].camera.rotation must be a rotation"},
        {minimal("\"views\": [{\"camera\": {\"distance\": 0}}]"), "views[0].camera.distance must be from"},
        {minimal("\"activeView\": 1"), "activeView must be from 0 to 0"},
        {minimal("\"motion\": {\"kind\": \"turntable\", \"frames\": 1e9}"), "motion.frames must be from 1 to 1e+06"},
        {minimal("\"motion\": {\"kind\": \"turntable\", \"axis\": [0,0,0]}"), "motion.axis must have a length"},
        {minimal("\"motion\": {\"kind\": \"path\", \"path\": {}}"), "motion.path cannot be used: "},
        {minimal("\"motion\": {\"kind\": \"dance\"}"), "motion.kind must be one of"},
        {QByteArray(100000, '['), "line 1"},
    };
    for (const auto& [text, expected] : rows) {
        QString error;
        EXPECT_FALSE(SceneFile::fromJson(text, Folder, &error)) << text.left(200).constData();
        EXPECT_TRUE(error.contains(QLatin1String(expected)))
            << text.left(200).constData() << ": " << error.toStdString();
        EXPECT_FALSE(error.contains(QLatin1Char('\n'))) << error.toStdString();
    }
    QString error;
    EXPECT_TRUE(SceneFile::fromJson(minimal(), Folder, &error)) << error.toStdString();
}

TEST(SceneFile, ASceneThatCannotBeReadBackIsNotWritten)
{
    QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("a.tovscene"));
    QString error;
    ASSERT_TRUE(fullScene().save(name, &error)) << error.toStdString();
    SceneFile broken = fullScene();
    broken.views[0].camera.distance = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(broken.save(name, &error));
    EXPECT_TRUE(error.startsWith(QStringLiteral("cannot write '%1': views[0].camera.distance").arg(name)))
        << error.toStdString();
    broken = fullScene();
    broken.models[0].file = QStringLiteral("/data/a\nb.obj");
    EXPECT_FALSE(broken.save(name, &error));
    EXPECT_TRUE(SceneFile::load(name, &error)) << "the older file stays: " << error.toStdString();
    EXPECT_FALSE(fullScene().save(folder.filePath(QStringLiteral("absent/a.tovscene")), &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(SceneFile, OnlyRegularFilesAreRead)
{
    QTemporaryDir folder;
    QString error;
    for (const QString& name : {folder.path(), folder.filePath(QStringLiteral("absent.tovscene")),
                                QStringLiteral("/dev/zero"), QStringLiteral("/dev/null")}) {
        EXPECT_FALSE(SceneFile::load(name, &error));
        EXPECT_TRUE(error.startsWith(name + QStringLiteral(" cannot be opened as a scene: "))) << error.toStdString();
    }
}

TEST(PartKeys, NameEveryElementOnceAndFindItInAnotherTree)
{
    const auto makeTree = [] {
        auto root = std::make_unique<SceneElement>(QStringLiteral("file"));
        for (const char* name : {"wheel", "wheel", "a/b#2", "a/b#2", ""}) {
            auto* child = new SceneElement(QLatin1String(name));
            child->addChild(new SceneElement(QStringLiteral("bolt\n")));
            root->addChild(child);
        }
        return root;
    };
    const auto first = makeTree(), second = makeTree();
    const PartKeys keys(*first), others(*second);
    QStringList seen;
    for (std::size_t i = 0; i < 5; ++i) {
        const SceneElement* child = first->getChildren()[i];
        const QString key = keys.keyOf(*child), below = keys.keyOf(*child->getChildren()[0]);
        EXPECT_EQ(others.find(key), second->getChildren()[i]) << key.toStdString();
        EXPECT_EQ(others.find(below), second->getChildren()[i]->getChildren()[0]) << below.toStdString();
        EXPECT_FALSE(below.contains(QLatin1Char('\n')));
        seen << key << below;
    }
    EXPECT_EQ(seen.removeDuplicates(), 0);
    EXPECT_EQ(keys.keyOf(*first), QString());
    EXPECT_TRUE(keys.keyOf(*second).isNull());
}

TEST(PartKeys, KeysOfDeepTreesStayShort)
{
    auto root = std::make_unique<SceneElement>(QStringLiteral("file"));
    SceneElement* last = root.get();
    for (int depth = 0; depth < 20000; ++depth) {
        auto* child = new SceneElement(QStringLiteral("assembly"));
        last->addChild(child);
        last = child;
    }
    const PartKeys keys(*root);
    EXPECT_LT(keys.keyOf(*last).size(), 1000);
    EXPECT_EQ(keys.find(keys.keyOf(*last)), last);
}

TEST(PartKeys, StatesAndRemovalsAreAppliedToAnotherTree)
{
    const auto makeTree = [] {
        auto root = std::make_unique<SceneElement>(QStringLiteral("file"));
        for (const char* name : {"a", "b", "c"}) {
            tov::scene::Geometry geometry;
            geometry.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
            geometry.indices = {0, 1, 2};
            root->addChild(new GeometryElement(QLatin1String(name), std::move(geometry)));
        }
        return root;
    };
    auto first = makeTree();
    const PartKeys keys(*first);
    auto* a = static_cast<GeometryElement*>(first->getChildren()[0]);
    a->setOpacity(0.3f);
    a->setColor(QColor(10, 20, 30));
    first->getChildren()[2]->setVisible(false);
    const std::unique_ptr<SceneElement> b(first->takeChild(first->getChildren()[1]));
    const auto parts = keys.collect(*first);
    ASSERT_EQ(parts.size(), 3u);

    auto second = makeTree();
    const PartKeys others(*second);
    const auto removed = tov::app::applyParts(others, parts);
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_EQ(removed[0]->getName(), QStringLiteral("b"));
    ASSERT_EQ(second->getChildren().size(), 2u);
    EXPECT_TRUE(others.collect(*second) == parts);
    auto* copy = static_cast<GeometryElement*>(second->getChildren()[0]);
    EXPECT_EQ(copy->getColor(), QColor(10, 20, 30));
    const auto own = copy->getMaterial();
    copy->setColor(std::nullopt);
    EXPECT_NE(copy->getMaterial(), own) << "the material of the file is back";
    EXPECT_EQ(copy->getMaterial(), tov::scene::defaultMaterial());
}
