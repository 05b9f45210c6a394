// What moves in the videos of the command line.

#include "tests/cli/clifixture.h"

#include <algorithm>
#include <cmath>

using namespace cli;

namespace {

const QString Samples = QStringLiteral(TOV_SOURCE_DIR "/samples/");
const QString Arm = Samples + "arm.gltf";
const QString Crane = Samples + "crane.obj";
const QStringList Small{"--size", "96x72"};

/// The largest difference between two pixels of the pictures; 255 when their sizes differ.
int largestDifference(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return 255;
    int most = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            most = std::max(most, std::abs(qAlpha(p) - qAlpha(q)));
            if (qAlpha(p) > 0)
                most = std::max({most, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                 std::abs(qBlue(p) - qBlue(q))});
        }
    return most;
}

class MotionTest : public CliTest
{
protected:
    /// Records, and returns the frames of the video.
    std::vector<QImage> record(const QStringList& arguments)
    {
        runWell(QStringList{"video", "-q", "-o", "m.lossless.mkv"} + arguments + Small);
        QDir(folder.path()).mkdir("frames");
        QProcess process;
        process.start("ffmpeg", {"-v", "error", "-y", "-i", path("m.lossless.mkv"), path("frames/%04d.png")});
        EXPECT_TRUE(process.waitForFinished(60000));
        std::vector<QImage> frames;
        QDir frameFolder(path("frames"));
        for (const QString& name : frameFolder.entryList({"*.png"}, QDir::Files, QDir::Name))
            frames.emplace_back(frameFolder.filePath(name));
        frameFolder.removeRecursively();
        return frames;
    }
    QImage picture(const QStringList& arguments)
    {
        runWell(QStringList{"image", "-q", "-o", "m.png"} + arguments + Small);
        return QImage(path("m.png"));
    }
};

} // namespace

TEST_F(MotionTest, VideosHaveExactlyTheFramesOfTheirLength)
{
    const QString flight = Samples + "flight.tum", crane = Samples + "crane.json", points = Samples + "crane.csv";
    const QString tour = Samples + "tour.json";
    const std::pair<QStringList, std::size_t> rows[] = {
        {{Crane, "--turntable", "--duration", "1.5", "--fps", "8"}, 12},
        {{Crane, "--turntable", "6", "--turns", "1.5"}, 6},
        {{Crane, "--turntable", "--swing", "40", "--duration", "1", "--fps", "7"}, 7},
        {{Arm, "--animation", "lift", "--fps", "3"}, 12}, // it lasts 4 s
        {{Arm, "--animation", "LIFT", "--fps", "4", "--duration", "2"}, 8},
        {{Arm, "--animation=lift", "--fps", "2", "--duration", "6", "--repeat"}, 12},
        {{Arm, "--animation", "--turntable", "--fps", "2"}, 8},
        {{Crane, "--path", tour, "--fps", "2"}, 12}, // it lasts 6 s
        {{Crane, "--path", tour, "--fps", "4", "--duration", "2"}, 8},
        {{Arm, "--path", tour, "--animation=lift", "--fps", "2"}, 12},
        {{Crane, "--trajectory", crane, "--duration", "2", "--fps", "6"}, 12},
        {{Crane, "--trajectory", points, "--duration", "2", "--fps", "4"}, 8},
        {{Crane, "--trajectory", flight, "--duration", "3", "--fps", "3"}, 9},
        {{Crane, "--trajectory", flight, "--fps", "3"}, 12}, // its times end after 3.96 s
        {{Crane, "--trajectory", flight, "--every-position"}, 100},
    };
    for (const auto& [arguments, count] : rows)
        EXPECT_EQ(record(arguments).size(), count) << arguments.join(' ').toStdString();
}

