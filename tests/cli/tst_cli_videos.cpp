// Videos from the command line.

#include "tests/cli/clifixture.h"

using namespace cli;

TEST_F(CliTest, ADiskThatRunsFullStopsARecordingAndKeepsIt)
{
    {
        // The file is not empty once the first chunk is full.
        QSettings settings(path("settings.ini"), QSettings::IniFormat);
        settings.setValue("settings/grabvideotempfilesize", "1");
    }
    // The disks are full as soon as the file is not empty.
    variables = {{QStringLiteral("LD_PRELOAD"), QStringLiteral(TOV_BINARY_DIR "/tests/libfulldisk.so")},
                 {QStringLiteral("TOV_FULL_WITH"), path("low~partial.mkv")}};
    const Result result = run({"video", Cube, "-o", "low.mkv", "--size", "160x120", "--free", "60"});
    expectFailure(result, 1, "the recording was stopped, what was captured is kept");
    EXPECT_FALSE(QFile::exists(path("low.mkv")));
    EXPECT_TRUE(QFile::exists(path("low~partial.mkv")));
}

TEST_F(CliTest, ADiskThatRunsFullWithinASecondLosesNoFrame)
{
    // Frames come faster than they are encoded, and are stored in a temporary folder that holds little more than the
    // limit.
    if (run({}, "unshare -rm true").status != 0)
        GTEST_SKIP() << "file systems cannot be mounted here, not even in a name space";
    {
        QSettings settings(path("settings.ini"), QSettings::IniFormat);
        settings.setValue("settings/grabvideousememoryasbuffer", "0");
        settings.setValue("settings/grabvideotempfilesize", "5");
    }
    // The leak checker cannot inspect a process in a name space of its own.
    variables = {{QStringLiteral("TMPDIR"), path("disk")},
                 {QStringLiteral("CUBE"), Cube},
                 {QStringLiteral("ASAN_OPTIONS"), qEnvironmentVariable("ASAN_OPTIONS") + ":detect_leaks=0"}};
    QDir().mkpath(path("disk"));
    const Result result =
        run({}, "unshare -rm sh -c 'mount -t tmpfs -o size=120m tmpfs \"$TMPDIR\" && exec \"$0\" video "
                "\"$CUBE\" -o full.av1.mkv --size 800x600 --turntable 5000 --quiet' \"$0\"");
    expectFailure(result, 1, "the recording was stopped, what was captured is kept");
    EXPECT_TRUE(QFile::exists(path("full~partial.av1.mkv")));
}

TEST_F(CliTest, AFullDiskIsReportedBeforeARecording)
{
    {
        QSettings settings(path("settings.ini"), QSettings::IniFormat);
        settings.setValue("settings/lowspacelimit", qlonglong(1) << 40); // more than any disk has
    }
    const QStringList line{"video", Cube, "-o", "low.mp4", "--size", "160x120", "--turntable", "3"};
    expectFailure(run(line), 1, "nothing was recorded: ");
    EXPECT_FALSE(QFile::exists(path("low.mp4")));
    {
        QSettings settings(path("settings.ini"), QSettings::IniFormat);
        settings.setValue("settings/lowspacelimit", 0); // never
    }
    EXPECT_EQ(run(line).status, 0);
}

TEST_F(CliTest, ARecordingWithoutChunksEndsByItself)
{
    // Neither memory nor temporary files: nothing can be recorded, and the recording would never end.
    write("settings.ini", "[settings]\ngrabvideousememoryasbuffer=false\n");
    for (const QByteArray& verb : {QByteArray("video ") + Cube.toUtf8() + " -o a.mkv --size 64x48 --turntable 3",
                                   QByteArray("video ") + Cube.toUtf8() + " -o a.mkv --size 64x48 --free 3600",
                                   QByteArray("run ") + Cube.toUtf8() + " -c 'grabvideo a.mkv 64 48 sync=0'"}) {
        SCOPED_TRACE(verb.constData());
        const Result result = run(
            {}, "TOV_FAULT=tmpfile:1:0:13 LD_PRELOAD='" TOV_BINARY_DIR "/tests/libfaultshim.so' exec \"$0\" " + verb);
        EXPECT_EQ(result.status, 1) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("Couldn't open temporary file"))) << result.err.toStdString();
    }
}

TEST_F(CliTest, AVideoSteppedAlongATurntable)
{
    for (const char* name : {"a.mp4", "b.mkv"}) {
        const Result result = run(
            {"video", Cube, "-o", name, "--size", "161x119", "--turntable", "12", "--fps", "30", "--bitrate", "500"});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("162 x 120 pixels"))) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("12 frames"))) << result.err.toStdString();
    }
    QSettings settings(path("settings.ini"), QSettings::IniFormat);
    EXPECT_FALSE(settings.contains(QStringLiteral("settings/grabvideofps"))) << "the rates of one call are not kept";
}

