// Scene files on the command line.

#include "tests/cli/clifixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace cli;

namespace {

class CliScenes : public CliTest
{
protected:
    void SetUp() override
    {
        for (const char* name : {"crane.obj", "crane.mtl", "arm.gltf"})
            ASSERT_TRUE(QFile::copy(QStringLiteral(TOV_SOURCE_DIR "/samples/") + QLatin1String(name), path(name)));
    }
    QImage picture(const char* name) { return QImage(path(name)).convertToFormat(QImage::Format_ARGB32); }
    QJsonObject readScene(const char* name) { return QJsonDocument::fromJson(read(name)).object(); }
    void writeScene(const char* name, const QJsonObject& scene) { write(name, QJsonDocument(scene).toJson()); }
    /// A scene of the crane with this state of its parts.
    void writeParts(const char* name, const QJsonArray& parts)
    {
        writeScene(name, {{"format", "tov scene"},
                          {"version", 1},
                          {"models", QJsonArray{QJsonObject{{"file", "crane.obj"}, {"parts", parts}}}}});
    }
    static int drawnPixels(const QImage& image)
    {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += qAlpha(image.pixel(x, y)) > 0;
        return count;
    }
    const QStringList size{QStringLiteral("--size"), QStringLiteral("320x240")};
};

} // namespace

TEST_F(CliScenes, ASavedSceneGivesTheSamePictureToThePixel)
{
    runWell(QStringList{"image",      "crane.obj", "-o",         "a.png",    "--save-scene", "a.tovscene",
                        "--view",     "iso",       "--azimuth",  "13",       "--zoom",       "1.7",
                        "--fov",      "31",        "--opacity",  "beam=0.4", "--light",      "headlight",
                        "--show",     "edges",     "--exposure", "1.3",      "--background", "#203040..white",
                        "--model-up", "-X"} +
            size);
    runWell(QStringList{"image", "a.tovscene", "-o", "b.png"} + size);
    ASSERT_FALSE(picture("a.png").isNull());
    EXPECT_TRUE(picture("a.png") == picture("b.png"));
    // Saved again from the scene, it is the same scene.
    runWell(QStringList{"image", "a.tovscene", "-o", "c.png", "--save-scene", "c.tovscene"} + size);
    EXPECT_EQ(read("a.tovscene"), read("c.tovscene"));
    // And in another folder, with its model.
    QDir(folder.path()).mkdir(QStringLiteral("moved"));
    for (const char* name : {"a.tovscene", "crane.obj", "crane.mtl"})
        ASSERT_TRUE(QFile::rename(path(name), folder.filePath(QStringLiteral("moved/")) + QLatin1String(name)));
    runWell(QStringList{"image", "moved/a.tovscene", "-o", "d.png"} + size);
    EXPECT_TRUE(picture("a.png") == picture("d.png"));
}

TEST_F(CliScenes, OptionsOverrideTheScene)
{
    runWell(QStringList{"image", "crane.obj", "-o", "a.png", "--save-scene", "a.tovscene", "--view", "left", "--light",
                        "none", "--background", "red", "--show", "wireframe"} +
            size);
    const QStringList options{"--view", "iso", "--light", "studio", "--background", "transparent", "--show", "surface"};
    runWell(QStringList{"image", "a.tovscene", "-o", "b.png"} + options + size);
    runWell(QStringList{"image", "crane.obj", "-o", "c.png"} + options + size);
    EXPECT_TRUE(picture("b.png") == picture("c.png"));
    EXPECT_FALSE(picture("a.png") == picture("b.png"));
}

