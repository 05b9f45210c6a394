// The real program, run as a person or a script runs it.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QMap>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString Program = QStringLiteral(TOV_BINARY_DIR "/bin/tov");
const QString Bunny = QStringLiteral("/usr/share/glmark2/models/bunny.obj");
const QString Cube = QStringLiteral("/usr/share/glmark2/models/cube.3ds");

struct Result
{
    int status = -1;
    QString out;
    QString err;
    int errLines() const { return err.isEmpty() ? 0 : err.trimmed().split(QLatin1Char('\n')).size(); }
};

class CliTest : public testing::Test
{
protected:
    QStringList withSettings(QStringList arguments) const
    {
        // Behind the verb, before a "--".
        arguments.insert(arguments.isEmpty() ? 0 : 1, QStringLiteral("--settings=") + path("settings.ini"));
        return arguments;
    }
    QString language;                 ///< of the person, e.g. "de_DE.UTF-8"
    QMap<QString, QString> variables; ///< further ones of the environment
    Result run(const QStringList& arguments, const QByteArray& shell = QByteArray())
    {
        QProcess process;
        process.setWorkingDirectory(folder.path());
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "QT_QPA_EGLFS_INTEGRATION"})
            environment.remove(QLatin1String(name));
        environment.insert(QStringLiteral("TOV_SETTINGS"), path("settings.ini"));
        environment.remove(QStringLiteral("LC_ALL"));
        environment.insert(QStringLiteral("LANG"), language.isEmpty() ? QStringLiteral("C.UTF-8") : language);
        for (auto i = variables.begin(); i != variables.end(); ++i)
            environment.insert(i.key(), i.value());
        process.setProcessEnvironment(environment);
        if (shell.isEmpty())
            process.start(Program, arguments);
        else
            process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QString::fromUtf8(shell), Program});
        EXPECT_TRUE(process.waitForFinished(120000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "crashed";
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    /// One line on standard error that holds the text, nothing on standard output.
    void expectFailure(const Result& result, int status, const char* text)
    {
        EXPECT_EQ(result.status, status);
        EXPECT_TRUE(result.err.startsWith(QStringLiteral("tov: "))) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(text))) << result.err.toStdString();
        EXPECT_EQ(result.errLines(), 1) << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    }
    void write(const char* name, const QByteArray& bytes)
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QString path(const char* name) const { return folder.filePath(QString::fromUtf8(name)); }
    QTemporaryDir folder;
};

} // namespace

TEST_F(CliTest, HelpAndVersion)
{
    const Result help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* verb : {"image", "video", "run", "commands", "encoders", "modules", "130"})
        EXPECT_TRUE(help.out.contains(QLatin1String(verb))) << verb;
    EXPECT_TRUE(help.err.isEmpty());
    for (const char* verb : {"image", "video", "run", "commands", "encoders", "modules"}) {
        const Result one = run({verb, "--help"});
        EXPECT_EQ(one.status, 0);
        EXPECT_TRUE(one.out.startsWith(QStringLiteral("tov ") + QLatin1String(verb)));
    }
    EXPECT_EQ(run({"--version"}).out, "tov 0.1.0\n");
}

TEST_F(CliTest, LocaleBringsTheLanguage)
{
    language = QStringLiteral("de_DE.UTF-8");
    EXPECT_TRUE(run({"--help"}).out.contains(QStringLiteral("zeigt 3D-Szenen")));
    expectFailure(run({"--nonsense"}), 2, "es gibt keine Option --nonsense");
    expectFailure(run({"image", "absent.obj", "-o", "a.png"}), 1, "diese Datei gibt es nicht");
    language = QStringLiteral("fr_FR.UTF-8");
    expectFailure(run({"image", "absent.obj", "-o", "a.png"}), 1, "there is no such file");
}

