// Many results in one call, reports for programs, and what happens to older files.

#include "tests/cli/clifixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace cli;

namespace {

/// The objects of one kind that --json printed.
QList<QJsonObject> events(const Result& result, const char* kind)
{
    QList<QJsonObject> found;
    for (const QString& line : result.out.split('\n', Qt::SkipEmptyParts)) {
        const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8());
        EXPECT_TRUE(document.isObject()) << line.toStdString();
        if (document.object()["event"] == QLatin1String(kind))
            found << document.object();
    }
    return found;
}

const QStringList Small{"--size", "64x48"};

} // namespace

TEST_F(CliTest, EachViewAndModelGivesAResult)
{
    runWell(QStringList{"image", Cube, Bunny, "--each", "--view", "front,top", "-o", "{name}-{view}-{n}.png"} + Small);
    for (const char* name : {"cube-front-1.png", "cube-top-2.png", "bunny-front-3.png", "bunny-top-4.png"})
        EXPECT_EQ(QImageReader(path(name)).size(), QSize(64, 48)) << name;
    runWell(QStringList{"image", Bunny, "--view", "top", "-o", "alone.png"} + Small);
    EXPECT_EQ(QImage(path("bunny-top-4.png")), QImage(path("alone.png"))) << "earlier results have no effect";
}

TEST_F(CliTest, AJobListGivesAResultPerLine)
{
    write("jobs.txt",
          ("# a comment\n" + Cube + " -o 'with space.png'\n\n" + Bunny + " -o b.jpg --view top\nabsent.obj -o c.png\n" +
           Cube + " -o 'open\n" + Cube + " -o d.png --size 10x10\n")
              .toUtf8());
    const Result result = run(QStringList{"image", "--jobs", "jobs.txt"} + Small);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.contains("tov: jobs.txt, line 6: a quote is not closed\n")) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains("tov: absent.obj cannot be opened: there is no such file\n"));
    EXPECT_EQ(QImageReader(path("with space.png")).size(), QSize(64, 48));
    EXPECT_EQ(QImageReader(path("b.jpg")).size(), QSize(64, 48));
    EXPECT_EQ(QImageReader(path("d.png")).size(), QSize(10, 10))
        << "a line overrides the call, and a failure does not stop the other lines";
    EXPECT_FALSE(QFile::exists(path("c.png")));
}

TEST_F(CliTest, StrictStopsAtTheFirstFailure)
{
    const Result result =
        run(QStringList{"image", "absent.obj", Cube, "--each", "--strict", "-o", "{name}.png"} + Small);
    expectFailure(result, 1, "absent.obj cannot be opened");
    EXPECT_FALSE(QFile::exists(path("cube.png")));
}

TEST_F(CliTest, JobsAndPicturesGoThroughPipes)
{
    const Result result =
        run({}, ("echo '" + Cube + " -o a.png' | \"$0\" image --jobs - --size 32x32 && \"$0\" image " + Cube +
                 " -o - --format png --size 64x48 > b.png && \"$0\" video " + Cube +
                 " -o - --format mkv --size 64x48 --turntable 3 > c.mkv")
                    .toUtf8());
    EXPECT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(QImage(path("a.png")).size(), QSize(32, 32));
    EXPECT_EQ(QImage(path("b.png")).size(), QSize(64, 48));
    EXPECT_EQ(probe("c.mkv", "nb_read_frames"), "3");
}

TEST_F(CliTest, ExistingFilesAreSkippedOrRefused)
{
    write("a.png", "an older picture");
    const QStringList line = QStringList{"image", Cube, "-o", "a.png"} + Small;
    EXPECT_TRUE(runWell(line + QStringList{"--skip-existing"}).err.contains("a.png exists already"));
    expectFailure(run(line + QStringList{"--no-clobber"}), 1, "'a.png' exists already");
    EXPECT_EQ(read("a.png"), "an older picture");
    runWell(line);
    EXPECT_EQ(QImage(path("a.png")).size(), QSize(64, 48));
}

TEST_F(CliTest, JsonReportsEachResult)
{
    language = "de_DE.UTF-8";
    const Result image =
        runWell(QStringList{"image", Cube, "--view", "front,top", "-o", "{view}.png", "--json"} + Small);
    EXPECT_TRUE(image.err.isEmpty()) << image.err.toStdString();
    EXPECT_EQ(events(image, "started").size(), 2);
    const auto pictures = events(image, "result");
    ASSERT_EQ(pictures.size(), 2);
    EXPECT_EQ(pictures[1]["files"].toArray(), QJsonArray{"top.png"});
    EXPECT_EQ(pictures[1]["size"].toArray(), (QJsonArray{64, 48}));
    EXPECT_EQ(pictures[1]["bytes"].toInt(), int(QFileInfo(path("top.png")).size()));
    const auto videos =
        events(runWell(QStringList{"video", Cube, "-o", "a.mkv", "--turntable", "5", "--json"} + Small), "result");
    ASSERT_EQ(videos.size(), 1);
    EXPECT_EQ(videos[0]["frames"].toInt(), 5);
    EXPECT_NEAR(videos[0]["seconds"].toDouble(), 0.2, 0.05);
    const Result failure = run(QStringList{"image", "absent.obj", "-o", "a.png", "--json"} + Small);
    EXPECT_EQ(failure.status, 1);
    ASSERT_EQ(events(failure, "error").size(), 1);
    EXPECT_EQ(events(failure, "error")[0]["code"].toInt(), 1);
}

