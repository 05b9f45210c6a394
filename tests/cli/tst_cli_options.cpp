// The effect of each option on the pixels of pictures.

#include "tests/cli/clifixture.h"

#include <algorithm>
#include <cmath>

using namespace cli;

namespace {

/// A box of 2 x 1 x 0.5, so that every view differs.
const char* const Box =
    "v -1 -.5 -.25\nv 1 -.5 -.25\nv 1 .5 -.25\nv -1 .5 -.25\nv -1 -.5 .25\nv 1 -.5 .25\nv 1 .5 .25\n"
    "v -1 .5 .25\nf 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 4 8 7 3\nf 1 5 8 4\nf 2 3 7 6\n";

/// The bounding rectangle of the drawn pixels.
QRect covered(const QImage& image)
{
    QRect box;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) > 127)
                box |= QRect(x, y, 1, 1);
    return box;
}

int coveredPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 127;
    return count;
}

int difference(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
}

class OptionEffect : public CliTest
{
protected:
    QImage picture(const QStringList& more)
    {
        write("box.obj", Box);
        runWell(QStringList{"image", "-q", "box.obj", "-o", "p.png", "--size", "200x150"} + more);
        return QImage(path("p.png"));
    }
    double shape(const QStringList& more)
    {
        const QRect box = covered(picture(more));
        return double(box.width()) / std::max(1, box.height());
    }
};

} // namespace

TEST_F(OptionEffect, ViewsShowTheirSide)
{
    EXPECT_NEAR(shape({"--view", "front", "--orthographic"}), 2, 0.1);
    EXPECT_NEAR(shape({"--view", "left", "--orthographic"}), 0.5, 0.05);
    EXPECT_NEAR(shape({"--view", "top", "--orthographic"}), 4, 0.2);
    EXPECT_NEAR(shape({"--view", "front", "--azimuth", "90", "--orthographic"}), 0.5, 0.05);
    EXPECT_NEAR(shape({"--view", "front", "--elevation", "90", "--orthographic"}), 4, 0.2);
    EXPECT_NEAR(shape({"--view", "front", "--roll", "90", "--orthographic"}), 0.5, 0.05);
    EXPECT_NEAR(shape({"--position", "0,0,9", "--orthographic"}), 2, 0.1);
    EXPECT_NEAR(shape({"--position", "0,0,9", "--up", "1,0,0", "--orthographic"}), 0.5, 0.05);
    EXPECT_NEAR(shape({"--model-up", "+X", "--orthographic"}), 0.5, 0.05);
}

TEST_F(OptionEffect, ZoomTargetAndLensChangeThePicture)
{
    const QRect whole = covered(picture({}));
    EXPECT_NEAR(covered(picture({"--zoom", "0.5"})).width() * 2, whole.width(), 12);
    EXPECT_GT(std::abs(covered(picture({"--position", "0,0,9", "--target", "1,0,0"})).center().x() - 100), 8);
    EXPECT_NE(picture({"--view", "iso", "--fov", "100"}), picture({"--view", "iso"}));
    const double wide = covered(picture({"--position", "0,0,9", "--fov", "20"})).width();
    const double narrow = covered(picture({"--position", "0,0,9", "--fov", "40"})).width();
    EXPECT_NEAR(wide / narrow, std::tan(20 * M_PI / 180) / std::tan(10 * M_PI / 180), 0.15);
}

TEST_F(OptionEffect, AFittedModelIsNeverCropped)
{
    for (const char* size : {"400x100", "100x400"}) {
        const QImage image = picture({"--view", "iso", "--size", size});
        EXPECT_TRUE(image.rect().adjusted(1, 1, -1, -1).contains(covered(image))) << size;
    }
}

TEST_F(OptionEffect, APictureCanBeReproducedAtALargerSize)
{
    picture({"--azimuth", "33", "--elevation", "21", "--fov", "70"});
    ASSERT_TRUE(QFile::rename(path("p.png"), path("first.png")));
    const QImage first(path("first.png"));
    EXPECT_EQ(first.text("Software"), "tov " TOV_VERSION);
    EXPECT_EQ(first.text("tov:models"), "box.obj");
    EXPECT_TRUE(first.text("tov:options").contains("--azimuth='33'")) << first.text("tov:options").toStdString();
    EXPECT_EQ(picture({"--like", "first.png"}), first);
    const QRect small = covered(first), large = covered(picture({"--like", "first.png", "--size", "400x300"}));
    EXPECT_NEAR(large.width(), 2 * small.width(), 3);
    write("foreign.png", "x");
    expectFailure(run({"image", "box.obj", "-o", "q.png", "--like", "foreign.png"}), 1, "cannot read 'foreign.png'");
    expectFailure(run({"image", "box.obj", "-o", "q.png", "--camera", "c"}), 1, "the model has no cameras");
}

