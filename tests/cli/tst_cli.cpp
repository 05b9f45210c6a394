// Behaviour of all verbs, and the verbs that list and run commands.

#include "tests/cli/clifixture.h"

using namespace cli;

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
    EXPECT_EQ(run({"--version"}).out, "tov " TOV_VERSION "\n");
}

TEST_F(CliTest, LocaleBringsTheLanguage)
{
    language = QStringLiteral("de_DE.UTF-8");
    EXPECT_TRUE(run({"--help"}).out.contains(QStringLiteral("zeigt 3D-Szenen")));
    expectFailure(run({"--nonsense"}), 2, "die Option --nonsense gibt es nicht");
    expectFailure(run({"image", "absent.obj", "-o", "a.png"}), 1, "diese Datei gibt es nicht");
    language = QStringLiteral("fr_FR.UTF-8");
    expectFailure(run({"image", "absent.obj", "-o", "a.png"}), 1, "there is no such file");
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
    EXPECT_TRUE(modules.out.contains(QStringLiteral("Renderer: ")));
    EXPECT_FALSE(modules.out.contains(QStringLiteral("Problem"))) << modules.out.toStdString();
    for (const Result& result : {commands, encoders, modules})
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
}

TEST_F(CliTest, EncodersAreListedWithoutAFileDialog)
{
    variables = {{QStringLiteral("LD_PRELOAD"), QStringLiteral(TOV_BINARY_DIR "/tests/libnodialog.so")}};
    const Result encoders = run({"encoders"});
    EXPECT_EQ(encoders.status, 0);
    for (const char* line : {"mp4            MPEG-4 video", "frames         Numbered PNG pictures and a list of them"})
        EXPECT_TRUE(encoders.out.contains(QLatin1String(line))) << line << "\n" << encoders.out.toStdString();
}

TEST_F(CliTest, CommandTextsAndScripts)
{
    EXPECT_EQ(run({"run", Cube, "-c", "grabimage a.png 100", "-c", "grabimage width=50 filename=\"b.png\"", "--panel",
                   "100x100"})
                  .status,
              0);
    EXPECT_EQ(QImageReader(path("a.png")).size(), QSize(100, 100));
    EXPECT_EQ(QImageReader(path("b.png")).size(), QSize(50, 50));
    expectFailure(run({"run", Cube, "-c", "grabimage"}), 1, "grabimage: the argument \"filename\" is missing");
    expectFailure(run({"run", Cube, "-c", "grabpicture a.png"}), 1,
                  "There is no command \"grabpicture\"; there are: grabvideo, setvideosettings, grabimage");
    write("good.tov", "# a script\ngrabimage c.png 40\n\ngrabimage d.png 60\n");
    EXPECT_EQ(run({"run", Cube, "good.tov"}).status, 0);
    EXPECT_TRUE(QFile::exists(path("d.png")));
    write("syntax.tov", "grabimage c2.png 40\ngrabimage \"open\n");
    expectFailure(run({"run", Cube, "syntax.tov"}), 1, "syntax.tov, line 2: the quote at column 11 is not closed");
    EXPECT_FALSE(QFile::exists(path("c2.png"))) << "no command of an unreadable script is run";
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

TEST_F(CliTest, AScriptIsJudgedByItsFiles)
{
    const QString nothing = QStringLiteral("grabvideo filename=\"n.mkv\" width=64 height=48");
    expectFailure(run({"run", Cube, "-c", nothing}), 1,
                  "n.mkv was not written: a recording with sync=1 follows a trajectory");
    EXPECT_FALSE(QFile::exists(path("n.mkv"))) << "an empty file looks like a video";
    // An older file does not count either, and is not changed.
    write("n.mkv", "old");
    expectFailure(run({"run", Cube, "-c", nothing, "-c", "grabimage after.png 40"}), 1, "n.mkv was not written");
    EXPECT_FALSE(QFile::exists(path("after.png")));
    EXPECT_EQ(QFileInfo(path("n.mkv")).size(), 3);
    // Nothing is started if the file cannot be written: the second of these recordings would never end.
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

TEST_F(CliTest, ClosedAndFullOutputsDoNotCrash)
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

TEST_F(CliTest, WithoutADisplayTheWindowReportsIt)
{
    expectFailure(run({}), 1, "there is no display for a window");
}

TEST_F(CliTest, AFileThatIsNotASettingsFileIsNotChanged)
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
        EXPECT_EQ(result.err.contains(QStringLiteral("is not a settings file and is not changed")), foreign)
            << result.err.toStdString();
        if (foreign)
            EXPECT_EQ(file.readAll(), content);
        else
            EXPECT_TRUE(file.readAll().contains("grabvideofps=30"));
    }
}

TEST_F(CliTest, ANegativeSizeDestroysNoFile)
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

TEST_F(CliTest, AFreeRecordingOfAScriptIsReportedAsEndless)
{
    const Result result = run({}, "\"$0\" run \"" + Cube.toUtf8() +
                                      "\" -c 'grabvideo a.mkv 64 48 0' & tov=$!; "
                                      "while ! [ -e a.mkv ]; do sleep 0.05; done; sleep 2; kill -INT $tov; wait $tov");
    EXPECT_EQ(result.status, 130);
    EXPECT_TRUE(result.err.contains(QStringLiteral("Recording freely; Ctrl-C ends it"))) << result.err.toStdString();
}

TEST_F(CliTest, TheRecipesOfTheManualWork)
{
    QFile manual(QStringLiteral(TOV_SOURCE_DIR "/docs/recipes.md"));
    ASSERT_TRUE(manual.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(manual.readAll());
    QDir(folder.path()).mkdir("bin");
    ASSERT_TRUE(QFile::link(Program, path("bin/tov")));
    ASSERT_TRUE(QFile::copy(Bunny, path("bunny.obj")) && QFile::copy(Cube, path("cube.ply")));
    variables["PATH"] = path("bin") + ":" + qEnvironmentVariable("PATH");
    int count = 0;
    for (const QString& line : text.split('\n')) {
        if (!line.startsWith("    "))
            continue;
        ++count;
        const Result result = run({}, line.toUtf8());
        EXPECT_EQ(result.status, 0) << line.toStdString() << "\n" << result.err.toStdString();
    }
    EXPECT_GE(count, 8);
    EXPECT_NEAR(QImage(path("paper.png")).dotsPerMeterX() * 0.0254, 300, 0.1);
    EXPECT_FALSE(QImage(path("paper.png")).hasAlphaChannel());
    EXPECT_EQ(QImageReader(path("large.png")).size(), QSize(3200, 2400));
    EXPECT_EQ(probe("turn.alpha.webm", "nb_read_frames"), "50");
    for (const char* name : {"bunny-front.png", "bunny-bottom.png", "cube-left.png", "b1.png", "c 1.jpg", "piped.jpg"})
        EXPECT_FALSE(QImage(path(name)).isNull()) << name;
}