TEST_F(CliTest, StrictMakesWarningsFailures)
{
    write("points.csv", "0,0,0\n1,0,0\n");
    const QStringList line = QStringList{"video", Cube, "-o", "a.mkv", "--trajectory", "points.csv"} + Small;
    EXPECT_TRUE(runWell(line).err.contains("Warning: the trajectory moves nothing"));
    EXPECT_EQ(run(line + QStringList{"--strict"}).status, 1);
    const auto warnings = events(run(line + QStringList{"--json"}), "warning");
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings[0]["text"].toString().startsWith("the trajectory moves nothing"));
}

TEST_F(CliTest, InfoListsWhatAModelContains)
{
    write("two.obj", "o a\nv 0 0 0\nv 2 0 0\nv 0 3 0\nf 1 2 3\no b\nv 0 0 4\nv 2 0 4\nv 0 3 4\nf 4 5 6\nf 6 5 4\n");
    const QJsonObject info = events(runWell({"info", "two.obj", "--json"}), "result").value(0);
    EXPECT_EQ(info["triangles"].toInt(), 3);
    EXPECT_EQ(info["size"].toArray(), (QJsonArray{2, 3, 4}));
    EXPECT_TRUE(runWell({"info", "two.obj"}).out.contains("triangles:     3"));
    const Result failure = run({"info", "absent.obj", "two.obj"});
    EXPECT_EQ(failure.status, 1);
    EXPECT_TRUE(failure.out.contains("two.obj"));
    expectFailure(run({"info"}), 2, "info needs a model");
}

TEST_F(CliTest, TheSettingsOfTheUserStayAsTheyAre)
{
    const QByteArray settings = "[settings]\ngrabvideofps=30\n";
    write("settings.ini", settings);
    runWell({"run", "-c", "setvideosettings 50 7 300 1"});
    runWell(QStringList{"video", Cube, "-o", "a.mkv", "--turntable", "2", "--fps", "12"} + Small);
    runWell(QStringList{"image", Cube, "-o", "a.png"} + Small);
    EXPECT_EQ(read("settings.ini"), settings);
    expectFailure(run({"image", "--settings", folder.path(), Cube, "-o", "a.png"}), 2, "--settings must be a file");
}

TEST_F(CliTest, FormatLimitsAreReportedBeforeWorkBegins)
{
    const std::pair<QStringList, const char*> rows[] = {
        {{"image", Bunny, "-o", "a.jpg", "--width", "70000"}, "its limit is 65535 each way; use png or tiff"},
        {{"image", Bunny, "-o", "a.webp", "--size", "16384x100"}, "its limit is 16383 each way; use png or tiff"},
        {{"image", Bunny, "-o", "a.jpg", "--background", "transparent"}, "jpg has no transparency; use png"},
        {{"video", Bunny, "-o", "a.mp4", "--turntable", "2", "--size", "8200x8200"}, "more than H.264 allows"},
        {{"video", Bunny, "-o", "a.gif", "--turntable", "2", "--fps", "101"}, "at most 100 frames per second"},
    };
    for (const auto& [arguments, text] : rows)
        expectFailure(run(arguments), 1, text);
}

TEST_F(CliTest, AKilledOrFailedRunLeavesTheOlderFile)
{
    const QByteArray older = "an older result";
    int untouched = 0, runs = 0;
    const auto expectOlder = [&](const char* name) {
        ++runs;
        untouched += read(name) == older;
        EXPECT_EQ(read(name), older) << name;
    };
    for (const int sent : {SIGKILL, SIGTERM, SIGINT}) {
        for (const char* name : {"a.mp4", "b.webm", "c.frames", "d.gif", "e.png"}) {
            write(name, older);
            const bool isPicture = QLatin1String(name).endsWith(QLatin1String(".png"));
            QProcess process;
            start(process, isPicture
                               ? QStringList{"image", Bunny, "-o", name, "--size", "12000x9000"}
                               : QStringList{"video", Bunny, "-o", name, "--size", "64x48", "--turntable", "20000"});
            process.waitForFinished(700);
            ASSERT_EQ(process.state(), QProcess::Running) << name;
            kill(pid_t(process.processId()), sent);
            ASSERT_TRUE(process.waitForFinished(60000));
            expectOlder(name);
        }
    }
    write("f.mp4", older);
    EXPECT_EQ(run({"video", "absent.obj", "-o", "f.mp4", "--turntable", "2"}).status, 1);
    expectOlder("f.mp4");
    EXPECT_EQ(runs, untouched);
}

TEST_F(CliTest, TheLongestKnownExtensionSelectsTheFormat)
{
    runWell(QStringList{"video", Cube, "-o", "shot.v2.mp4", "--turntable", "2"} + Small);
    EXPECT_EQ(probe("shot.v2.mp4", "codec_name"), "h264");
    runWell(QStringList{"image", Cube, "-o", "shot.v2.png"} + Small);
    EXPECT_EQ(QDir(folder.path()).entryList({"*partial*"}), QStringList());
}

TEST_F(CliTest, AShorterListOfPicturesLeavesNoOlderOnes)
{
    const QStringList line = QStringList{"video", Cube, "-o", "a.frames"} + Small;
    runWell(line + QStringList{"--turntable", "5"});
    EXPECT_EQ(QDir(folder.path()).entryList({"a.*.png"}).size(), 5);
    runWell(line + QStringList{"--turntable", "2"});
    EXPECT_EQ(QDir(folder.path()).entryList({"*.png"}), (QStringList{"a.00001.png", "a.00002.png"}));
    QProcess process;
    process.setWorkingDirectory(folder.path());
    process.start("ffprobe", {"-v", "error", "-f", "concat", "-count_packets", "-show_entries",
                              "stream=nb_read_packets", "-of", "csv=p=0", "a.frames"});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.readAllStandardOutput().trimmed(), "2");
}