TEST_F(MotionTest, EachFrameOfAnAnimationIsThePictureOfItsTime)
{
    const QString spinning = QStringLiteral(
        "/usr/share/assimp/models/glTF2/glTF-Sample-Models/AnimatedMorphCube-glTF/AnimatedMorphCube.gltf");
    const QStringList chosen{"--position", "3,4,6", "--target", "0,1,0"};
    const QString matrix = "200 0 0 0  0 180 -80 -300  0 80 180 -2500  0 0 0 1";
    const std::pair<QStringList, QStringList> rows[] = {
        {QStringList{Arm} + chosen, {"0", "0.5", "1.75", "3.5"}},
        {QStringList{Arm, "--orthographic"} + chosen, {"1"}},
        {QStringList{Arm, "--fov", "30"} + chosen, {"0.75"}},
        {QStringList{Arm, "--view", "iso"}, {"1.25", "2"}},
        {QStringList{Arm, "--transform", matrix}, {"1"}},
        {QStringList{spinning} + chosen, {"0.5", "1"}},
        {QStringList{spinning}, {"0.75"}},
    };
    for (const auto& [arguments, times] : rows) {
        if (!QFile::exists(arguments.first()))
            continue;
        const auto frames = record(arguments + QStringList{"--animation", "--fps", "4"});
        for (const QString& time : times) {
            const auto number = std::size_t(std::lround(4 * time.toDouble()));
            ASSERT_LT(number, frames.size());
            const QImage expected = picture(arguments + QStringList{"--animation", "--time", time});
            EXPECT_EQ(largestDifference(frames[number], expected), 0)
                << arguments.join(' ').toStdString() << " at " << time.toStdString();
        }
        EXPECT_GT(largestDifference(frames[0], frames[2]), 50) << "it moves: " << arguments.join(' ').toStdString();
    }
}

TEST_F(MotionTest, ACameraOfTheFileMovesWithTheAnimation)
{
    // A triangle, and a camera that slides to the right within 2 s.
    QByteArray bytes;
    const auto append = [&bytes](const std::vector<float>& values) {
        bytes.append(reinterpret_cast<const char*>(values.data()), int(sizeof(float) * values.size()));
    };
    append({-1, -1, 0, 1, -1, 0, 0, 1, 0});
    append({0, 2});
    append({0, 0, 5, 1.5f, 0, 5});
    write("camera.gltf", R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0,1]}],
"nodes":[{"mesh":0},{"name":"eye","camera":0,"translation":[0,0,5]}],
"cameras":[{"name":"eye","type":"perspective","perspective":{"yfov":0.7,"znear":0.1}}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
"animations":[{"name":"slide","channels":[{"sampler":0,"target":{"node":1,"path":"translation"}}],
"samplers":[{"input":1,"output":2}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[-1,-1,0],"max":[1,1,0]},
{"bufferView":1,"componentType":5126,"count":2,"type":"SCALAR","min":[0],"max":[2]},
{"bufferView":2,"componentType":5126,"count":2,"type":"VEC3"}],
"bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":8},
{"buffer":0,"byteOffset":44,"byteLength":24}],
"buffers":[{"byteLength":68,"uri":"data:application/octet-stream;base64,)" +
                             bytes.toBase64() + "\"}]}");
    const QStringList camera{path("camera.gltf"), "--camera", "eye", "--animation=slide"};
    const auto frames = record(camera + QStringList{"--fps", "4"});
    ASSERT_EQ(frames.size(), 8u);
    for (const std::size_t number : {0u, 3u, 7u}) {
        const QString time = QString::number(double(number) / 4);
        EXPECT_EQ(largestDifference(frames[number], picture(camera + QStringList{"--time", time})), 0) << number;
    }
    EXPECT_GT(largestDifference(frames[0], frames[7]), 50) << "the camera moves";
}

TEST_F(MotionTest, AnAnimationThatDoesNotExistIsAnError)
{
    expectFailure(run({"video", Arm, "-o", "a.mkv", "--animation=jump"}), 1, "no animation \"jump\"; known: lift");
    expectFailure(run({"video", Crane, "-o", "a.mkv", "--animation"}), 1, "the scene has no animations");
    expectFailure(run({"image", Arm, "-o", "a.png", "--animation", "--time", "99"}), 1, "it lasts 4 s");
    expectFailure(run({"video", Crane, "-o", "a.mkv", "--path", Samples + "crane.csv"}), 1, "not a camera path");
    expectFailure(run({"video", Crane, "-o", "a.mkv", "--path", "absent.json"}), 1, "there is no such file");
}

TEST_F(MotionTest, TheNextResultShowsTheModelAtRest)
{
    const QImage rest = picture({Arm});
    write("jobs.txt", ("-o moved.png --animation --time 1.5\n-o rest.png\n"));
    runWell(QStringList{"image", Arm, "--jobs", "jobs.txt"} + Small);
    EXPECT_EQ(QImage(path("rest.png")), rest);
    EXPECT_NE(QImage(path("moved.png")), rest);
}

