// The table of options, and how command lines become requests. Nothing is started and no file is opened.

#include "app/cli/batch.h"
#include "app/cli/options/options.h"
#include "app/cli/options/optiontable.h"
#include "app/cli/outputs/outputname.h"
#include "app/cli/options/requests.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <set>

using namespace tov::app;

namespace {

/// The error of a command line, empty if it is valid.
QString errorOf(const QStringList& arguments)
{
    Options options;
    QString error;
    if (!readOptions(arguments, options, &error))
        return error;
    ImageRequest image;
    VideoRequest video;
    RunRequest run;
    const bool isRead = options.verb == "image"   ? readImageRequest(options, image, &error)
                        : options.verb == "video" ? readVideoRequest(options, video, &error)
                                                  : readRunRequest(options, run, &error);
    EXPECT_EQ(isRead, error.isEmpty());
    return error;
}

Options optionsOf(const QStringList& arguments)
{
    Options options;
    QString error;
    EXPECT_TRUE(readOptions(arguments, options, &error)) << error.toStdString();
    return options;
}

ImageRequest imageOf(const QStringList& more)
{
    ImageRequest request;
    QString error;
    EXPECT_TRUE(readImageRequest(optionsOf(QStringList{"image", "a.obj", "-o", "a.png"} + more), request, &error))
        << error.toStdString();
    return request;
}

VideoRequest videoOf(const QStringList& more)
{
    VideoRequest request;
    QString error;
    EXPECT_TRUE(readVideoRequest(optionsOf(QStringList{"video", "a.obj", "-o", "a.mp4"} + more), request, &error))
        << error.toStdString();
    return request;
}

} // namespace

TEST(OptionTable, HasEachNameOnce)
{
    std::set<QString> names;
    for (const OptionSpec& option : optionTable()) {
        EXPECT_TRUE(names.insert(QLatin1String(option.name)).second) << option.name;
        if (option.shortName != 0) {
            EXPECT_TRUE(names.insert(QString(QLatin1Char(option.shortName))).second) << option.name;
        }
        EXPECT_EQ(option.value == OptionValue::None, qstrlen(option.placeholder) == 0) << option.name;
        EXPECT_GT(qstrlen(option.help), 0u) << option.name;
    }
}

TEST(OptionTable, NamesOnlyVerbsThatExist)
{
    for (const OptionSpec& option : optionTable()) {
        if (QLatin1String(option.verbs) == QLatin1String("*"))
            continue;
        for (const QString& verb : QString::fromLatin1(option.verbs).split(' ', Qt::SkipEmptyParts))
            EXPECT_TRUE(findVerb(verb)) << option.name;
    }
}

TEST(Help, FitsOnTwoScreensAndHasEveryOptionOfTheVerb)
{
    constexpr int Rows = 80, Columns = 120;
    for (const VerbSpec& verb : verbTable()) {
        const QString help = helpText(QLatin1String(verb.name));
        const QStringList lines = help.split('\n');
        EXPECT_LE(lines.size(), Rows) << verb.name;
        for (const QString& line : lines)
            EXPECT_LE(line.size(), Columns) << line.toStdString();
        for (const OptionSpec& option : optionTable()) {
            const QRegularExpression form(QStringLiteral("^  (-., )?--%1 ").arg(QLatin1String(option.name)),
                                          QRegularExpression::MultilineOption);
            EXPECT_EQ(help.contains(form), isOptionOf(option, QLatin1String(verb.name)))
                << verb.name << " --" << option.name;
        }
    }
}

TEST(Options, ValuesComeAfterABlankOrAnEqualsSign)
{
    EXPECT_EQ(optionsOf({"image", "--size", "3x4"}).value("size"), "3x4");
    EXPECT_EQ(optionsOf({"image", "--size=3x4"}).value("size"), "3x4");
    EXPECT_EQ(optionsOf({"image", "--azimuth", "-30"}).value("azimuth"), "-30");
    EXPECT_EQ(optionsOf({"image", "-o", "a=b.png"}).value("output"), "a=b.png");
    EXPECT_EQ(optionsOf({"image", "--", "--size"}).files, QStringList("--size"));
    EXPECT_EQ(optionsOf({"image", "-"}).files, QStringList("-"));
}

