// Where results go: streams, pipes, several processes, several jobs.

#include "tests/cli/clifixture.h"

#include <QThread>

using namespace cli;

namespace {

const QStringList Small{"--size", "64x48", "--samples", "0"};

class OutputTest : public CliTest
{
protected:
    /// The decoded frames of a video, as a text.
    QByteArray frames(const char* name)
    {
        QProcess process;
        process.start("ffmpeg", {"-v", "error", "-i", path(name), "-f", "framemd5", "-"});
        EXPECT_TRUE(process.waitForFinished(60000));
        return process.readAllStandardOutput();
    }
};

} // namespace

TEST_F(OutputTest, AStreamHoldsTheFramesOfTheFile)
{
    // The first four are streams, the last two are sent when they are complete.
    for (const char* format : {"mkv", "alpha.webm", "mp4", "gif", "avi", "av1.mkv"}) {
        const QByteArray file = QByteArray("a.") + format, stream = QByteArray("stream.") + format;
        const QStringList line = QStringList{"video", Cube, "--turntable", "7", "--quiet"} + Small;
        runWell(line + QStringList{"-o", QString(file)});
        const Result result =
            run(withSettings(line) + QStringList{"-o", "-", "--format", format},
                ("\"$0\" video " + Cube + " --turntable 7 --quiet --size 64x48 --samples 0 -o - --format " + format +
                 " > " + stream)
                    .toUtf8());
        EXPECT_EQ(result.status, 0) << format << ": " << result.err.toStdString();
        EXPECT_FALSE(frames(file.constData()).isEmpty());
        EXPECT_EQ(frames(stream.constData()), frames(file.constData())) << format;
    }
    expectFailure(run(QStringList{"video", Cube, "--turntable", "7", "-o", "-", "--format", "frames"} + Small), 1,
                  "frames are many files");
}

TEST_F(OutputTest, AStreamThatNobodyReadsIsAFailure)
{
    const Result full =
        run({}, ("\"$0\" video " + Cube + " --turntable 5 --size 64x48 -o - --format mkv > /dev/full").toUtf8());
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err, "tov: cannot write to standard output: No space left on device\n");
}

TEST_F(OutputTest, PipesWithAReaderAreWrittenOthersRefused)
{
    for (const QStringList& line :
         {QStringList{"image", Cube, "-o", "p.png"}, QStringList{"video", Cube, "-o", "p.mkv", "--turntable", "4"}}) {
        const QByteArray name = line[3].toUtf8();
        run({}, "mkfifo " + name);
        expectFailure(run(line + Small), 1, "no program reads from it");
        const Result result = run({}, "cat " + name + " > got." + name + " & \"$0\" " + line.join(' ').toUtf8() +
                                          " --size 64x48 -q; wait");
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        EXPECT_FALSE(QFileInfo(path(name.constData())).isFile()) << "the pipe stays";
    }
    EXPECT_EQ(QImage(path("got.p.png")).size(), QSize(64, 48));
    EXPECT_EQ(probe("got.p.mkv", "nb_read_frames"), "4");
}

TEST_F(OutputTest, TwoProcessesNeverMixTheirFrames)
{
    QProcess first;
    first.setWorkingDirectory(folder.path());
    first.start(Program, withSettings({"video", Cube, "-o", "a.mp4", "--turntable", "30000", "--size", "64x48"}));
    ASSERT_TRUE(first.waitForStarted());
    QElapsedTimer clock;
    clock.start();
    while (QFileInfo(path("a~partial.mp4")).size() == 0 && !clock.hasExpired(60000))
        QThread::msleep(10);
    expectFailure(run(QStringList{"video", Cube, "-o", "a.mp4", "--turntable", "4"} + Small), 1,
                  "another process is writing it");
    EXPECT_EQ(first.state(), QProcess::Running);
    first.kill();
    EXPECT_TRUE(first.waitForFinished(60000));
    EXPECT_FALSE(QFileInfo::exists(path("a.mp4")));
    runWell(QStringList{"video", Cube, "-o", "a.mp4", "--turntable", "4"} + Small);
    EXPECT_EQ(probe("a.mp4", "nb_read_frames"), "4");
    EXPECT_EQ(QDir(folder.path()).entryList({"*.mp4"}), QStringList("a.mp4"));
}

TEST_F(OutputTest, TheSettingsOfAJobEndWithIt)
{
    write("jobs",
          (Cube + " -o a.mkv --fps 10 --bitrate 5000 --size 640x360\n" + Cube + " -o b.mkv --size 64x48\n").toUtf8());
    runWell({"video", "--jobs", "jobs", "--turntable", "--duration", "0.4"});
    EXPECT_EQ(probe("a.mkv", "r_frame_rate"), "10/1");
    EXPECT_EQ(probe("a.mkv", "nb_read_frames"), "4");
    EXPECT_EQ(probe("b.mkv", "r_frame_rate"), "25/1");
    EXPECT_EQ(probe("b.mkv", "nb_read_frames"), "10");
}

TEST_F(OutputTest, SettingsThatAreNotNumbersAreReported)
{
    write("settings.ini", "[settings]\ngrabvideofps=abc\n");
    const QStringList line = QStringList{"video", Cube, "-o", "a.mkv", "--turntable", "4"} + Small;
    expectFailure(run(line), 1, "the setting 'settings/grabvideofps' must be a number from 1 to 1000 (got \"abc\")");
    runWell(line + QStringList{"--fps", "25"});
}