TEST_F(CliTest, ADiskThatRunsFullStopsARecordingAndKeepsIt)
{
    {
        // The file holds something once the first chunk is full.
        QSettings settings(path("settings.ini"), QSettings::IniFormat);
        settings.setValue("settings/grabvideotempfilesize", "1");
    }
    // The disks are full from when the file holds something on.
    variables = {{QStringLiteral("LD_PRELOAD"), QStringLiteral(TOV_BINARY_DIR "/tests/libfulldisk.so")},
                 {QStringLiteral("TOV_FULL_WITH"), path("low.mkv")}};
    const Result result = run({"video", Cube, "-o", "low.mkv", "--size", "160x120", "--duration", "60"});
    expectFailure(result, 1, "the recording was stopped, what was captured is kept");
    EXPECT_TRUE(QFile::exists(path("low.mkv")));
}

TEST_F(CliTest, ADiskThatRunsFullWithinASecondLosesNoFrame)
{
    // Frames come faster than they are encoded, and wait in a temporary folder that holds little more than the limit.
    if (run({}, "unshare -rm true").status != 0)
        GTEST_SKIP() << "file systems cannot be mounted here, not even in a name space";
    {
        QSettings settings(path("settings.ini"), QSettings::IniFormat);
        settings.setValue("settings/grabvideousememoryasbuffer", "0");
        settings.setValue("settings/grabvideotempfilesize", "5");
    }
    // The leak checker cannot look at a process in a name space of its own.
    variables = {{QStringLiteral("TMPDIR"), path("disk")},
                 {QStringLiteral("CUBE"), Cube},
                 {QStringLiteral("ASAN_OPTIONS"), qEnvironmentVariable("ASAN_OPTIONS") + ":detect_leaks=0"}};
    QDir().mkpath(path("disk"));
    const Result result =
        run({}, "unshare -rm sh -c 'mount -t tmpfs -o size=120m tmpfs \"$TMPDIR\" && exec \"$0\" video "
                "\"$CUBE\" -o full.av1.mkv --size 800x600 --turntable 5000 --quiet' \"$0\"");
    expectFailure(result, 1, "the recording was stopped, what was captured is kept");
    EXPECT_TRUE(QFile::exists(path("full.av1.mkv")));
}

TEST_F(CliTest, AFullDiskIsToldBeforeARecording)
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

TEST_F(CliTest, WrongUsageIsOneLineAndStatusTwo)
{
    const std::pair<QStringList, const char*> rows[] = {
        {{"--nonsense"}, "there is no option --nonsense (see tov --help)"},
        {{"imag", Cube, "-o", "a.png"}, "there is neither a verb nor a file named \"imag\" (see tov --help)"},
        {{"--width", "5"}, "the option --width needs a verb"},
        {{"image", "--fps", "5"}, "image has no option --fps"},
        {{"image", "-o"}, "-o needs a value (OUT)"},
        {{"image", "--quiet=1"}, "--quiet takes no value"},
        {{"image"}, "image needs a model"},
        {{"image", Cube}, "image needs an output file"},
        {{"image", Cube, "-o", "a.png", "--width", "wide"}, "--width: \"wide\" is no whole number of pixels"},
        {{"image", Cube, "-o", "a.png", "--width", "2147483648"}, "is no whole number of pixels"},
        {{"image", Cube, "-o", "a.png", "--width", "10.5"}, "is no whole number of pixels"},
        {{"image", Cube, "-o", "a.png", "--view", "up"}, "there is no view \"up\""},
        {{"image", Cube, "-o", "a.png", "--panel", "100"}, "is no size"},
        {{"image", Cube, "-o", "a.png", "--panel", "0x5"}, "is no size"},
        {{"image", Cube, "-o", "a.png", "--background", "red"}, "is no colour"},
        {{"image", Cube, "-o", "a.png", "--transform", "1 2 3"}, "16 numbers are needed"},
        {{"commands", "x"}, "commands takes no file"},
        {{"run"}, "run needs a script"},
        {{"run", "-c", "a \"b"}, "the quote at column 3 is not closed"},
        {{"run", "-c", "# nothing"}, "there is no command to run"},
        {{"video", Cube, "-o", "a.mp4"}, "video needs one of --turntable, --trajectory and --duration"},
        {{"video", Cube, "-o", "a.mp4", "--turntable", "5", "--duration", "2"}, "video needs one of"},
        {{"video", Cube, "-o", "a.mp4", "--duration", "-2"}, "is no number of seconds"},
        {{"video", Cube, "-o", "a.mp4", "--duration", "nan"}, "is no number of seconds"},
        {{"video", Cube, "-o", "a.mp4", "--turntable", "x"},
         "--turntable: \"x\" is no number of positions (1 or more)"},
        {{"run", "--turntable", "0", "-c", "grabimage"}, "--turntable: \"0\" is no number of positions (1 or more)"},
        {{"video", Cube, "-o", "a.mp4", "--turntable", "5", "--fps", "0"}, "--fps: \"0\" is no number from 1 on"},
        {{"video", Cube, "-o", "a.mp4", "--turntable", "5", "--size", "big"}, "--size: \"big\" is no size"},
    };
    for (const auto& [arguments, text] : rows) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectFailure(run(arguments), 2, text);
    }
}

