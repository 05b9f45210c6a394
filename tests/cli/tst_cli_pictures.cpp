// Pictures from the command line.

#include "tests/cli/clifixture.h"

using namespace cli;

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
        {{"-o", "a.xyz"}, "unknown picture format 'xyz'; known formats: "},
        {{"-o", "noending"}, "does not end in a known picture format"},
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
    expectFailure(run({"image", Cube, "-o", "a.png", "--size", "8000x8000", "--max-memory", "100M"}), 1,
                  "a picture of 8000 x 8000 pixels needs 256 MB of memory and ");
    EXPECT_FALSE(QFile::exists(path("a.png")));
}

TEST_F(CliTest, AFullDiskLeavesNoFileThatLooksComplete)
{
    const Result result = run({}, "ulimit -f 20; exec \"$0\" image " + Bunny.toUtf8() + " -o full.png --width 2000");
    EXPECT_EQ(result.status, 1) << result.err.toStdString();
    // The image library prints a line of its own first.
    EXPECT_TRUE(result.err.endsWith(QStringLiteral("tov: cannot write 'full.png': File too large\n")))
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
        {"short.ply", "the header declares 1000 of \"vertex\", but the file is too short for them"},
        {"huge.ply", "the header declares 4294967295 of \"vertex\""},
        {"index.obj", "line 4: the index 9 is out of range; there are 3"},
        {"word.obj", "line 1: \"zero\" is not a number"},
        {"nan.obj", "line 1: \"nan\" is not a number"},
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

TEST_F(CliTest, PercentSignsInFileNamesAreKeptInMessages)
{
    expectFailure(run({"image", "%1 %2.obj", "-o", "a.png"}), 1, "%1 %2.obj cannot be opened: there is no such file");
    expectFailure(run({"image", Cube, "-o", "%2 %1/%3.png"}), 1, "%2 %1/%3.png cannot be written: there is no folder");
    expectFailure(run({"image", Cube, "-o", "%2.%1"}), 1, "unknown picture format '%1'; known formats: ");
    expectFailure(run({"video", Cube, "-o", "%2.%1", "--turntable"}), 1, "unknown video format '%1'; known formats: ");
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

TEST_F(CliTest, ASmallPictureThatWasNotWrittenIsAFailure)
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
    EXPECT_GT(partly({}), 100) << "4 samples by default";
    EXPECT_EQ(partly({"--samples", "0"}), 0);
    EXPECT_GT(partly({"--samples", "4"}), 100);
    for (const char* wrong : {"-1", "9", "many", ""})
        expectFailure(run({"image", Cube, "-o", "b.png", "--samples", wrong}), 2,
                      "--samples must be a whole number from 0 to 8");
    EXPECT_FALSE(QFile::exists(path("b.png")));
}

TEST_F(CliTest, CtrlCDuringAPictureLeavesNothing)
{
    QProcess process;
    start(process, {"image", Bunny, "-o", "a.png", "--width", "12000"});
    process.waitForFinished(700);
    kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_FALSE(QFile::exists(path("a.png")));
}