TEST_F(OptionEffect, BackgroundsAreOpaqueOrTransparent)
{
    EXPECT_EQ(qAlpha(picture({}).pixel(1, 1)), 0);
    EXPECT_EQ(qAlpha(picture({"--background", "transparent"}).pixel(1, 1)), 0);
    const QImage plain = picture({"--background", "#204060"});
    EXPECT_FALSE(plain.hasAlphaChannel());
    EXPECT_EQ(plain.pixel(1, 1), qRgb(0x20, 0x40, 0x60));
    const QImage gradient = picture({"--background", "white..black"});
    EXPECT_EQ(gradient.pixel(1, 0), qRgb(255, 255, 255));
    EXPECT_EQ(gradient.pixel(1, 149), qRgb(0, 0, 0));
    EXPECT_NEAR(qRed(gradient.pixel(1, 75)), 127, 2);
}

TEST_F(OptionEffect, ResolutionAndQualityAreStored)
{
    EXPECT_NEAR(picture({"--dpi", "300"}).dotsPerMeterX() * 0.0254, 300, 0.1);
    write("box.obj", Box);
    for (const char* quality : {"10", "95"})
        runWell({"image", "box.obj", "-o", QLatin1String(quality) + ".jpg", "--quality", quality, "--view", "iso"});
    EXPECT_LT(QFileInfo(path("10.jpg")).size(), QFileInfo(path("95.jpg")).size());
}

TEST_F(OptionEffect, LightAndShowChangeWhatIsDrawn)
{
    const QImage studio = picture({"--view", "iso"});
    EXPECT_NE(picture({"--view", "iso", "--light", "none"}), studio);
    EXPECT_NE(picture({"--view", "iso", "--light", "headlight"}), studio);
    for (const char* show : {"edges", "wireframe", "points"})
        EXPECT_NE(picture({"--view", "iso", "--show", show}), studio) << show;
    expectFailure(run({"image", "box.obj", "-o", "q.png", "--light", "absent.hdr"}), 1, "absent.hdr");
}

TEST_F(OptionEffect, OneColourReplacesAllMaterials)
{
    const QImage red = picture({"--light", "none", "--color", "#ff0000", "--samples", "0"});
    EXPECT_EQ(red.pixel(red.width() / 2, red.height() / 2), qRgb(255, 0, 0));
    expectFailure(run({"image", "box.obj", "-o", "q.png", "--color", "reddish"}), 2, "--color: \"reddish\"");
}

TEST_F(OptionEffect, ExposureMultipliesTheLight)
{
    const auto brightness = [this](const char* exposure) {
        const QImage image = picture({"--light", "headlight", "--exposure", exposure});
        return qRed(image.pixel(image.width() / 2, image.height() / 2));
    };
    EXPECT_LT(brightness("0.5"), brightness("1"));
    EXPECT_EQ(brightness("0"), 0);
    expectFailure(run({"image", "box.obj", "-o", "q.png", "--exposure", "-1"}), 2, "--exposure must be a number");
}

TEST_F(OptionEffect, OpacityMakesAPartTransparent)
{
    write("two.obj", QByteArray("o left\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n"
                                "o right\nv 1 0 0\nv 2 0 0\nv 2 1 0\nv 1 1 0\nf 5 6 7 8\n"));
    const auto alphas = [this](const QStringList& more) {
        runWell(QStringList{"image", "two.obj", "-o", "two.png", "--size", "200x100", "--light", "none"} + more);
        const QImage image(path("two.png"));
        return QPair<int, int>(qAlpha(image.pixel(75, 50)), qAlpha(image.pixel(125, 50)));
    };
    EXPECT_EQ(alphas({}), qMakePair(255, 255));
    EXPECT_EQ(alphas({"--opacity", "left=0.4", "--opacity", "right=0.8"}), qMakePair(102, 204));
    expectFailure(run({"image", "two.obj", "-o", "q.png", "--opacity", "middle=0.4"}), 1,
                  "--opacity: there is no part \"middle\"");
    expectFailure(run({"image", "two.obj", "-o", "q.png", "--opacity", "left=2"}), 2, "--opacity needs a part");
}

TEST_F(OptionEffect, FlatTrianglesAndFeatureEdgesChangeWhatIsDrawn)
{
    const auto bunny = [this](const QStringList& more) {
        runWell(QStringList{"image", Bunny, "-o", "bunny.png", "--size", "200x150"} + more);
        return QImage(path("bunny.png"));
    };
    EXPECT_NE(bunny({"--flat"}), bunny({}));
    EXPECT_NE(picture({"--view", "iso", "--feature-edges"}), picture({"--view", "iso"}));
}

TEST_F(OptionEffect, PointSizeAndLineWidthAreSharesOfTheHeight)
{
    write("dot.ply", "ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float y\nproperty float z\n"
                     "end_header\n0 0 0\n1 0 0\n");
    const auto pointHeight = [this](const QStringList& more, int height) {
        runWell(QStringList{"image", "dot.ply", "-o", "dot.png", "--light", "none", "--samples", "0", "--size",
                            QString("%1x%1").arg(height)} +
                more);
        const QImage image(path("dot.png"));
        return covered(image.copy(0, 0, image.width() / 2, image.height())).height();
    };
    EXPECT_NEAR(pointHeight({"--point-size", "10"}, 100), 10, 1);
    EXPECT_NEAR(pointHeight({"--point-size", "10%"}, 200), 20, 1);
    const QStringList frame{"--view", "front", "--show", "wireframe", "--light", "none"};
    EXPECT_GT(coveredPixels(picture(frame + QStringList{"--line-width", "4"})),
              2 * coveredPixels(picture(frame + QStringList{"--line-width", "1"})));
    expectFailure(run({"image", "box.obj", "-o", "q.png", "--line-width", "90"}), 2, "--line-width must be a number");
}