TEST_F(CliTest, APictureOfARealModel)
{
    const Result result = run({"image", Bunny, "-o", "bunny.png", "--width", "1000", "--panel", "800x600"});
    EXPECT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains(QStringLiteral("bunny.png: 1000 x 750 pixels"))) << result.err.toStdString();
    const QImage image(path("bunny.png"));
    ASSERT_EQ(image.size(), QSize(1000, 750));
    EXPECT_EQ(qAlpha(image.pixel(2, 2)), 0);
    int covered = 0;
    for (int y = 0; y < 750; ++y)
        for (int x = 0; x < 1000; ++x)
            covered += qAlpha(image.pixel(x, y)) == 255;
    EXPECT_GT(covered, 1000 * 750 / 5) << "the model is fitted into the view";
    EXPECT_LT(covered, 1000 * 750 * 4 / 5);
}

TEST_F(CliTest, EveryPictureFormat)
{
    for (const char* name : {"a.png", "b.jpg", "c.bmp", "d.tiff", "e.webp", "f.ppm", "g.PNG"}) {
        const Result result = run({"image", "-q", Cube, "-o", name, "--width", "64", "--panel", "64x48"});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << "quiet: " << result.err.toStdString();
        EXPECT_EQ(QImageReader(path(name)).read().size(), QSize(64, 48)) << name;
    }
}

TEST_F(CliTest, PicturesThatCannotBeMade)
{
    QDir(folder.path()).mkdir(QStringLiteral("folder.png"));
    write("locked.png", "x");
    const std::pair<QStringList, const char*> rows[] = {
        {{"-o", "a.xyz"}, "No valid image file extension selected"},
        {{"-o", "noending"}, "No valid image file extension selected"},
        {{"-o", "a.png", "--width", "0"}, "Target picture (0 x 0) size is to small!"},
        {{"-o", "a.png", "--width", "1"}, "Target picture (1 x 0) size is to small!"},
        {{"-o", "a.png", "--width", "-5"}, "Target picture (-5 x -2) size is to small!"},
        {{"-o", "a.png", "--width", "2147483647"}, "Couldn't create image buffer with size (2147483647 x 1207959551)"},
        {{"-o", "missing/a.png"}, "there is no folder"},
        {{"-o", "folder.png"}, "folder.png is a folder; name a file"},
        {{"-o", "/dev/full"}, "is not a regular file"},
    };
    for (const auto& [arguments, text] : rows) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        QStringList before = QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        before.removeAll(QStringLiteral("settings.ini"));
        expectFailure(run(QStringList{"image", Cube} + arguments), 1, text);
        QStringList after = QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        after.removeAll(QStringLiteral("settings.ini"));
        EXPECT_EQ(after, before) << "nothing half-written";
    }
}

TEST_F(CliTest, APictureThatDoesNotFitIntoMemoryIsRefused)
{
    const Result result = run({"image", Cube, "-o", "a.png", "--width", "300000"});
    expectFailure(result, 1, "");
    EXPECT_FALSE(QFile::exists(path("a.png")));
}

