// Every option of the help has a test of its effect: a test of this program that uses it.

#include "tests/cli/clifixture.h"

#include <QRegularExpression>

#include <map>
#include <set>

using namespace cli;

namespace {

/// The test that shows what an option does: "Suite.Test" in this folder, or a file below tests/.
const std::map<QString, QString> Effects = {
    {"output", "CliTest.TheLongestKnownExtensionSelectsTheFormat"},
    {"format", "OutputTest.AStreamHoldsTheFramesOfTheFile"},
    {"no-clobber", "CliTest.ExistingFilesAreSkippedOrRefused"},
    {"skip-existing", "CliTest.ExistingFilesAreSkippedOrRefused"},
    {"view", "OptionEffect.ViewsShowTheirSide"},
    {"camera", "OptionUse.ACameraOfTheFileIsUsed"},
    {"azimuth", "OptionEffect.ViewsShowTheirSide"},
    {"elevation", "OptionEffect.ViewsShowTheirSide"},
    {"roll", "OptionEffect.ViewsShowTheirSide"},
    {"zoom", "OptionEffect.ZoomTargetAndLensChangeThePicture"},
    {"position", "OptionEffect.ViewsShowTheirSide"},
    {"target", "OptionEffect.ZoomTargetAndLensChangeThePicture"},
    {"up", "OptionEffect.ViewsShowTheirSide"},
    {"fov", "OptionEffect.ZoomTargetAndLensChangeThePicture"},
    {"orthographic", "OptionEffect.ViewsShowTheirSide"},
    {"transform", "CliTest.ATransformIsUsedAsItIs"},
    {"like", "OptionEffect.APictureCanBeReproducedAtALargerSize"},
    {"model-up", "OptionEffect.ViewsShowTheirSide"},
    {"light", "OptionEffect.LightAndShowChangeWhatIsDrawn"},
    {"show", "OptionEffect.LightAndShowChangeWhatIsDrawn"},
    {"exposure", "OptionEffect.ExposureMultipliesTheLight"},
    {"color", "OptionEffect.OneColourReplacesAllMaterials"},
    {"opacity", "OptionEffect.OpacityMakesAPartTransparent"},
    {"flat", "OptionEffect.FlatTrianglesAndFeatureEdgesChangeWhatIsDrawn"},
    {"feature-edges", "OptionEffect.FlatTrianglesAndFeatureEdgesChangeWhatIsDrawn"},
    {"point-size", "OptionEffect.PointSizeAndLineWidthAreSharesOfTheHeight"},
    {"line-width", "OptionEffect.PointSizeAndLineWidthAreSharesOfTheHeight"},
    {"background", "OptionEffect.BackgroundsAreOpaqueOrTransparent"},
    {"samples", "CliTest.SamplesMakeEdgesSmooth"},
    {"size", "OptionEffect.EveryMotionMovesForExactlyItsDuration"},
    {"width", "CliTest.APictureOfARealModel"},
    {"panel", "CliTest.APictureOfARealModel"},
    {"dpi", "OptionEffect.ResolutionAndQualityAreStored"},
    {"quality", "OptionEffect.ResolutionAndQualityAreStored"},
    {"turntable", "MotionTest.TurntablesFollowTheirOptions"},
    {"trajectory", "OptionEffect.EveryMotionMovesForExactlyItsDuration"},
    {"path", "OptionEffect.EveryMotionMovesForExactlyItsDuration"},
    {"free", "OptionUse.AFreeRecordingPlaysAsLongAsItWasRecorded"},
    {"animation", "OptionEffect.EveryMotionMovesForExactlyItsDuration"},
    {"time", "MotionTest.EachFrameOfAnAnimationIsThePictureOfItsTime"},
    {"duration", "OptionEffect.EveryMotionMovesForExactlyItsDuration"},
    {"repeat", "MotionTest.VideosHaveExactlyTheFramesOfTheirLength"},
    {"every-position", "OptionEffect.EveryMotionMovesForExactlyItsDuration"},
    {"turns", "MotionTest.TurntablesFollowTheirOptions"},
    {"swing", "MotionTest.TurntablesFollowTheirOptions"},
    {"axis", "MotionTest.TurntablesFollowTheirOptions"},
    {"ease", "MotionTest.TurntablesFollowTheirOptions"},
    {"fps", "OptionEffect.VideosHaveTheRequestedRateLengthAndBitRate"},
    {"bitrate", "OptionEffect.VideosHaveTheRequestedRateLengthAndBitRate"},
    {"part", "OptionUse.PartsAreRecordedKeptAndJoined"},
    {"parts", "OptionUse.PartsAreRecordedKeptAndJoined"},
    {"keep-parts", "OptionUse.PartsAreRecordedKeptAndJoined"},
    {"status", "OptionUse.PartsAreRecordedKeptAndJoined"},
    {"save-scene", "CliScenes.ASavedSceneGivesTheSamePictureToThePixel"},
    {"each", "CliTest.EachViewAndModelGivesAResult"},
    {"jobs", "CliTest.AJobListGivesAResultPerLine"},
    {"max-memory", "CliTest.APictureThatDoesNotFitIntoMemoryIsRefused"},
    {"command", "OptionUse.CommandsRunInOrder"},
    {"check", "OptionUse.AnEncoderIsCheckedInsteadOfListed"},
    {"settings", "CliTest.TheSettingsOfTheUserStayAsTheyAre"},
    {"safe-mode", "faults/pluginfolder.py"},
    {"strict", "CliTest.StrictMakesWarningsFailures"},
    {"json", "CliTest.JsonReportsEachResult"},
    {"quiet", "OptionUse.TheAmountOfOutputCanBeChosen"},
    {"verbose", "OptionUse.TheAmountOfOutputCanBeChosen"},
    {"help", "CliTest.HelpAndVersion"},
    {"version", "CliTest.HelpAndVersion"},
};

const QStringList Small{"--size", "64x48", "--samples", "0"};

QString textOf(const QString& fileName)
{
    QFile file(QStringLiteral(TOV_SOURCE_DIR "/tests/") + fileName);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The source text of a test of this folder; empty if the name is unknown.
QString sourceOf(const QString& test)
{
    const QString head = QStringLiteral("TEST_F(%1, %2)\n").arg(test.section('.', 0, 0), test.section('.', 1));
    const QDir sources(QStringLiteral(TOV_SOURCE_DIR "/tests/cli"));
    for (const QString& name : sources.entryList({"tst_cli*.cpp"})) {
        const QString text = textOf("cli/" + name);
        const int begin = text.indexOf(head);
        if (begin >= 0)
            return text.mid(begin, text.indexOf("\n}\n", begin) - begin);
    }
    return QString();
}

class OptionUse : public CliTest
{};

} // namespace

TEST_F(OptionUse, EveryOptionHasATestOfItsEffect)
{
    const QRegularExpression option(QStringLiteral("^  (?:-(.), )?--([a-z-]+)"), QRegularExpression::MultilineOption);
    std::set<QString> found;
    for (const char* verb : {"image", "video", "run", "info", "encoders", "commands", "modules"}) {
        for (auto matches = option.globalMatch(runWell({verb, "--help"}).out); matches.hasNext();) {
            const auto match = matches.next();
            const QString name = match.captured(2), shortName = match.captured(1);
            if (!found.insert(name).second)
                continue;
            const auto effect = Effects.find(name);
            ASSERT_TRUE(effect != Effects.end()) << "--" << name.toStdString() << " has no test of its effect";
            const QString& test = effect->second;
            const QString source = test.contains('/') ? textOf(test) : sourceOf(test);
            const QString use = QStringLiteral("[\"' ](--%1%2)[\"'= ]")
                                    .arg(name, shortName.isEmpty() ? QString() : QStringLiteral("|-%1").arg(shortName));
            EXPECT_TRUE(source.contains(QRegularExpression(use)))
                << test.toStdString() << " does not use --" << name.toStdString();
        }
    }
    EXPECT_EQ(found.size(), Effects.size()) << "an option that does not exist has a test";
}

TEST_F(OptionUse, ACameraOfTheFileIsUsed)
{
    const QByteArray model = R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 1, 2]}],
        "nodes": [{"mesh": 0}, {"name": "far", "camera": 0, "translation": [0.5, 0.5, 20]},
                  {"name": "near", "camera": 0, "translation": [0.5, 0.5, 4]}],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 0.6, "znear": 0.1}}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0],
                       "max": [1, 1, 0]}],
        "bufferViews": [{"buffer": 0, "byteLength": 36}],
        "buffers": [{"byteLength": 36, "uri": "data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})";
    write("m.gltf", model);
    const auto pixels = [this](const char* camera) {
        runWell({"image", "m.gltf", "-o", "m.png", "--size", "160x120", "--camera", camera});
        const QImage image(path("m.png"));
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += qAlpha(image.pixel(x, y)) > 127;
        return count;
    };
    EXPECT_GT(pixels("far"), 0);
    // Five times as near is 25 times as large.
    EXPECT_GT(pixels("near"), 15 * pixels("far"));
    EXPECT_EQ(run({"image", "m.gltf", "-o", "q.png", "--camera", "absent"}).status, 1);
}

TEST_F(OptionUse, AFreeRecordingPlaysAsLongAsItWasRecorded)
{
    constexpr double Seconds = 3, Tolerance = 0.03;
    for (const char* size : {"640x360", "3840x2160"}) {
        const QStringList line{"video", Cube, "-o", "a.mp4", "--free", "3", "--size", size, "--samples", "0"};
        const Result result = runWell(line);
        EXPECT_NEAR(probe("a.mp4", "duration").toDouble(), Seconds, Tolerance * Seconds)
            << size << ": " << result.err.toStdString();
        EXPECT_GT(probe("a.mp4", "nb_read_frames").toInt(), 1);
    }
}

TEST_F(OptionUse, PartsAreRecordedKeptAndJoined)
{
    const QStringList line = QStringList{"video", Cube, "-o", "a.mkv", "--turntable", "6"} + Small;
    runWell(line + QStringList{"--part", "2/3"});
    EXPECT_FALSE(QFileInfo::exists(path("a.mkv")));
    EXPECT_EQ(QDir(path("a.mkv.parts")).entryList({"*-2of3.mkv"}).size(), 1);
    const Result status = runWell(line + QStringList{"--parts", "3", "--status"});
    EXPECT_FALSE(status.out.isEmpty());
    EXPECT_EQ(QDir(path("a.mkv.parts")).entryList({"*.mkv"}).size(), 1);
    runWell(line + QStringList{"--parts", "3", "--keep-parts"});
    EXPECT_EQ(probe("a.mkv", "nb_read_frames"), "6");
    EXPECT_EQ(QDir(path("a.mkv.parts")).entryList({"*of3.mkv"}).size(), 3);
    ASSERT_TRUE(QFile::remove(path("a.mkv")));
    runWell(line + QStringList{"--parts", "3"});
    EXPECT_EQ(probe("a.mkv", "nb_read_frames"), "6");
    EXPECT_FALSE(QFileInfo::exists(path("a.mkv.parts")));
}

TEST_F(OptionUse, CommandsRunInOrder)
{
    runWell({"run", Cube, "-c", "grabimage a.png 40", "-c", "grabimage a.png 80"});
    EXPECT_EQ(QImage(path("a.png")).width(), 80);
}

TEST_F(OptionUse, AnEncoderIsCheckedInsteadOfListed)
{
    EXPECT_EQ(run({"encoders", "--check", "absent.so"}).err, "tov-check-encoder: no such file: absent.so\n");
}

TEST_F(OptionUse, TheAmountOfOutputCanBeChosen)
{
    const QStringList line = QStringList{"image", Cube, "-o", "a.png"} + Small;
    EXPECT_EQ(runWell(line).errLines(), 1);
    const Result quiet = runWell(line + QStringList{"--quiet"});
    EXPECT_TRUE(quiet.err.isEmpty() && quiet.out.isEmpty());
    EXPECT_GT(runWell(line + QStringList{"--verbose"}).errLines(), 1);
}