TEST_F(CliScenes, PartsAreHiddenRemovedAndColoured)
{
    const QStringList options = QStringList{"--light", "none", "--view", "iso"} + size;
    runWell(QStringList{"image", "crane.obj", "-o", "all.png"} + options);
    writeParts("hidden.tovscene", {QJsonObject{{"part", "floor"}, {"hidden", true}}});
    writeParts("removed.tovscene", {QJsonObject{{"part", "floor"}, {"removed", true}}});
    writeParts("red.tovscene", {QJsonObject{{"part", "floor"}, {"color", "#ff0000"}}});
    writeParts("unknown.tovscene", {QJsonObject{{"part", "no such part"}, {"hidden", true}}});
    for (const char* name : {"hidden", "removed", "red", "unknown"})
        runWell(QStringList{"image", QString("%1.tovscene").arg(name), "-o", QString("%1.png").arg(name)} + options);
    EXPECT_TRUE(picture("hidden.png") == picture("removed.png"));
    EXPECT_FALSE(picture("hidden.png") == picture("all.png"));
    EXPECT_TRUE(picture("unknown.png") == picture("all.png"));
    const QImage red = picture("red.png"), all = picture("all.png");
    EXPECT_EQ(drawnPixels(red), drawnPixels(all));
    int count = 0;
    for (int y = 0; y < red.height(); ++y)
        for (int x = 0; x < red.width(); ++x)
            count += red.pixel(x, y) == qRgb(255, 0, 0);
    EXPECT_GT(count, 1000) << "the floor is red";
}

TEST_F(CliScenes, JobsOfOneCallDoNotLeaveTheirStatesToEachOther)
{
    writeParts("hidden.tovscene", {QJsonObject{{"part", "floor"}, {"hidden", true}, {"opacity", 0.5}}});
    write("jobs",
          "crane.obj -o a.png\nhidden.tovscene -o b.png\ncrane.obj -o c.png\nhidden.tovscene -o d.png --opacity "
          "beam=0.2\nhidden.tovscene -o e.png\n");
    runWell(QStringList{"image", "--jobs", "jobs"} + size);
    EXPECT_TRUE(picture("a.png") == picture("c.png"));
    EXPECT_TRUE(picture("b.png") == picture("e.png"));
    EXPECT_FALSE(picture("a.png") == picture("b.png"));
    EXPECT_FALSE(picture("b.png") == picture("d.png"));
}

TEST_F(CliScenes, TheMotionOfASceneIsRecorded)
{
    runWell(
        {"video", "crane.obj", "-o", "a.mkv", "--size", "160x120", "--turntable", "7", "--save-scene", "a.tovscene"});
    runWell({"video", "a.tovscene", "-o", "b.mkv", "--size", "160x120"});
    EXPECT_EQ(probe("b.mkv", "nb_read_frames"), QStringLiteral("7"));
    runWell({"video", "a.tovscene", "-o", "c.mkv", "--size", "160x120", "--turntable", "3"});
    EXPECT_EQ(probe("c.mkv", "nb_read_frames"), QStringLiteral("3"));
    runWell({"image", "crane.obj", "-o", "still.png", "--save-scene", "still.tovscene"});
    expectFailure(run({"video", "still.tovscene", "-o", "d.mkv"}), 1,
                  "'still.tovscene' contains no motion; give one of ");
    EXPECT_FALSE(QFile::exists(path("d.mkv")));
}

TEST_F(CliScenes, APictureShowsTheStoredMomentOfAnAnimation)
{
    runWell(QStringList{"image", "arm.gltf", "-o", "a.png", "--animation", "lift", "--time", "0.8", "--save-scene",
                        "a.tovscene"} +
            size);
    runWell(QStringList{"image", "arm.gltf", "-o", "rest.png"} + size);
    runWell(QStringList{"image", "a.tovscene", "-o", "b.png"} + size);
    EXPECT_TRUE(picture("a.png") == picture("b.png"));
    EXPECT_FALSE(picture("a.png") == picture("rest.png"));
}