TEST_F(CliTest, AFullDiskLeavesNoFileThatLooksWhole)
{
    const Result result = run({}, "ulimit -f 20; exec \"$0\" image " + Bunny.toUtf8() + " -o full.png --width 2000");
    EXPECT_EQ(result.status, 1) << result.err.toStdString();
    // The image library has a word of its own before.
    EXPECT_TRUE(result.err.endsWith(QStringLiteral("tov: grabimage: Couldn't save image 'full.png'!\n")))
        << result.err.toStdString();
    EXPECT_FALSE(QFile::exists(path("full.png")));
}

TEST_F(CliTest, ModelsThatCannotBeRead)
{
    QDir(folder.path()).mkdir(QStringLiteral("folder.obj"));
    write("empty.obj", "");
    QByteArray rubbish;
    for (int i = 0; i < 4000; ++i)
        rubbish += char((i * 7919) >> 3);
    write("rubbish.obj", rubbish);
    write("rubbish.ply", rubbish);
    write("rubbish.stl", rubbish);
    write("rubbish.3ds", rubbish);
    write("rubbish.glb", rubbish);
    write("short.ply", "ply\nformat binary_little_endian 1.0\nelement vertex 1000\nproperty float x\nproperty float "
                       "y\nproperty float z\nend_header\nabc");
    write("huge.ply", "ply\nformat ascii 1.0\nelement vertex 4294967295\nproperty float x\nproperty float y\nproperty "
                      "float z\nend_header\n1 2 3\n");
    write("index.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n");
    write("word.obj", "v 0 0 zero\n");
    write("nan.obj", "v 0 0 nan\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    write("model.xyz", "1 2 3\n");
    const std::pair<const char*, const char*> rows[] = {
        {"missing.obj", "there is no such file"},
        {"folder.obj", "it is a folder"},
        {"empty.obj", "it is empty"},
        {"rubbish.obj", "cannot be opened"},
        {"rubbish.ply", "cannot be opened"},
        {"rubbish.stl", "cannot be opened"},
        {"rubbish.3ds", "cannot be opened"},
        {"rubbish.glb", "cannot be opened"},
        {"short.ply", "the header promises 1000 of \"vertex\", but the file is too short for them"},
        {"huge.ply", "the header promises 4294967295 of \"vertex\""},
        {"index.obj", "line 4: the index 9 is out of range, there are 3"},
        {"word.obj", "line 1: \"zero\" is no number"},
        {"nan.obj", "line 1: \"nan\" is no number"},
        {"model.xyz", "files of the type \"xyz\" cannot be read"},
    };
    for (const auto& [name, text] : rows) {
        SCOPED_TRACE(name);
        expectFailure(run({"image", name, "-o", "a.png", "--width", "64"}), 1, text);
        EXPECT_FALSE(QFile::exists(path("a.png")));
    }
}

TEST_F(CliTest, ATruncatedModelIsRefusedOrDrawnNeverACrash)
{
    QFile whole(QStringLiteral("/usr/share/glmark2/models/horse.3ds"));
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.readAll();
    for (int part = 1; part < 8; ++part) {
        write("cut.3ds", bytes.left(bytes.size() * part / 8));
        const Result result = run({"image", "-q", "cut.3ds", "-o", "a.png", "--width", "64"});
        EXPECT_TRUE(result.status == 0 || (result.status == 1 && result.errLines() == 1)) << result.err.toStdString();
    }
}

TEST_F(CliTest, NamesOfEveryKind)
{
    for (const char* name :
         {"with space.png", "B\xc3\xa4r \"quoted\" %s.png", "-dash.png", "two\nlines.png", "'single'.png"}) {
        const Result result = run({"image", "-q", "-o", name, "--width", "32", "--", Cube});
        EXPECT_EQ(result.status, 0) << name << ": " << result.err.toStdString();
        EXPECT_TRUE(QFile::exists(path(name))) << name;
    }
}

TEST_F(CliTest, ATransformIsUsedAsItIs)
{
    write("box.obj", "v -99 -99 -99\nv 99 -99 -99\nv 0 99 0\nv 0 -99 99\nf 1 2 3\nf 2 4 3\nf 4 1 3\nf 1 4 2\n");
    const QStringList common{"image", "-q", "box.obj", "--width", "64", "--panel", "64x64"};
    ASSERT_EQ(run(common + QStringList{"-o", "a.png", "--transform", "1 0 0 0  0 1 0 0  0 0 1 -900  0 0 0 1"}).status,
              0);
    ASSERT_EQ(run(common + QStringList{"-o", "b.png", "--transform", "1 0 0 0  0 1 0 0  0 0 1 900  0 0 0 1"}).status,
              0);
    const QImage behind(path("b.png"));
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            ASSERT_EQ(qAlpha(behind.pixel(x, y)), 0) << "everything is behind the camera";
    EXPECT_NE(QImage(path("a.png")), behind);
}

TEST_F(CliTest, CommandsEncodersAndModulesAreListed)
{
    const Result commands = run({"commands"});
    EXPECT_EQ(commands.status, 0);
    EXPECT_TRUE(commands.out.contains(QStringLiteral("grabimage  Grabs an image of the scene")));
    EXPECT_TRUE(commands.out.contains(QStringLiteral("width  Width of the grabbed image  [default 10000]")));
    const Result encoders = run({"encoders"});
    EXPECT_EQ(encoders.status, 0);
    EXPECT_TRUE(encoders.out.contains(QStringLiteral("mp4")));
    const Result modules = run({"modules"});
    EXPECT_EQ(modules.status, 0);
    EXPECT_TRUE(modules.out.contains(QStringLiteral("Grab  Offers picture and video grabbing of the scene")));
    EXPECT_TRUE(modules.out.contains(QStringLiteral("Drawing with: ")));
    EXPECT_FALSE(modules.out.contains(QStringLiteral("Problem"))) << modules.out.toStdString();
    for (const Result& result : {commands, encoders, modules})
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
}

TEST_F(CliTest, CommandTextsAndScripts)
{
    EXPECT_EQ(run({"run", Cube, "-c", "grabimage a.png 100", "-c", "grabimage width=50 filename=\"b.png\"", "--panel",
                   "100x100"})
                  .status,
              0);
    EXPECT_EQ(QImageReader(path("a.png")).size(), QSize(100, 100));
    EXPECT_EQ(QImageReader(path("b.png")).size(), QSize(50, 50));
    expectFailure(run({"run", Cube, "-c", "grabimage"}), 1, "grabimage: Parameter failure");
    expectFailure(run({"run", Cube, "-c", "grabpicture a.png"}), 1,
                  "There is no command \"grabpicture\"; there are: grabvideo, setvideosettings, grabimage");
    write("good.tov", "# a script\ngrabimage c.png 40\n\ngrabimage d.png 60\n");
    EXPECT_EQ(run({"run", Cube, "good.tov"}).status, 0);
    EXPECT_TRUE(QFile::exists(path("d.png")));
    write("syntax.tov", "grabimage c2.png 40\ngrabimage \"open\n");
    expectFailure(run({"run", Cube, "syntax.tov"}), 1, "syntax.tov, line 2: the quote at column 11 is not closed");
    EXPECT_FALSE(QFile::exists(path("c2.png"))) << "nothing runs of a script that cannot be read";
    write("wrong.tov", "grabimage e.png 40\n\ngrabimage f.png 1\ngrabimage g.png 40\n");
    const Result wrong = run({"run", Cube, "wrong.tov"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_TRUE(wrong.err.contains(QStringLiteral("grabimage: Target picture (1 x 0) size is to small!")))
        << wrong.err.toStdString();
    EXPECT_TRUE(wrong.err.contains(QStringLiteral("wrong.tov, line 3: the script ends here")))
        << wrong.err.toStdString();
    EXPECT_TRUE(QFile::exists(path("e.png")));
    EXPECT_FALSE(QFile::exists(path("g.png")));
}

TEST_F(CliTest, ASmallPictureThatTheDiskDidNotTakeIsNone)
{
    // It fits into a buffer, so that the writer reports success.
    for (const QByteArray& verb : {QByteArray("image ") + Bunny.toUtf8() + " -o a.bmp --width 16",
                                   QByteArray("run ") + Bunny.toUtf8() + " -c 'grabimage a.bmp 16'"}) {
        SCOPED_TRACE(verb.constData());
        const Result result = run({}, "ulimit -f 0; exec \"$0\" " + verb);
        EXPECT_EQ(result.status, 1) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("a.bmp"))) << result.err.toStdString();
        EXPECT_FALSE(QFile::exists(path("a.bmp")));
    }
}

TEST_F(CliTest, ARecordingWithoutChunksEndsByItself)
{
    // Neither memory nor temporary files: nothing can be recorded, and nothing will ever end it.
    write("settings.ini", "[settings]\ngrabvideousememoryasbuffer=false\n");
    for (const QByteArray& verb : {QByteArray("video ") + Cube.toUtf8() + " -o a.mkv --size 64x48 --turntable 3",
                                   QByteArray("video ") + Cube.toUtf8() + " -o a.mkv --size 64x48 --duration 3600",
                                   QByteArray("run ") + Cube.toUtf8() + " -c 'grabvideo a.mkv 64 48 sync=0'"}) {
        SCOPED_TRACE(verb.constData());
        const Result result = run(
            {}, "TOV_FAULT=tmpfile:1:0:13 LD_PRELOAD='" TOV_BINARY_DIR "/tests/libfaultshim.so' exec \"$0\" " + verb);
        EXPECT_EQ(result.status, 1) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("Couldn't open temporary file"))) << result.err.toStdString();
    }
}