TEST(Options, OptionalValuesAreTakenOnlyWhereTheyFit)
{
    const Options turning = optionsOf({"video", "--turntable", "a.obj"});
    EXPECT_EQ(turning.value("turntable"), "");
    EXPECT_EQ(turning.files, QStringList("a.obj"));
    EXPECT_EQ(optionsOf({"video", "--turntable", "12"}).value("turntable"), "12");
    EXPECT_EQ(optionsOf({"video", "--turntable", "--fps", "3"}).value("turntable"), "");
    EXPECT_EQ(optionsOf({"video", "--animation", "walk"}).value("animation"), "walk");
    EXPECT_EQ(optionsOf({"video", "--animation", TOV_SOURCE_DIR "/README.md"}).files.size(), 1);
    EXPECT_EQ(optionsOf({"video", "--animation=walk", "a.obj"}).value("animation"), "walk");
}

TEST(Requests, ErrorsAreOneLineWithTheValue)
{
    const QStringList image{"image", "a.obj", "-o", "a.png"}, video{"video", "a.obj", "-o", "a.mp4"};
    const std::pair<QStringList, const char*> rows[] = {
        {{"--nonsense"}, "there is no option --nonsense (see tov --help)"},
        {{"imag", "a.obj", "-o", "a.png"}, "there is neither a verb nor a file named \"imag\" (see tov --help)"},
        {{"--width", "5"}, "the option --width needs a verb before it (see tov --help)"},
        {{"image", "--fps", "5"}, "image has no option --fps (see tov image --help)"},
        {{"image", "-o"}, "-o needs a value (OUT) (see tov image --help)"},
        {{"image", "--quiet=1"}, "--quiet takes no value (see tov image --help)"},
        {{"image"}, "image needs a model"},
        {{"image", "a.obj"}, "image needs an output: -o OUT"},
        {image + QStringList{"--width", "wide"}, "--width must be a whole number from 2 to 200000 (got \"wide\")"},
        {image + QStringList{"--width", "1"}, "--width must be a whole number from 2 to 200000 (got \"1\")"},
        {image + QStringList{"--width", "10.5"}, "--width must be a whole number from 2 to 200000 (got \"10.5\")"},
        {image + QStringList{"--width", "10", "--size", "3x3"}, "give either --size or --width"},
        {image + QStringList{"--size", "1x5"}, "a picture must have at least 2 x 2 pixels (got 1 x 5)"},
        {image + QStringList{"--size", "0x5"},
         "--size must be a size such as 1280x720, at most 65535x65535 (got \"0x5\")"},
        {image + QStringList{"--view", "front,up"},
         "--view: unknown view \"up\"; known views: front, back, left, right, top, bottom, iso"},
        {image + QStringList{"--view", "front", "--like", "b.png"},
         "only one of --view, --camera, --like, --position and --transform can be given"},
        {image + QStringList{"--background", "reddish"},
         "--background: \"reddish\" is not a colour; use e.g. white, '#204060', 'white..skyblue' or transparent"},
        {image + QStringList{"--transform", "1 2 3"},
         "--transform needs 16 finite numbers, row by row, in one argument"},
        {image + QStringList{"--transform", "1 0 0 0 0 1 0 0 0 0 nan 0 0 0 0 1"},
         "--transform needs 16 finite numbers, row by row, in one argument"},
        {image + QStringList{"--transform", "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0"},
         "--transform maps the scene onto a plane or a point; its determinant must not be 0"},
        {image + QStringList{"--samples", "16"}, "--samples must be a whole number from 0 to 8 (got \"16\")"},
        {image + QStringList{"--fov", "0"}, "--fov must be a number from 1 to 150 (got \"0\")"},
        {image + QStringList{"--zoom", "inf"}, "--zoom must be a number from 1e-06 to 1e+06 (got \"inf\")"},
        {image + QStringList{"--position", "1,2"}, "--position must be three numbers, e.g. 1,0,-2.5 (got \"1,2\")"},
        {image + QStringList{"--light", "sun"},
         "--light: unknown value \"sun\"; known values: studio, headlight, none"},
        {image + QStringList{"--show", "all"},
         "--show: unknown value \"all\"; known values: surface, edges, wireframe, points"},
        {image + QStringList{"--model-up", "Y"},
         "--model-up: unknown value \"Y\"; known values: +X, -X, +Y, -Y, +Z, -Z, auto"},
        {image + QStringList{"--quality", "101"}, "--quality must be a whole number from 0 to 100 (got \"101\")"},
        {image + QStringList{"--max-memory", "lots"},
         "--max-memory must be an amount such as 800M or 2G (got \"lots\")"},
        {{"image", "a.obj", "-o", "-"}, "-o - needs --format, e.g. --format png"},
        {image + QStringList{"--format", "png"}, "--format is only for -o -; for files the ending selects the format"},
        {{"run"}, "run needs a script, or -c TEXT"},
        {video, "video needs one of --turntable, --trajectory, --animation, --path and --free"},
        {video + QStringList{"--turntable", "5", "--free", "2"},
         "only one of --turntable, --trajectory, --path and --free can be given"},
        {video + QStringList{"--turntable", "5", "--duration", "2"},
         "give either the frames of --turntable or --duration"},
        {video + QStringList{"--turntable", "--duration", "-2"},
         "--duration must be a time above 0, e.g. 5s (got \"-2\")"},
        {video + QStringList{"--free", "nan"}, "--free must be a time above 0, e.g. 5s (got \"nan\")"},
        {video + QStringList{"--duration", "5"},
         "--duration and --ease need a motion; to record without one use --free SECONDS"},
        {video + QStringList{"--turntable", "0"}, "--turntable must be a whole number from 1 to 1000000 (got \"0\")"},
        {video + QStringList{"--turntable", "5", "--fps", "0"},
         "--fps must be a whole number from 1 to 1000 (got \"0\")"},
        {video + QStringList{"--turntable", "5", "--bitrate", "5"},
         "--bitrate must be a whole number from 100 to 2000000 (got \"5\")"},
        {video + QStringList{"--turntable", "--axis", "0,0,0"}, "--axis must not be 0,0,0"},
        {video + QStringList{"--free", "2", "--turns", "2"}, "--turns belongs to --turntable"},
        {video + QStringList{"--turntable", "--swing", "30", "--turns", "2"},
         "--swing is smooth and has no turns; leave out --turns and --ease"},
        {video + QStringList{"--trajectory", "t.csv", "--animation=walk"},
         "--animation can be combined with --turntable or --path, not with --trajectory or --free"},
        {video + QStringList{"--animation=walk", "--repeat"},
         "--repeat needs --duration, and --animation or --trajectory"},
        {video + QStringList{"--trajectory", "t.tum", "--every-position", "--duration", "2"},
         "--every-position belongs to --trajectory, without --duration"},
        {video + QStringList{"--animation=walk", "--ease"}, "--ease belongs to --turntable or --path"},
        {image + QStringList{"--time", "2"}, "--time belongs to --animation"},
        {image + QStringList{"--animation=walk", "--time", "-1"}, "--time must be a time, e.g. 0.5s (got \"-1\")"},
        {video + QStringList{"--turntable", "5", "--size", "15x64"},
         "a video must have at least 16 x 16 pixels (got 15 x 64)"},
    };
    for (const auto& [arguments, text] : rows) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        EXPECT_EQ(errorOf(arguments), QString::fromUtf8(text));
    }
}

