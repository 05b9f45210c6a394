#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "tests/encoders/plugintest.h"
#include "tests/support/logcapture.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;
using tov::test::chunkOf;
using tov::test::LogCapture;

namespace {

constexpr int Width = 32;
constexpr int Height = 16;

/// Left half: the background under alpha 0; right half: (10, 20, number) half or fully covered.
QByteArray frame(int number, int alpha)
{
    QByteArray bytes(Width * Height * 4, 0);
    const int background[] = {51, 42, 38}; // B, G, R
    const int color[] = {number, 20, 10};
    for (int i = 0; i < Width * Height; ++i) {
        const int a = i % Width < Width / 2 ? 0 : alpha;
        for (int c = 0; c < 3; ++c)
            bytes[4 * i + c] = char((color[c] * a + background[c] * (255 - a) + 127) / 255);
        bytes[4 * i + 3] = char(a);
    }
    return bytes;
}

class FramesTest : public tov::test::PluginTest
{
protected:
    static void SetUpTestSuite() { loadPlugins({"frames.so"}); }
    std::unique_ptr<Encoder> encoderFor(const QString& name)
    {
        std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(name));
        if (encoder)
            encoder->setOutputParameters(folder.filePath(name), Width, Height, 50, 1000000);
        return encoder;
    }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); }
    QTemporaryDir folder;
};

} // namespace

TEST_F(FramesTest, EveryFrameIsAPictureAndTheListPlays)
{
    for (const char* name : {"turn.frames", "two words.frames"}) {
        SCOPED_TRACE(name);
        LogCapture log;
        auto encoder = encoderFor(QString::fromLatin1(name));
        ASSERT_TRUE(encoder);
        EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(frame(0, 255) + frame(100, 128)), false));
        EXPECT_TRUE(encoder->encodeVideoChunk(nullptr, false));
        EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(frame(200, 255) + "rest"), true));
        encoder->waitForFinish();
        EXPECT_EQ(
            log.withMessage(QStringLiteral("The last 4 bytes of a chunk are not a complete frame and are dropped"))
                .size(),
            1u);
        QProcess probe;
        probe.start(QStringLiteral("ffprobe"), {"-v", "error", "-count_frames", "-show_entries",
                                                "stream=codec_name,width,nb_read_frames:format=duration", "-of",
                                                "csv=p=0", folder.filePath(QString::fromLatin1(name))});
        ASSERT_TRUE(probe.waitForFinished(20000));
        EXPECT_EQ(QString::fromLatin1(probe.readAllStandardOutput().simplified()), "png,32,3 0.060000")
            << probe.readAllStandardError().constData();
    }
    EXPECT_EQ(files().size(), 8);
    const QImage half(folder.filePath(QStringLiteral("turn.00002.png")));
    ASSERT_EQ(half.size(), QSize(Width, Height));
    EXPECT_EQ(qAlpha(half.pixel(2, 2)), 0);
    const QRgb pixel = half.pixel(Width - 2, 2);
    EXPECT_EQ(qAlpha(pixel), 128);
    EXPECT_NEAR(qRed(pixel), 10, 2);
    EXPECT_NEAR(qGreen(pixel), 20, 2);
    EXPECT_NEAR(qBlue(pixel), 100, 2);
    EXPECT_EQ(QImage(folder.filePath(QStringLiteral("turn.00003.png"))).pixel(Width - 2, 2), qRgb(10, 20, 200));
}

TEST_F(FramesTest, PicturesThatALongerRecordingLeftAreRemovedAtTheEnd)
{
    // Files with similar names must not be touched.
    for (const char* other : {"b.00009.png", "aa.00009.png", "a.9.png", "a.00009.jpg", "a.0000x.png"}) {
        QFile file(folder.filePath(QLatin1String(other)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const QStringList others = files();
    for (const int count : {5, 2}) {
        auto encoder = encoderFor(QStringLiteral("a.frames"));
        ASSERT_TRUE(encoder);
        QByteArray frames;
        for (int i = 0; i < count; ++i)
            frames += frame(i, 255);
        encoder->encodeVideoChunk(chunkOf(frames), true);
        encoder->waitForFinish();
        QStringList expected = others;
        for (int i = 1; i <= count; ++i)
            expected << QStringLiteral("a.0000%1.png").arg(i);
        expected << QStringLiteral("a.frames");
        expected.sort();
        EXPECT_EQ(files(), expected) << count;
    }
}

TEST_F(FramesTest, APictureThatCannotBeWrittenLeavesNoFile)
{
    // A folder that is not empty cannot be replaced by a picture.
    ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("a.00002.png/inside")));
    LogCapture log;
    auto encoder = encoderFor(QStringLiteral("a.frames"));
    ASSERT_TRUE(encoder);
    encoder->encodeVideoChunk(chunkOf(frame(0, 255) + frame(1, 255) + frame(2, 255)), true);
    encoder->waitForFinish();
    EXPECT_EQ(files(), (QStringList{"a.00001.png", "a.frames"}));
    EXPECT_EQ(log.records().size(), 1u) << log.text();
}

TEST_F(FramesTest, AnAbortLeavesNoPictureAndNoList)
{
    for (int stage = 0; stage < 3; ++stage) {
        auto encoder = encoderFor(QStringLiteral("a.frames"));
        ASSERT_TRUE(encoder);
        if (stage > 0)
            encoder->encodeVideoChunk(chunkOf(frame(0, 255) + frame(1, 255)), stage == 2);
        encoder->abortEncoding();
        EXPECT_EQ(files(), QStringList()) << "stage " << stage;
    }
}

TEST_F(FramesTest, AListThatCannotBeWrittenIsLoggedOnce)
{
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), folder.filePath(QStringLiteral("full.frames"))));
    LogCapture log;
    auto encoder = encoderFor(QStringLiteral("full.frames"));
    ASSERT_TRUE(encoder);
    EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(frame(0, 255)), false));
    EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(frame(1, 255)), true));
    encoder->waitForFinish();
    EXPECT_EQ(log.withMessage(QStringLiteral("The list of pictures cannot be written")).size(), 1u) << log.text();
    EXPECT_FALSE(log.contains(QStringLiteral("Couldn't encode chunk!"))) << "later chunks would pile up";
}