TEST_F(CliTest, AScriptIsJudgedByItsFiles)
{
    const QString nothing = QStringLiteral("grabvideo filename=\"n.mkv\" width=64 height=48");
    expectFailure(run({"run", Cube, "-c", nothing}), 1,
                  "n.mkv was not written: a recording with sync=1 follows a trajectory");
    EXPECT_FALSE(QFile::exists(path("n.mkv"))) << "an empty file looks like a video";
    // One that was there before does not count either, and is left as it was.
    write("n.mkv", "old");
    expectFailure(run({"run", Cube, "-c", nothing, "-c", "grabimage after.png 40"}), 1, "n.mkv was not written");
    EXPECT_FALSE(QFile::exists(path("after.png")));
    EXPECT_EQ(QFileInfo(path("n.mkv")).size(), 3);
    // Where no file can be, nothing is begun: the second of these would have no end.
    for (const char* text : {"grabimage none/a.png 40", "GrabVideo none/a.mkv sync=0", "grabvideo none/a.mkv 64 48 0"})
        expectFailure(run({"run", Cube, "-c", text}), 1, "there is no folder");
    expectFailure(run({"run", Cube, "-c", "grabvideo m.mkv 64 48 yes"}), 1, "follows a trajectory");
    EXPECT_FALSE(QFile::exists(path("m.mkv")));
    EXPECT_EQ(run({"run", Cube, "--turntable", "3", "-c", nothing}).status, 0);
    EXPECT_GT(QFileInfo(path("n.mkv")).size(), 0);
    const Result full = run({}, "ulimit -f 20; exec \"$0\" run " + Bunny.toUtf8() + " -c 'grabimage full.ppm 2000'");
    EXPECT_EQ(full.status, 1);
    EXPECT_TRUE(full.err.contains(QStringLiteral("full.ppm"))) << full.err.toStdString();
}