TEST_F(MotionTest, TurntablesFollowTheirOptions)
{
    const auto frames = record({Crane, "--turntable", "8"});
    ASSERT_EQ(frames.size(), 8u);
    const auto backward = record({Crane, "--turntable", "8", "--turns", "-1"});
    EXPECT_EQ(largestDifference(frames[0], backward[0]), 0);
    EXPECT_LE(largestDifference(frames[3], backward[5]), 8) << "frame 3 forward is frame 5 backward";
    EXPECT_GT(largestDifference(frames[3], backward[3]), 50);
    const auto twice = record({Crane, "--turntable", "8", "--turns", "2"});
    ASSERT_EQ(twice.size(), 8u);
    EXPECT_LE(largestDifference(twice[0], twice[4]), 8) << "the second turn repeats the first";
    EXPECT_GT(largestDifference(record({Crane, "--turntable", "8", "--axis", "x"})[2], frames[2]), 50);
    const auto eased = record({Crane, "--turntable", "8", "--ease"});
    EXPECT_EQ(largestDifference(eased[0], frames[0]), 0);
    EXPECT_GT(largestDifference(eased[1], frames[1]), 50);
    EXPECT_LE(largestDifference(eased[4], frames[4]), 8) << "half of the path at half of the time";
    const auto swing = record({Crane, "--turntable", "8", "--swing", "60"});
    EXPECT_LE(largestDifference(swing[1], swing[3]), 8) << "back and forth";
    EXPECT_GT(largestDifference(swing[2], swing[6]), 50);
}

TEST_F(MotionTest, PathsPassThroughTheViewsOfTheirFile)
{
    const QString tour = Samples + "tour.json";
    const auto frames = record({Crane, "--path", tour, "--fps", "1"});
    ASSERT_EQ(frames.size(), 6u);
    EXPECT_EQ(largestDifference(frames[0], picture({Crane, "--position", "0,4,20", "--target", "0,3,0"})), 0);
}

TEST_F(MotionTest, FilesOfPosesPlayAtTheirOwnSpeed)
{
    // A camera that stands still for a second, then moves within a tenth of a second.
    write("late.tum", "0 0 0 -20 0 0 0 1\n1 0 0 -20 0 0 0 1\n1.1 4 0 -20 0 0 0 1\n2 4 0 -20 0 0 0 1\n");
    const auto timed = record({Crane, "--trajectory", "late.tum", "--fps", "4"});
    ASSERT_EQ(timed.size(), 8u);
    EXPECT_EQ(largestDifference(timed[0], timed[4]), 0);
    EXPECT_GT(largestDifference(timed[4], timed[5]), 20);
    EXPECT_EQ(largestDifference(timed[5], timed[7]), 0);
    EXPECT_EQ(record({Crane, "--trajectory", "late.tum", "--every-position"}).size(), 4u);
}

TEST_F(MotionTest, VideosHaveTheRequestedBackground)
{
    runWell(QStringList{"video", "-q", Arm, "-o", "b.hq.mp4", "--turntable", "2", "--background", "#c08040"} + Small);
    QProcess process;
    process.start("ffmpeg", {"-v", "error", "-y", "-i", path("b.hq.mp4"), "-frames:v", "1", path("b.png")});
    ASSERT_TRUE(process.waitForFinished(60000));
    const QRgb corner = QImage(path("b.png")).pixel(2, 2);
    EXPECT_NEAR(qRed(corner), 0xc0, 3);
    EXPECT_NEAR(qGreen(corner), 0x80, 3);
    EXPECT_NEAR(qBlue(corner), 0x40, 3);
    const QStringList line{"video", Arm, "-o", "c.mp4", "--turntable", "2", "--background"};
    expectFailure(run(line + QStringList{"red..blue"}), 1, "a video has no background of two colours");
    expectFailure(run(line + QStringList{"transparent"}), 1, "mp4 has no transparency; use alpha.webm");
}

TEST_F(MotionTest, APathAndATrajectoryAreNotMixedUp)
{
    const QStringList line{"video", Crane, "-o", "a.mp4"};
    expectFailure(run(line + QStringList{"--trajectory", Samples + "tour.json"}), 1,
                  "is a camera path, not a trajectory; use --path");
    expectFailure(run(line + QStringList{"--path", Samples + "flight.tum"}), 1, "is not a camera path");
}

TEST_F(MotionTest, OptionsWithoutEffectGiveAWarning)
{
    Result result =
        run(QStringList{"video", Crane, "-o", "a.alpha.webm", "--turntable", "2", "--background", "white"} + Small);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.err.contains("--background has no effect")) << result.err.toStdString();
    result = run(QStringList{"image", Crane, "-o", "a.webp", "--dpi", "300"} + Small);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.err.contains("--dpi has no effect")) << result.err.toStdString();
}

TEST_F(MotionTest, AStatusIsOneObject)
{
    const Result result = run(
        QStringList{"video", Crane, "-o", "a.mp4", "--turntable", "4", "--parts", "2", "--status", "--json"} + Small);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.count('\n'), 1) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("\"event\":\"status\""));
}