TEST(Requests, SizesHaveTheirDefaults)
{
    EXPECT_EQ(imageOf({}).size, QSize(1920, 1080));
    EXPECT_EQ(imageOf({"--panel", "200x100"}).size, QSize(200, 100));
    EXPECT_EQ(imageOf({"--width", "1000", "--panel", "800x600"}).size, QSize(1000, 750));
    EXPECT_EQ(imageOf({"--width", "1000", "--panel", "100x29"}).size, QSize(1000, int(29.0 / 100 * 1000)));
    EXPECT_EQ(videoOf({"--turntable"}).size, QSize(1280, 720));
    EXPECT_EQ(videoOf({"--turntable", "--size", "64x48"}).view.panel, QSize(64, 48));
}

TEST(Requests, ViewsMotionsAndOutputsAreRead)
{
    const ImageRequest image = imageOf({"--view", "iso,top", "--azimuth", "30deg", "--elevation=-5\u00b0", "--zoom",
                                        "2", "--fov", "60", "--orthographic", "--background", "white..#204060",
                                        "--samples", "8", "--dpi", "300", "--max-memory", "2Gi"});
    EXPECT_EQ(image.view.views, (QStringList{"iso", "top"}));
    EXPECT_EQ(image.view.azimuth, 30);
    EXPECT_EQ(image.view.elevation, -5);
    EXPECT_EQ(image.view.zoom, 2);
    EXPECT_EQ(image.view.fieldOfView, 60);
    EXPECT_TRUE(image.view.isOrthographic);
    EXPECT_EQ(image.view.look.background.kind, Background::Kind::Gradient);
    EXPECT_EQ(image.view.look.background.bottom, QColor("#204060"));
    EXPECT_EQ(image.view.look.samples, 8);
    EXPECT_EQ(image.dpi, 300);
    EXPECT_EQ(image.output.maxMemory, qint64(2) << 30);
    EXPECT_EQ(imageOf({"--background", "transparent"}).view.look.background.kind, Background::Kind::Transparent);
    EXPECT_EQ(imageOf({"--background", "red"}).view.look.background.top, QColor(Qt::red));

    const VideoRequest video = videoOf({"--turntable", "--duration", "2.5s", "--turns", "-2", "--axis", "z", "--ease"});
    EXPECT_EQ(video.motion.kind, MotionRequest::Kind::Turntable);
    EXPECT_EQ(video.motion.seconds, 2.5);
    EXPECT_EQ(video.motion.turns, -2);
    EXPECT_EQ(video.motion.axis, "z");
    EXPECT_TRUE(video.motion.isEased);
    EXPECT_EQ(videoOf({"--turntable", "7"}).motion.positions, 7);
    EXPECT_EQ(videoOf({"--free", "500ms"}).motion.seconds, 0.5);
    const MotionRequest walk = videoOf({"--animation", "walk", "--duration", "3", "--repeat", "--turntable"}).motion;
    EXPECT_EQ(walk.animation, QString("walk"));
    EXPECT_EQ(walk.kind, MotionRequest::Kind::Turntable);
    EXPECT_TRUE(walk.isRepeated);
    EXPECT_EQ(videoOf({"--turntable", "--swing", "30deg"}).motion.swing, 30);
    EXPECT_TRUE(videoOf({"--trajectory", "t.tum", "--every-position"}).motion.takesEveryPosition);
    EXPECT_EQ(videoOf({"--path", "p.json"}).motion.file, "p.json");
}