TEST_F(CliTest, ClosedAndFullOutputsAreNoCrash)
{
    EXPECT_NE(run({}, "exec \"$0\" commands >/dev/full").status, 0);
    run({}, "exec \"$0\" --help >&-");
    const Result piped = run({}, "\"$0\" commands | true");
    EXPECT_EQ(piped.status, 0);
    EXPECT_EQ(run({}, "exec \"$0\" image -q " + Cube.toUtf8() + " -o a.png --width 32 >&- 2>&- </dev/null").status, 0);
}

TEST_F(CliTest, SettingsOfTheLocaleDoNotMatter)
{
    EXPECT_EQ(run({}, "LC_ALL=C exec \"$0\" image -q " + Cube.toUtf8() + " -o 'B\xc3\xa4r.png' --width 32").status, 0);
    EXPECT_TRUE(QFile::exists(path("B\xc3\xa4r.png")));
    EXPECT_EQ(run({}, "unset HOME XDG_RUNTIME_DIR; LC_ALL=de_DE.UTF-8 exec \"$0\" image -q " + Cube.toUtf8() +
                          " -o c.png --width 32")
                  .status,
              0);
}

TEST_F(CliTest, WithoutADisplayTheWindowSaysSo)
{
    expectFailure(run({}), 1, "there is no display for a window");
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

TEST_F(CliTest, AFastGifLeavesFramesOutAndSaysSo)
{
    const Result result = run({"video", Cube, "-o", "a.gif", "--size", "64x48", "--turntable", "12", "--fps", "60"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.err.contains(QStringLiteral("10 frames"))) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains(QStringLiteral("at most 50 frames a second"))) << result.err.toStdString();
}

TEST_F(CliTest, AVideoOfSomeSeconds)
{
    const Result result = run({"video", Cube, "-o", "a.mkv", "--size", "64x48", "--duration", "0.6"});
    EXPECT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_GT(QFileInfo(path("a.mkv")).size(), 0);
}

TEST_F(CliTest, VideosThatCannotBeMade)
{
    write("bad.csv", "1,2,3\n4,five,6\n");
    const std::pair<QStringList, const char*> rows[] = {
        {{"-o", "a.xyz", "--turntable", "3"}, "no video format \"xyz\" is known; known are "},
        {{"-o", "noending", "--turntable", "3"}, "has no ending that says the format"},
        {{"-o", "v1.2.mp4", "--turntable", "3"}, "everything after the first dot is the format"},
        {{"-o", "missing/a.mp4", "--turntable", "3"}, "there is no folder"},
        {{"-o", "a.mp4", "--turntable", "3", "--size", "15x64"}, "at least 16 x 16"},
        {{"-o", "a.mp4", "--turntable", "3", "--size", "40000x64"}, "are more than can be drawn here"},
        {{"-o", "a.mp4", "--trajectory", "none.csv"}, "there is no such file"},
        {{"-o", "a.mp4", "--trajectory", "bad.csv"}, "line 2: \"five\" is no number"},
    };
    for (const auto& [arguments, text] : rows) {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        expectFailure(run(QStringList{"video", Cube} + arguments), 1, text);
        EXPECT_TRUE(QDir(folder.path()).entryList({"*.mp4", "*.xyz"}).isEmpty());
    }
}

TEST_F(CliTest, AFileThatIsNoSettingsIsLeftAlone)
{
    const QByteArray notes = "what to do\nv 1 2 3\n", model = [] {
        QFile file(Cube);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }();
    const QByteArray settings = "; mine\n[settings]\ngrabvideofps=30\n";
    for (const QByteArray& content : {notes, model, settings}) {
        write("file", content);
        const Result result = run({"image", "--settings", path("file"), Cube, "-o", "a.png", "--width", "64"});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        EXPECT_TRUE(QFile::exists(path("a.png")));
        QFile file(path("file"));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const bool foreign = content != settings;
        EXPECT_EQ(result.err.contains(QStringLiteral("is no settings file and is left alone")), foreign)
            << result.err.toStdString();
        if (foreign)
            EXPECT_EQ(file.readAll(), content);
        else
            EXPECT_TRUE(file.readAll().contains("grabvideofps=30"));
    }
}

TEST_F(CliTest, SamplesMakeEdgesSmooth)
{
    const auto partly = [this](const QStringList& more) {
        const Result result = run(QStringList{"image", Bunny, "-o", "a.png", "--width", "320"} + more);
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        const QImage image(path("a.png"));
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += qAlpha(image.pixel(x, y)) != 0 && qAlpha(image.pixel(x, y)) != 255;
        return count;
    };
    EXPECT_EQ(partly({}), 0);
    EXPECT_EQ(partly({"--samples", "0"}), 0);
    EXPECT_GT(partly({"--samples", "4"}), 100);
    EXPECT_GT(partly({"--samples", "16"}), 100) << "as far as the driver goes";
    for (const char* wrong : {"-1", "17", "many", ""})
        expectFailure(run({"image", Cube, "-o", "b.png", "--samples", wrong}), 2, "is no number from 0 to 16");
    EXPECT_FALSE(QFile::exists(path("b.png")));
}

TEST_F(CliTest, ATrajectoryThatMovesNothingIsTold)
{
    write("points.csv", "x,y,z\n0,0,0\n1,0,0\n");
    write("camera.json", R"([{"camera": [1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]}])");
    write("other.json", R"([{"nobody": [1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]}])");
    const auto said = [this](const QString& model, const char* trajectory) {
        const Result result =
            run({"video", model, "-o", "a.mkv", "--size", "64x48", "--trajectory", QLatin1String(trajectory)});
        EXPECT_EQ(result.status, 0) << result.err.toStdString();
        return result.err.contains(QStringLiteral("the trajectory moves nothing"));
    };
    EXPECT_TRUE(said(Cube, "points.csv"));
    EXPECT_TRUE(said(Cube, "other.json"));
    EXPECT_FALSE(said(Cube, "camera.json"));
    const QString crane = QStringLiteral(TOV_SOURCE_DIR "/samples/crane.obj");
    EXPECT_FALSE(said(crane, "points.csv"));
}

TEST_F(CliTest, ASizeBelowZeroCostsNoFile)
{
    for (const char* text :
         {"grabvideo a.mkv -100 100 1", "grabvideo a.mkv 100 -100 1", "grabvideo a.mkv width=0 height=-5"}) {
        write("a.mkv", "an older video");
        expectFailure(run({"run", Cube, "--turntable", "2", "-c", QLatin1String(text)}), 1,
                      "width and height are pixels");
        QFile file(path("a.mkv"));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll(), "an older video");
    }
}