TEST_F(CliTest, AFastGifLeavesFramesOutAndReportsIt)
{
    const Result result = run({"video", Cube, "-o", "a.gif", "--size", "64x48", "--turntable", "12", "--fps", "60"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.err.contains(QStringLiteral("10 frames"))) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains(QStringLiteral("at most 50 frames per second"))) << result.err.toStdString();
}

TEST_F(CliTest, AVideoOfSomeSeconds)
{
    const Result result = run({"video", Cube, "-o", "a.mkv", "--size", "64x48", "--free", "0.6"});
    EXPECT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_GT(QFileInfo(path("a.mkv")).size(), 0);
}

TEST_F(CliTest, AFreeRecordingPlaysAsLongAsItTookWithEveryStall)
{
    constexpr double Seconds = 3, StallSeconds = 2;
    for (const char* ending : {"mp4", "gif"}) {
        SCOPED_TRACE(ending);
        const QByteArray name = QByteArray("free.") + ending;
        QProcess process;
        start(process, {"video", Cube, "-o", QString::fromLatin1(name), "--size", "64x48", "--fps", "60", "--free",
                        QString::number(Seconds)});
        // The file is made when the recording starts.
        waitForFile(process, (QByteArray("free~partial.") + ending).constData());
        process.waitForFinished(500);
        kill(pid_t(process.processId()), SIGSTOP);
        EXPECT_FALSE(process.waitForFinished(int(1000 * StallSeconds)));
        kill(pid_t(process.processId()), SIGCONT);
        ASSERT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0);
        const QString report = QString::fromUtf8(process.readAllStandardError());
        EXPECT_TRUE(report.contains(QStringLiteral("frames per second"))) << report.toStdString();
        const auto times = frameTimes(name.constData());
        ASSERT_GT(times.size(), 2u);
        EXPECT_NEAR(times.back(), Seconds, 0.03 * Seconds);
        double longest = 0;
        for (std::size_t i = 1; i < times.size(); ++i)
            longest = std::max(longest, times[i] - times[i - 1]);
        EXPECT_GT(longest, StallSeconds - 0.1);
        EXPECT_TRUE(report.contains(QStringLiteral("%1 frames").arg(times.size() - 1))) << report.toStdString();
    }
}

TEST_F(CliTest, VideosThatCannotBeMade)
{
    write("bad.csv", "1,2,3\n4,five,6\n");
    const std::pair<QStringList, const char*> rows[] = {
        {{"-o", "a.xyz", "--turntable", "3"}, "unknown video format 'xyz'; known formats: "},
        {{"-o", "noending", "--turntable", "3"}, "does not end in a known video format"},
        {{"-o", "missing/a.mp4", "--turntable", "3"}, "there is no folder"},
        {{"-o", "a.mp4", "--turntable", "3", "--size", "40000x64"}, "cannot be drawn here: the limit is"},
        {{"-o", "a.mp4", "--trajectory", "none.csv"}, "there is no such file"},
        {{"-o", "a.mp4", "--trajectory", "bad.csv"}, "line 2: \"five\" is not a number"},
    };
    for (const auto& [arguments, text] : rows) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectFailure(run(QStringList{"video", Cube} + arguments), 1, text);
        EXPECT_TRUE(QDir(folder.path()).entryList({"*.mp4", "*.xyz"}).isEmpty());
    }
}

TEST_F(CliTest, ATrajectoryThatMovesNothingIsReported)
{
    write("points.csv", "x,y,z\n0,0,0\n1,0,0\n");
    write("camera.json", R"([{"camera": [1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]}])");
    write("other.json", R"([{"nobody": [1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]}])");
    const auto isReported = [this](const QString& model, const char* trajectory) {
        const Result result =
            run({"video", model, "-o", "a.mkv", "--size", "64x48", "--trajectory", QLatin1String(trajectory)});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        return result.err.contains(QStringLiteral("the trajectory moves nothing"));
    };
    EXPECT_TRUE(isReported(Cube, "points.csv"));
    EXPECT_TRUE(isReported(Cube, "other.json"));
    EXPECT_FALSE(isReported(Cube, "camera.json"));
    const QString crane = QStringLiteral(TOV_SOURCE_DIR "/samples/crane.obj");
    EXPECT_FALSE(isReported(crane, "points.csv"));
}

TEST_F(CliTest, CtrlCStopsARecordingAndKeepsIt)
{
    QProcess process;
    start(process, {"video", Cube, "-o", "a.mkv", "--size", "320x240", "--free", "100", "-v"});
    // The file is made when the recording starts.
    waitForFile(process, "a~partial.mkv");
    // The time of several frames.
    process.waitForFinished(600);
    kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_FALSE(QFile::exists(path("a.mkv")));
    EXPECT_GT(probe("a~partial.mkv", "nb_read_frames").toInt(), 0);
}