TEST(Results, ArePlannedByViewAndModel)
{
    OutputRequest output;
    output.pattern = QStringLiteral("out/{name}-{view}-{n}.png");
    output.isEach = true;
    int number = 1;
    QString error;
    const auto plans = planResults({"x/a.b.obj", "c{n}.obj"}, {"front", "top"}, output, number, &error);
    ASSERT_EQ(plans.size(), 4u) << error.toStdString();
    EXPECT_EQ(plans[0].output, "out/a.b-front-1.png");
    EXPECT_EQ(plans[3].output, "out/c{n}-top-4.png") << "names of files are not patterns";
    EXPECT_EQ(plans[2].models, QStringList("c{n}.obj"));
    output.pattern = QStringLiteral("a.png");
    EXPECT_TRUE(planResults({"a.obj"}, {"front", "top"}, output, number, &error).empty());
    EXPECT_EQ(error, "two results have the name 'a.png'; use {name}, {view} or {n} in -o");
    output.pattern = QStringLiteral("{model}.png");
    EXPECT_TRUE(planResults({"a.obj"}, {}, output, number, &error).empty());
    EXPECT_EQ(error, "-o: unknown placeholder {model}; known: {name}, {view} and {n}");
}

TEST(JobLines, AreSplitLikeAShellDoes)
{
    QStringList words;
    EXPECT_TRUE(splitWords("a.obj  -o 'b c.png' \"d \\\" e\" f\\ g ''", words));
    EXPECT_EQ(words, (QStringList{"a.obj", "-o", "b c.png", "d \" e", "f g", ""}));
    EXPECT_FALSE(splitWords("'open", words));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