TEST_F(CliTest, AFreeRecordingOfAScriptIsSaidToBeEndless)
{
    const Result result = run({}, "\"$0\" run \"" + Cube.toUtf8() +
                                      "\" -c 'grabvideo a.mkv 64 48 0' & tov=$!; "
                                      "while ! [ -e a.mkv ]; do sleep 0.05; done; sleep 2; kill -INT $tov; wait $tov");
    EXPECT_EQ(result.status, 130);
    EXPECT_TRUE(result.err.contains(QStringLiteral("Recording freely; Ctrl-C ends it"))) << result.err.toStdString();
}

TEST_F(CliTest, CtrlCStopsARecordingAndKeepsIt)
{
    QProcess process;
    process.setWorkingDirectory(folder.path());
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.insert(QStringLiteral("TOV_SETTINGS"), path("settings.ini"));
    process.setProcessEnvironment(environment);
    process.start(Program, {"video", Cube, "-o", "a.mkv", "--size", "320x240", "--duration", "100", "-v"});
    ASSERT_TRUE(process.waitForStarted());
    // The file is made when the recording starts.
    QElapsedTimer clock;
    clock.start();
    while (!QFile::exists(path("a.mkv")) && clock.elapsed() < 30000)
        process.waitForReadyRead(10);
    ASSERT_TRUE(QFile::exists(path("a.mkv")));
    // Some frames' time.
    process.waitForFinished(600);
    kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 130);
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"), {"-v", "error", "-count_frames", "-show_entries", "stream=nb_read_frames",
                                            "-of", "csv=p=0", path("a.mkv")});
    ASSERT_TRUE(probe.waitForFinished(30000));
    EXPECT_GT(probe.readAllStandardOutput().trimmed().split(',').first().toInt(), 0);
}

TEST_F(CliTest, CtrlCDuringAPictureLeavesNothing)
{
    QProcess process;
    process.setWorkingDirectory(folder.path());
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.insert(QStringLiteral("TOV_SETTINGS"), path("settings.ini"));
    process.setProcessEnvironment(environment);
    process.start(Program, {"image", Bunny, "-o", "a.png", "--width", "12000"});
    ASSERT_TRUE(process.waitForStarted());
    process.waitForFinished(700);
    kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_FALSE(QFile::exists(path("a.png")));
}