TEST_F(CliScenes, ScenesThatCannotBeOpenedAreRefusedInOneLine)
{
    write("later.tovscene", "{\"format\": \"tov scene\", \"version\": 99}");
    write("damaged.tovscene", "{\"format\": \"tov sc");
    write("empty.tovscene", "{\"format\": \"tov scene\", \"version\": 1}");
    write("lost.tovscene", "{\"format\": \"tov scene\", \"version\": 1, \"models\": [{\"file\": \"sub/%1.obj\"}, "
                           "{\"file\": \"crane.obj\"}]}");
    const std::pair<QStringList, QString> rows[] = {
        {{"later.tovscene"}, "later.tovscene cannot be opened as a scene: it has version 99"},
        {{"damaged.tovscene"}, "damaged.tovscene cannot be opened as a scene: line 1: "},
        {{"absent.tovscene"}, "absent.tovscene cannot be opened as a scene: there is no such file"},
        {{"empty.tovscene"}, "empty.tovscene contains no model"},
        {{"lost.tovscene"},
         "lost.tovscene: the model %1.obj is missing; there is no file '" + path("sub/%1.obj") + "'"},
        {{"empty.tovscene", "crane.obj"}, "a scene file is opened alone, not together with other files"},
    };
    for (const auto& [files, text] : rows) {
        expectFailure(run(QStringList{"image"} + files + QStringList{"-o", "a.png"}), 1, text.toUtf8().constData());
        EXPECT_FALSE(QFile::exists(path("a.png")));
    }
    expectFailure(run({"image", "crane.obj", "-o", "a.png", "--save-scene", "a.json"}), 2,
                  "--save-scene: 'a.json' does not end in .tovscene");
    expectFailure(run({"image", "crane.obj", "-o", "{view}.png", "--view", "front,top", "--save-scene", "a.tovscene"}),
                  2, "--save-scene is for a single result");
}

TEST_F(CliScenes, NoClobberHoldsForTheSavedSceneToo)
{
    const QStringList words{"image", "crane.obj", "--size", "32x32", "--no-clobber", "--save-scene", "a.tovscene"};
    runWell(words + QStringList{"-o", "a.png"});
    expectFailure(run(words + QStringList{"-o", "b.png"}), 1, "'a.tovscene' exists already");
    EXPECT_FALSE(QFile::exists(path("b.png")));
}

TEST_F(CliScenes, InfoDescribesTheSceneAndItsModels)
{
    writeParts("a.tovscene",
               {QJsonObject{{"part", "floor"}, {"hidden", true}}, QJsonObject{{"part", "beam"}, {"removed", true}}});
    const Result text = runWell({"info", "a.tovscene"});
    EXPECT_TRUE(text.out.startsWith(QStringLiteral("a.tovscene\n"))) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains(QStringLiteral("parts: 1 hidden, 1 removed"))) << text.out.toStdString();
    EXPECT_TRUE(text.out.contains(QStringLiteral("crane.obj\n"))) << text.out.toStdString();
    const QStringList lines = runWell({"info", "--json", "a.tovscene"}).out.trimmed().split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 2);
    const QJsonObject scene = QJsonDocument::fromJson(lines[0].toUtf8()).object();
    EXPECT_EQ(scene["removed"].toInt(), 1);
    EXPECT_EQ(scene["models"].toArray().first().toString(), path("crane.obj"));
}

TEST_F(CliScenes, PartsOfAVideoBelongToOneStateOfTheScene)
{
    runWell({"image", "crane.obj", "-o", "a.png", "--save-scene", "a.tovscene"});
    const QStringList video{"video", "a.tovscene", "-o", "a.mkv", "--size", "64x48", "--turntable", "4", "--part"};
    runWell(video + QStringList{"1/2"});
    QJsonObject scene = readScene("a.tovscene");
    QJsonObject model = scene["models"].toArray().first().toObject();
    model["parts"] = QJsonArray{QJsonObject{{"part", "floor"}, {"opacity", 0.5}}};
    scene["models"] = QJsonArray{model};
    writeScene("a.tovscene", scene);
    runWell(video + QStringList{"1/2"});
    const QStringList parts = QDir(path("a.mkv.parts")).entryList({"*1of2.mkv"}, QDir::Files);
    EXPECT_EQ(parts.size(), 2) << "the part of the changed scene is another one: " << parts.join(' ').toStdString();
}