TEST_F(OptionEffect, PicturesOverAColourEqualTheExactComposite)
{
    for (const char* samples : {"0", "4", "8"}) {
        for (const char* name : {"a.png", "a.tiff", "a.webp"}) {
            const QStringList line{"image", "-q", Bunny, "--size", "160x120", "--samples", samples};
            runWell(line + QStringList{"-o", name, "--quality", "100", "--background", "transparent"});
            // Qt's reader returns premultiplied colours for TIFF files.
            run({}, QByteArray("convert ") + name + " PNG32:straight.png");
            const QImage picture(path("straight.png"));
            ASSERT_TRUE(picture.hasAlphaChannel()) << name;
            for (const QColor& background : {QColor(Qt::white), QColor(Qt::black), QColor(0, 255, 0)}) {
                runWell(line + QStringList{"-o", "over.png", "--background", background.name()});
                const QImage over(path("over.png"));
                int worst = 0;
                for (int y = 0; y < picture.height(); ++y)
                    for (int x = 0; x < picture.width(); ++x) {
                        const QRgb pixel = picture.pixel(x, y);
                        const double alpha = qAlpha(pixel) / 255.0;
                        const auto composite = [alpha](int colour, int behind) {
                            return int(std::lround(alpha * colour + (1 - alpha) * behind));
                        };
                        worst = std::max(worst, difference(qRgb(composite(qRed(pixel), background.red()),
                                                                composite(qGreen(pixel), background.green()),
                                                                composite(qBlue(pixel), background.blue())),
                                                           over.pixel(x, y)));
                    }
                EXPECT_LE(worst, 2) << name << " with " << samples << " samples over "
                                    << background.name().toStdString();
            }
        }
    }
}

TEST_F(OptionEffect, VideosHaveTheRequestedRateLengthAndBitRate)
{
    const QStringList line{"video", Cube, "-o", "a.mkv", "--size", "64x48"};
    runWell(line + QStringList{"--turntable", "--duration", "1.5s", "--fps", "12"});
    EXPECT_EQ(probe("a.mkv", "nb_read_frames"), "18");
    EXPECT_EQ(probe("a.mkv", "r_frame_rate"), "12/1");
    runWell({"video", Bunny, "-o", "low.mp4", "--size", "320x240", "--turntable", "40", "--bitrate", "100"});
    runWell({"video", Bunny, "-o", "high.mp4", "--size", "320x240", "--turntable", "40", "--bitrate", "4000"});
    EXPECT_LT(2 * QFileInfo(path("low.mp4")).size(), QFileInfo(path("high.mp4")).size());
}

TEST_F(OptionEffect, EveryMotionMovesForExactlyItsDuration)
{
    const QString samples = QStringLiteral(TOV_SOURCE_DIR "/samples/");
    const QString crane = samples + QStringLiteral("crane.obj");
    const struct
    {
        QString model;
        QStringList motion;
        int frames;
    } rows[] = {
        {samples + QStringLiteral("arm.gltf"), {"--animation", "lift", "--fps", "5"}, 20},
        {samples + QStringLiteral("arm.gltf"), {"--animation", "--duration", "2", "--fps", "10"}, 20},
        {crane, {"--path", samples + QStringLiteral("tour.json"), "--duration", "2", "--fps", "10"}, 20},
        {crane, {"--trajectory", samples + QStringLiteral("flight.tum"), "--duration", "2", "--fps", "10"}, 20},
        {crane, {"--trajectory", samples + QStringLiteral("flight.tum"), "--every-position"}, 100},
        {crane, {"--trajectory", samples + QStringLiteral("crane.json"), "--duration", "2", "--fps", "10"}, 20},
        {crane, {"--trajectory", samples + QStringLiteral("crane.csv"), "--duration", "2", "--fps", "10"}, 20},
        {crane, {"--turntable", "20", "--axis", "0,0,1", "--turns", "-0.5", "--ease"}, 20},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.motion.join(QLatin1Char(' ')).toStdString());
        runWell(QStringList{"video", "--strict", row.model, "-o", "m.frames", "--size", "96x64"} + row.motion);
        const QString last = QStringLiteral("m.%1.png").arg(row.frames, 5, 10, QLatin1Char('0'));
        EXPECT_TRUE(QFileInfo::exists(path(last.toUtf8().constData())));
        const QImage first(path("m.00001.png"));
        const QImage middle(
            path(QStringLiteral("m.%1.png").arg(row.frames / 2, 5, 10, QLatin1Char('0')).toUtf8().constData()));
        EXPECT_EQ(first.size(), QSize(96, 64));
        EXPECT_NE(first, middle);
    }
}
