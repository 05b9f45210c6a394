#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "tests/encoders/plugintest.h"
#include "tests/support/logcapture.h"
#include "kernel/util/framebacklog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include <sys/resource.h>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;
using tov::test::chunkOf;
using tov::test::LogCapture;

namespace {

typedef std::array<int, 4> Color; ///< red, green, blue, alpha

QByteArray run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(60000)) << program.toStdString();
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

/// A frame of one colour with a moving marker, in the format of the capture thread: B, G, R, A.
QByteArray frame(int width, int height, const Color& color, int number = 0)
{
    QByteArray bytes(width * height * 4, 0);
    for (int i = 0; i < width * height; ++i) {
        const bool marker = width >= 64 && i / width < 8 && i % width / 8 == number % (width / 8);
        bytes[4 * i] = char(marker ? 255 : color[2]);
        bytes[4 * i + 1] = char(marker ? 255 : color[1]);
        bytes[4 * i + 2] = char(marker ? 255 : color[0]);
        bytes[4 * i + 3] = char(color[3]);
    }
    return bytes;
}

class FormatTest : public tov::test::PluginTest
{
protected:
    static void SetUpTestSuite() { loadPlugins({"ffmpeg.so", "frames.so"}); }
    std::unique_ptr<Encoder> encoderFor(const QString& name, int width, int height, int fps = 25, int rate = 4000000)
    {
        std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(name));
        if (encoder)
            encoder->setOutputParameters(name, width, height, fps, rate);
        return encoder;
    }
    QString path(const QString& name) const { return folder.filePath(name); }
    QJsonObject streamOf(const QString& file)
    {
        const auto document =
            QJsonDocument::fromJson(run(QStringLiteral("ffprobe"), {"-v", "error", "-count_frames", "-show_streams",
                                                                    "-show_format", "-of", "json", file}));
        return document.object()["streams"].toArray().at(0).toObject();
    }
    /// All frames decoded to R, G, B, A.
    std::vector<QByteArray> decoded(const QString& file, int width, int height, const QStringList& input = {})
    {
        const QByteArray raw =
            run(QStringLiteral("ffmpeg"),
                QStringList{"-v", "error"} + input +
                    QStringList{"-i", file, "-vf", "scale=in_color_matrix=auto:sws_flags=accurate_rnd+full_chroma_int",
                                "-pix_fmt", "rgba", "-vsync", "0", "-f", "rawvideo", "-"});
        const int size = width * height * 4;
        EXPECT_EQ(raw.size() % size, 0);
        std::vector<QByteArray> frames;
        for (int at = 0; at + size <= raw.size(); at += size)
            frames.push_back(raw.mid(at, size));
        return frames;
    }
    QTemporaryDir folder;
};

Color pixel(const QByteArray& rgba, int index)
{
    return {uchar(rgba[4 * index]), uchar(rgba[4 * index + 1]), uchar(rgba[4 * index + 2]), uchar(rgba[4 * index + 3])};
}

/// Gives access to the hooks that otherwise only the runner calls.
struct Hooks : Encoder
{
    using Encoder::encodeChunk;
    using Encoder::finishEncoding;
    using Encoder::initEncoding;
};

struct Row
{
    const char* suffix;
    const char* codec;
};

const Row Rows[] = {
    {"mp4", "h264"},       {"mov", "h264"},         {"mkv", "h264"},          {"hq.mp4", "h264"}, {"hevc.mp4", "hevc"},
    {"av1.mkv", "av1"},    {"webm", "vp9"},         {"avi", "mjpeg"},         {"gif", "gif"},     {"apng", "apng"},
    {"alpha.webm", "vp9"}, {"alpha.mov", "prores"}, {"lossless.mkv", "ffv1"},
};

std::vector<QString> everySuffix()
{
    std::vector<QString> suffixes{QStringLiteral("frames")};
    for (const Row& row : Rows)
        suffixes.push_back(QLatin1String(row.suffix));
    return suffixes;
}

/// The failures of this test so far.
int failures()
{
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

int errorsIn(const LogCapture& log)
{
    const auto records = log.records();
    return int(std::count_if(records.begin(), records.end(),
                             [](const auto& record) { return record.level <= tov::log::LevelError; }));
}

/// Frames that can be decoded; -1: the file cannot be opened or does not exist.
int playableFrames(const QString& file)
{
    if (QFileInfo(file).size() == 0)
        return -1;
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"), {"-v", "quiet", "-count_frames", "-select_streams", "v:0", "-show_entries",
                                            "stream=nb_read_frames", "-of", "csv=p=0", file});
    if (!probe.waitForFinished(60000))
        return -1;
    bool ok = false;
    const int frames = probe.readAllStandardOutput().trimmed().split(',').first().toInt(&ok);
    return ok ? frames : -1;
}

} // namespace

TEST_F(FormatTest, EveryFormatHoldsEveryFrameAtItsRate)
{
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.suffix);
        const QString file = path(QStringLiteral("a.") + QLatin1String(row.suffix));
        LogCapture log;
        auto encoder = encoderFor(file, 128, 96, 25);
        ASSERT_TRUE(encoder);
        // Three chunks of 7, 0 and 23 frames, one of them in a file.
        QByteArray first, last;
        for (int i = 0; i < 30; ++i)
            (i < 7 ? first : last) += frame(128, 96, {40, 90, 160, 255}, i);
        EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(first), false));
        EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(QByteArray()), false));
        auto* temporary = new QTemporaryFile;
        ASSERT_TRUE(temporary->open());
        temporary->write(last);
        EXPECT_TRUE(encoder->encodeVideoChunk(temporary, true));
        encoder->waitForFinish();
        for (const auto& record : log.records())
            EXPECT_GT(record.level, 2000) << record.message.toStdString();
        const QJsonObject stream = streamOf(file);
        EXPECT_EQ(stream["codec_name"].toString(), QLatin1String(row.codec));
        EXPECT_EQ(stream["width"].toInt(), 128);
        EXPECT_EQ(stream["height"].toInt(), 96);
        EXPECT_EQ(stream["nb_read_frames"].toString().toInt(), 30);
        EXPECT_EQ(stream["r_frame_rate"].toString(), "25/1");
        QProcess probe;
        probe.start(QStringLiteral("ffprobe"), {"-v", "warning", "-count_frames", "-show_streams", file});
        ASSERT_TRUE(probe.waitForFinished(60000));
        // The reader does not find the end of small flat JPEGs although they are complete, including those of the
        // ffmpeg program.
        QString warnings = QString::fromUtf8(probe.readAllStandardError());
        if (qstrcmp(row.suffix, "avi") == 0)
            warnings.remove(QRegularExpression(QStringLiteral("\\[mjpeg @ [^]]*\\] EOI missing, emulating\\n")));
        EXPECT_EQ(warnings.toStdString(), "");
        // A player that seeks to the middle shows the frame of that time.
        const auto all = decoded(file, 128, 96);
        const auto middle = decoded(file, 128, 96, {"-ss", "0.6"});
        ASSERT_EQ(all.size(), 30u);
        ASSERT_EQ(middle.size(), 15u);
        EXPECT_EQ(middle[0], all[15]);
        EXPECT_NE(middle[0], all[14]);
    }
}

TEST_F(FormatTest, ColoursComeBackWithinTwoOf255)
{
    const Color colors[] = {{200, 100, 50, 255},  {255, 0, 0, 255},  {0, 255, 0, 255},
                            {0, 0, 255, 255},     {16, 16, 16, 255}, {128, 128, 128, 255},
                            {255, 255, 255, 255}, {0, 0, 0, 255},    {250, 240, 10, 255}};
    for (const char* suffix : {"mp4", "mov", "mkv", "webm", "hq.mp4", "hevc.mp4", "av1.mkv", "avi"}) {
        for (const Color& color : colors) {
            SCOPED_TRACE(std::string(suffix) + " " + std::to_string(color[0]) + "," + std::to_string(color[1]) + "," +
                         std::to_string(color[2]));
            const QString file = path(QStringLiteral("c.") + QLatin1String(suffix));
            auto encoder = encoderFor(file, 32, 32);
            ASSERT_TRUE(encoder);
            QByteArray bytes;
            for (int i = 0; i < 3; ++i)
                bytes += frame(32, 32, color);
            encoder->encodeVideoChunk(chunkOf(bytes), true);
            encoder->waitForFinish();
            const QJsonObject stream = streamOf(file);
            // Motion JPEG uses the colours of JPEG.
            const bool jpeg = qstrcmp(suffix, "avi") == 0;
            EXPECT_EQ(stream["color_space"].toString(), jpeg ? "bt470bg" : "bt709");
            EXPECT_EQ(stream["color_range"].toString(), jpeg ? "pc" : "tv");
            const auto frames = decoded(file, 32, 32);
            ASSERT_EQ(frames.size(), 3u);
            const Color got = pixel(frames[1], 16 * 32 + 16);
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(got[std::size_t(c)], color[std::size_t(c)], 2) << "channel " << c;
        }
    }
}

TEST_F(FormatTest, LosslessIsExactAndKeepsAlpha)
{
    const QString file = path(QStringLiteral("l.lossless.mkv"));
    auto encoder = encoderFor(file, 64, 48);
    ASSERT_TRUE(encoder);
    QByteArray bytes(64 * 48 * 4, 0);
    for (int i = 0; i < 64 * 48; ++i) {
        const bool solid = i % 64 > 20;
        bytes[4 * i] = char(solid ? i % 251 : 51);
        bytes[4 * i + 1] = char(solid ? i % 241 : 42);
        bytes[4 * i + 2] = char(solid ? i % 239 : 38);
        bytes[4 * i + 3] = char(solid ? 255 : 0);
    }
    encoder->encodeVideoChunk(chunkOf(bytes + bytes), true);
    encoder->waitForFinish();
    const QByteArray raw =
        run(QStringLiteral("ffmpeg"), {"-v", "error", "-i", file, "-pix_fmt", "bgra", "-f", "rawvideo", "-"});
    EXPECT_EQ(raw, bytes + bytes);
}

TEST_F(FormatTest, TranslucentPixelsHaveNoFringeOverAnyColour)
{
    // The content of the framebuffer: a colour blended over the background, with its own alpha.
    const Color background = {38, 42, 51, 0};
    const Color color = {220, 40, 90, 255};
    QByteArray bytes = frame(64, 64, background);
    for (int i = 0; i < 64 * 64; ++i)
        for (int c = 0; c < 3; ++c)
            bytes[4 * i + 2 - c] = char(background[std::size_t(c)]);
    for (int x = 0; x < 64; ++x)
        for (int y = 16; y < 48; ++y) {
            const int alpha = 4 * x + 3;
            char* p = bytes.data() + 4 * (y * 64 + x);
            for (int c = 0; c < 3; ++c)
                p[2 - c] =
                    char((color[std::size_t(c)] * alpha + background[std::size_t(c)] * (255 - alpha) + 127) / 255);
            p[3] = char(alpha);
        }
    for (const char* suffix : {"lossless.mkv", "apng"}) {
        const QString file = path(QStringLiteral("t.") + QLatin1String(suffix));
        auto encoder = encoderFor(file, 64, 64);
        ASSERT_TRUE(encoder);
        encoder->encodeVideoChunk(chunkOf(bytes), true);
        encoder->waitForFinish();
        const auto frames = decoded(file, 64, 64);
        ASSERT_GE(frames.size(), 1u);
        for (int x = 0; x < 64; ++x) {
            const Color got = pixel(frames[0], 32 * 64 + x);
            const int alpha = 4 * x + 3;
            EXPECT_EQ(got[3], alpha) << suffix;
            for (const int over : {0, 128, 255})
                for (std::size_t c = 0; c < 3; ++c) {
                    const double exact = (color[c] * alpha + over * (255 - alpha)) / 255.0;
                    const double composite = (got[c] * alpha + over * (255 - alpha)) / 255.0;
                    EXPECT_NEAR(composite, exact, 2) << suffix << " at alpha " << alpha;
                }
        }
    }
}

TEST_F(FormatTest, EdgesOfTransparentVideosAreClean)
{
    // A disc with a soft edge over an empty background, as in the framebuffer; the decoded frame is compared with the
    // exact composite over four colours.
    constexpr int Size = 128;
    const Color background = {38, 42, 51, 0};
    const Color color = {230, 180, 40, 255};
    QByteArray bytes(Size * Size * 4, 0);
    std::vector<int> alphas(Size * Size);
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const double distance = std::hypot(x - 63.5, y - 63.5);
            const int alpha = int(std::lround(255 * std::clamp(40.5 - distance, 0.0, 1.0)));
            alphas[std::size_t(y * Size + x)] = alpha;
            char* p = bytes.data() + 4 * (y * Size + x);
            for (int c = 0; c < 3; ++c)
                p[2 - c] =
                    char((color[std::size_t(c)] * alpha + background[std::size_t(c)] * (255 - alpha) + 127) / 255);
            p[3] = char(alpha);
        }
    struct
    {
        const char* suffix;
        QStringList input;
        double mean, worst; ///< largest error of a channel, in levels of 255: mean near the edge, maximum anywhere
    } rows[] = {
        {"lossless.mkv", {}, 0.5, 3},
        {"apng", {}, 0.5, 3},
        {"alpha.mov", {}, 1.0, 8},
        {"alpha.webm", {"-c:v", "libvpx-vp9"}, 2.0, 16},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.suffix);
        const QString file = path(QStringLiteral("e.") + QLatin1String(row.suffix));
        auto encoder = encoderFor(file, Size, Size, 25, 20000000);
        ASSERT_TRUE(encoder);
        encoder->encodeVideoChunk(chunkOf(bytes + bytes + bytes), true);
        encoder->waitForFinish();
        const auto frames = decoded(file, Size, Size, row.input);
        ASSERT_EQ(frames.size(), 3u);
        for (const Color& over : {Color{0, 0, 0}, Color{255, 255, 255}, Color{0, 200, 0}, Color{200, 0, 200}}) {
            double sum = 0, worst = 0;
            int count = 0;
            for (int i = 0; i < Size * Size; ++i) {
                const Color got = pixel(frames[1], i);
                for (std::size_t c = 0; c < 3; ++c) {
                    const double exact =
                        (color[c] * alphas[std::size_t(i)] + over[c] * (255 - alphas[std::size_t(i)])) / 255.0;
                    const double composite = (got[c] * got[3] + over[c] * (255 - got[3])) / 255.0;
                    worst = std::max(worst, std::abs(composite - exact));
                    const double distance = std::hypot(i % Size - 63.5, i / Size - 63.5);
                    if (distance > 37 && distance < 44) {
                        sum += std::abs(composite - exact);
                        ++count;
                    }
                }
            }
            EXPECT_LE(sum / count, row.mean) << "over " << over[0] << "," << over[1] << "," << over[2];
            EXPECT_LE(worst, row.worst) << "over " << over[0] << "," << over[1] << "," << over[2];
        }
    }
}

TEST_F(FormatTest, AGifIsTransparentWhereNothingIsDrawn)
{
    // A moving disc with a soft edge: pixels that the disc covers at least by half are there, in its own colour, and
    // nothing of earlier frames is left.
    constexpr int Size = 96;
    const Color background = {38, 42, 51, 0};
    const Color color = {230, 180, 40, 255};
    const auto alphaAt = [](int i, int x, int y) {
        const double distance = std::hypot(x - 30.5 - 8 * i, y - 47.5);
        return int(std::lround(255 * std::clamp(20.5 - distance, 0.0, 1.0)));
    };
    QByteArray bytes;
    for (int i = 0; i < 5; ++i) {
        QByteArray picture(Size * Size * 4, 0);
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x) {
                char* p = picture.data() + 4 * (y * Size + x);
                const int alpha = alphaAt(i, x, y);
                for (int c = 0; c < 3; ++c)
                    p[2 - c] =
                        char((color[std::size_t(c)] * alpha + background[std::size_t(c)] * (255 - alpha) + 127) / 255);
                p[3] = char(alpha);
            }
        bytes += picture;
    }
    const QString file = path(QStringLiteral("t.gif"));
    auto encoder = encoderFor(file, Size, Size);
    ASSERT_TRUE(encoder);
    encoder->encodeVideoChunk(chunkOf(bytes), true);
    encoder->waitForFinish();
    const auto frames = decoded(file, Size, Size);
    ASSERT_EQ(frames.size(), 5u);
    for (int i = 0; i < 5; ++i) {
        int wrong = 0, worst = 0;
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x) {
                const Color got = pixel(frames[std::size_t(i)], y * Size + x);
                const bool there = alphaAt(i, x, y) >= 128;
                wrong += got[3] != (there ? 255 : 0);
                for (std::size_t c = 0; c < 3 && there; ++c)
                    worst = std::max(worst, std::abs(got[c] - color[c]));
            }
        EXPECT_EQ(wrong, 0) << "frame " << i;
        EXPECT_LE(worst, 4) << "frame " << i;
    }
}

TEST_F(FormatTest, OpaqueFormatsIgnoreAlpha)
{
    // Colours are kept whatever the alpha: a picture without a model stays complete.
    for (const char* suffix : {"mp4", "avi"}) {
        SCOPED_TRACE(suffix);
        const QString file = path(QStringLiteral("g.") + QLatin1String(suffix));
        auto encoder = encoderFor(file, 64, 48);
        encoder->encodeVideoChunk(chunkOf(frame(64, 48, {200, 100, 50, 0}) + frame(64, 48, {200, 100, 50, 0})), true);
        encoder->waitForFinish();
        const auto frames = decoded(file, 64, 48);
        ASSERT_GE(frames.size(), 1u);
        const Color got = pixel(frames[0], 30 * 64 + 30);
        EXPECT_EQ(got[3], 255);
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(got[c], (Color{200, 100, 50, 0}[c]), 2);
    }
}

TEST_F(FormatTest, AGifOfAFastRecordingRunsEvenly)
{
    // Players take delays of a hundredth of a second for a tenth.
    for (const int fps : {55, 60, 75, 240}) {
        SCOPED_TRACE(fps);
        const QString file = path(QStringLiteral("fast.gif"));
        auto encoder = encoderFor(file, 64, 48, fps, 1200000);
        for (int i = 0; i < 24; ++i)
            encoder->encodeVideoChunk(chunkOf(frame(64, 48, {50, 5 * i, 70, 255}, i)), i == 23);
        encoder->waitForFinish();
        QProcess probe;
        probe.start(QStringLiteral("ffprobe"), {"-v", "error", "-show_entries", "packet=pts", "-of", "csv=p=0", file});
        ASSERT_TRUE(probe.waitForFinished(60000));
        QList<int> times;
        for (const QByteArray& line : probe.readAllStandardOutput().simplified().split(' '))
            times << line.split(',').first().toInt();
        ASSERT_EQ(times.size(), 23 * 50 / fps + 1);
        for (int i = 0; i < times.size(); ++i)
            EXPECT_EQ(times[i], 2 * i);
    }
}

TEST_F(FormatTest, SizesRatesAndBitRatesHold)
{
    struct
    {
        int width, height, fps, rate, frames;
    } rows[] = {{2, 2, 25, 1000000, 3},         {16, 16, 1, 100000, 3},       {642, 480, 24, 800000, 5},
                {642, 480, 60, 100000000, 5},   {64, 48, 1000, 1200000, 20},  {1920, 1080, 25, 100000, 3},
                {1920, 1080, 60, 100000000, 3}, {4096, 2160, 25, 20000000, 2}};
    for (const Row& row : Rows)
        for (const auto& p : rows) {
            // A GIF measures time in hundredths of a second and holds at most 50 frames per second.
            const bool gif = qstrcmp(row.suffix, "gif") == 0;
            // The HEVC coder refuses blocks below 16 pixels; recordings have at least this size.
            if (qstrcmp(row.suffix, "hevc.mp4") == 0 && p.width < 16)
                continue;
            const int frames = gif && p.fps > 50 ? (p.frames - 1) * 50 / p.fps + 1 : p.frames;
            SCOPED_TRACE(std::string(row.suffix) + " " + std::to_string(p.width) + "x" + std::to_string(p.height) +
                         " at " + std::to_string(p.fps) + ", " + std::to_string(p.rate));
            LogCapture log;
            const QString file = path(QStringLiteral("m.") + QLatin1String(row.suffix));
            auto encoder = encoderFor(file, p.width, p.height, p.fps, p.rate);
            for (int i = 0; i < p.frames; ++i)
                encoder->encodeVideoChunk(chunkOf(frame(p.width, p.height, {50, 60 + i, 70, 255}, i)),
                                          i + 1 == p.frames);
            encoder->waitForFinish();
            for (const auto& record : log.records())
                EXPECT_GT(record.level, 2000) << record.message.toStdString();
            QProcess probe;
            probe.start(QStringLiteral("ffprobe"),
                        {"-v", "warning", "-count_frames", "-show_streams", "-of", "json", file});
            ASSERT_TRUE(probe.waitForFinished(60000));
            for (const QByteArray& warning : probe.readAllStandardError().split('\n'))
                // The Motion JPEG decoder reports this for flat pictures, including those of the ffmpeg program.
                EXPECT_TRUE(warning.trimmed().isEmpty() || warning.contains("EOI missing, emulating"))
                    << warning.constData();
            const QJsonObject stream =
                QJsonDocument::fromJson(probe.readAllStandardOutput()).object()["streams"].toArray().at(0).toObject();
            EXPECT_EQ(stream["width"].toInt(), p.width);
            EXPECT_EQ(stream["height"].toInt(), p.height);
            EXPECT_EQ(stream["nb_read_frames"].toString().toInt(), frames);
            // Animated pictures have a delay per frame and no rate, so the reported rate is a guess.
            if (!gif && qstrcmp(row.suffix, "apng") != 0) {
                EXPECT_EQ(stream["r_frame_rate"].toString().toStdString(),
                          QStringLiteral("%1/1").arg(p.fps).toStdString());
            }
        }
}

TEST_F(FormatTest, AFinishedMp4IsOneIndexedFileThatSeeks)
{
    for (const char* suffix : {"mp4", "mov", "hevc.mp4"}) {
        SCOPED_TRACE(suffix);
        const QString file = path(QStringLiteral("i.") + QLatin1String(suffix));
        auto encoder = encoderFor(file, 128, 96, 25);
        ASSERT_TRUE(encoder);
        for (int chunk = 0; chunk < 4; ++chunk) {
            QByteArray bytes;
            for (int i = 0; i < (chunk < 3 ? 25 : 29); ++i)
                bytes += frame(128, 96, {40, 90, 160, 255}, chunk * 25 + i);
            encoder->encodeVideoChunk(chunkOf(bytes), chunk == 3);
        }
        encoder->waitForFinish();
        // The boxes at the top: the type, one data box, one index; no fragment. Muxers may add empty boxes.
        QFile in(file);
        ASSERT_TRUE(in.open(QIODevice::ReadOnly));
        const QByteArray all = in.readAll();
        QStringList boxes;
        for (qint64 at = 0; at + 16 <= all.size();) {
            const auto* head = reinterpret_cast<const uchar*>(all.constData()) + at;
            quint64 size = quint64(head[0]) << 24 | head[1] << 16 | head[2] << 8 | head[3];
            boxes << QString::fromLatin1(all.mid(int(at) + 4, 4));
            if (size == 1) {
                size = 0;
                for (int i = 8; i < 16; ++i)
                    size = size << 8 | head[i];
            }
            ASSERT_GE(size, 8u);
            at += qint64(size);
        }
        boxes.removeAll("free");
        boxes.removeAll("wide");
        EXPECT_EQ(boxes, (QStringList{"ftyp", "mdat", "moov"}));
        // One offset per fragment, not per frame: version and flags, then the count.
        const int places = all.lastIndexOf("co64");
        ASSERT_GT(places, 0);
        EXPECT_EQ(all.mid(places + 8, 3), QByteArray(3, 0));
        EXPECT_GE(all.at(places + 11), 5);
        EXPECT_LE(all.at(places + 11), 104 / 4);
        const QJsonObject stream = streamOf(file);
        EXPECT_EQ(stream["nb_frames"].toString(), "104") << "according to the index";
        EXPECT_NEAR(stream["duration"].toString().toDouble(), 4.16, 0.001);
        EXPECT_NEAR(stream["start_time"].toString().toDouble(), 0.0, 0.001);
        // Frame 60 has its marker at this position: 128 / 8 = 16 positions.
        const auto frames = decoded(file, 128, 96, {"-ss", "2.4"});
        ASSERT_EQ(frames.size(), 44u);
        const Color marker = pixel(frames[0], 4 * 128 + (60 % 16) * 8 + 4);
        EXPECT_GT(marker[0] + marker[1] + marker[2], 600);
    }
}

TEST_F(FormatTest, AFileThatIsCutWhileItGrowsPlaysWhatWasEncoded)
{
    for (const char* suffix : {"mp4", "mkv", "webm"}) {
        SCOPED_TRACE(suffix);
        const QString file = path(QStringLiteral("k.") + QLatin1String(suffix));
        auto encoder = encoderFor(file, 128, 96, 25);
        ASSERT_TRUE(encoder);
        QByteArray bytes;
        for (int i = 0; i < 200; ++i)
            bytes += frame(128, 96, {40, 90, 160, 255}, i);
        encoder->encodeVideoChunk(chunkOf(bytes), false);
        // The file on disk now is what a killed process leaves.
        ASSERT_TRUE(tov::test::processUntil([&] {
            QFile growing(file);
            if (!growing.open(QIODevice::ReadOnly))
                return false;
            const QString copy = path(QStringLiteral("copy.") + QLatin1String(suffix));
            QFile::remove(copy);
            QFile out(copy);
            if (!out.open(QIODevice::WriteOnly))
                return false;
            out.write(growing.readAll());
            out.close();
            QProcess probe;
            probe.start(QStringLiteral("ffprobe"), {"-v", "quiet", "-count_frames", "-show_entries",
                                                    "stream=nb_read_frames", "-of", "csv=p=0", copy});
            probe.waitForFinished(20000);
            return probe.readAllStandardOutput().trimmed().split(',').first().toInt() >= 75;
        })) << "the file never had three playable seconds";
        encoder->abortEncoding();
        EXPECT_FALSE(QFile::exists(file));
    }
}

/// Not a test: the recording of the next test, in a process that can be killed. It prints the number of each frame that
/// the encoder has taken.
TEST_F(FormatTest, DISABLED_FeedUntilKilled)
{
    const QString file = qEnvironmentVariable("TOV_FEED");
    auto encoder = encoderFor(file, 320, 240);
    ASSERT_TRUE(encoder);
    for (int i = 0; i < 100000; ++i) {
        QSemaphore taken;
        QIODevice* chunk = chunkOf(frame(320, 240, {40 + i % 50, 90, 160, 255}, i));
        QObject::connect(
            chunk, &QObject::destroyed, chunk, [&taken] { taken.release(); }, Qt::DirectConnection);
        ASSERT_TRUE(encoder->encodeVideoChunk(chunk, false));
        taken.acquire();
        std::printf("taken %d\n", i + 1);
        std::fflush(stdout);
    }
}

TEST_F(FormatTest, AKilledRecordingPlaysExceptForItsLastSecond)
{
    // A second, and one frame per thread of the codecs that encode whole frames on several threads, if there are more
    // than on two cores. hq.mp4 looks further ahead.
    const int more = std::max(0, QThread::idealThreadCount() * 3 / 2 - 3);
    struct
    {
        const char* suffix;
        int ahead;
    } rows[] = {{"mp4", more},          {"mov", more},  {"mkv", more}, {"hq.mp4", 50 + more}, {"hevc.mp4", more},
                {"av1.mkv", 0},         {"webm", 0},    {"avi", more}, {"alpha.webm", 0},     {"alpha.mov", more},
                {"lossless.mkv", more}, {"apng", more}, {"gif", 0},    {"frames", 0}};
    QRandomGenerator random(11);
    for (const auto& row : rows) {
        const QString file = path(QStringLiteral("k.") + QLatin1String(row.suffix));
        const int moment = 100 + int(random.bounded(60));
        SCOPED_TRACE(std::string(row.suffix) + " killed after " + std::to_string(moment) + " frames");
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TOV_FEED"), file);
        environment.insert(QStringLiteral("TMPDIR"), folder.path());
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--gtest_filter=FormatTest.DISABLED_FeedUntilKilled"),
                       QStringLiteral("--gtest_also_run_disabled_tests")});
        ASSERT_TRUE(process.waitForStarted());
        int taken = 0;
        const auto read = [&] {
            while (process.canReadLine()) {
                const QByteArray line = process.readLine();
                if (line.startsWith("taken "))
                    taken = line.mid(6).toInt();
            }
        };
        while (taken < moment && process.waitForReadyRead(60000))
            read();
        ASSERT_GE(taken, moment) << process.readAllStandardError().constData();
        process.kill();
        process.waitForFinished();
        read();
        const QJsonObject stream = streamOf(file);
        const int missing = taken - stream["nb_read_frames"].toString().toInt();
        std::printf("%s: %d of %d frames are missing\n", row.suffix, missing, taken);
        EXPECT_LE(missing, 25 + row.ahead);
    }
}

TEST_F(FormatTest, RemaindersAreDroppedWithOneRecord)
{
    const QString file = path(QStringLiteral("r.mkv"));
    auto encoder = encoderFor(file, 64, 48);
    LogCapture log;
    encoder->encodeVideoChunk(chunkOf(frame(64, 48, {1, 2, 3, 255}) + QByteArray(100, 'x')), false);
    encoder->encodeVideoChunk(chunkOf(frame(64, 48, {1, 2, 3, 255})), true);
    encoder->waitForFinish();
    EXPECT_EQ(log.withMessage(QStringLiteral("The last 100 bytes of a chunk are not a complete frame and are dropped"))
                  .size(),
              1u)
        << log.text();
    EXPECT_EQ(streamOf(file)["nb_read_frames"].toString(), "2");
}

TEST_F(FormatTest, EveryFrameIsReportedAsTakenWhateverHappensToIt)
{
    using tov::util::FrameBacklog;
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), path(QStringLiteral("full.mp4"))));
    const struct
    {
        QString file;
        int width;
    } rows[] = {{path(QStringLiteral("a.mp4")), 64},         {path(QStringLiteral("a.gif")), 64},
                {path(QStringLiteral("a.frames")), 64},      {path(QStringLiteral("full.mp4")), 64},
                {path(QStringLiteral("missing/a.mp4")), 64}, {path(QStringLiteral("b.webm")), 16}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file.toStdString());
        FrameBacklog::clear();
        auto encoder = encoderFor(row.file, row.width, 48);
        ASSERT_TRUE(encoder);
        for (int chunk = 0; chunk < 3; ++chunk) {
            FrameBacklog::captured(2, 2 * row.width * 48 * 4);
            encoder->encodeVideoChunk(chunkOf(frame(row.width, 48, {40, 90, 160, 255}, chunk) +
                                              frame(row.width, 48, {40, 90, 60, 255}, chunk)),
                                      chunk == 2);
        }
        encoder->waitForFinish();
        EXPECT_EQ(FrameBacklog::totalTaken().frames, 6);
        EXPECT_EQ(FrameBacklog::totalTaken().bytes, 6 * row.width * 48 * 4);
        EXPECT_EQ(FrameBacklog::pending().frames, 0);
    }
    FrameBacklog::clear();
}

TEST_F(FormatTest, VeryShortRecordingsAreComplete)
{
    for (const char* suffix : {"mp4", "hevc.mp4"})
        for (const auto& [width, height] : {std::pair(16, 16), std::pair(64, 48), std::pair(130, 98)})
            for (int count = 1; count <= 9; ++count) {
                SCOPED_TRACE(std::string(suffix) + " " + std::to_string(width) + ", frames: " + std::to_string(count));
                LogCapture log;
                const QString file = path(QStringLiteral("s.") + QLatin1String(suffix));
                auto encoder = encoderFor(file, width, height);
                for (int i = 0; i < count; ++i)
                    encoder->encodeVideoChunk(chunkOf(frame(width, height, {i * 20, 90, 160, 255}, i)), i + 1 == count);
                encoder->waitForFinish();
                for (const auto& record : log.records())
                    EXPECT_GT(record.level, 2000) << record.message.toStdString();
                EXPECT_EQ(streamOf(file)["nb_frames"].toString().toInt(), count);
                EXPECT_EQ(streamOf(file)["nb_read_frames"].toString().toInt(), count);
            }
}

TEST_F(FormatTest, NothingAtAllIsHarmless)
{
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.suffix);
        LogCapture log;
        const QString file = path(QStringLiteral("n.") + QLatin1String(row.suffix));
        auto encoder = encoderFor(file, 64, 48);
        EXPECT_TRUE(encoder->encodeVideoChunk(nullptr, true)) << "null alone";
        encoder->waitForFinish();
        encoder = encoderFor(file, 64, 48);
        encoder->waitForFinish(); // no chunk was ever handed over
        encoder = encoderFor(file, 64, 48);
        encoder->encodeVideoChunk(chunkOf(QByteArray()), true);
        encoder->waitForFinish();
        encoder = encoderFor(file, 64, 48);
        encoder->encodeVideoChunk(chunkOf(frame(64, 48, {9, 9, 9, 255})), false);
        encoder->encodeVideoChunk(nullptr, true); // a recording that lost its last chunk
        encoder->waitForFinish();
        EXPECT_EQ(streamOf(file)["nb_read_frames"].toString(), "1");
        for (const auto& record : log.records())
            EXPECT_GT(record.level, 2000) << record.message.toStdString();
    }
}

TEST_F(FormatTest, ChunksAfterTheLastAreDroppedWithOneRecord)
{
    std::vector<QString> suffixes{QStringLiteral("frames")};
    for (const Row& row : Rows)
        suffixes.push_back(QLatin1String(row.suffix));
    for (const QString& suffix : suffixes) {
        SCOPED_TRACE(suffix.toStdString());
        const QString name = path(QStringLiteral("late.") + suffix);
        auto encoder = encoderFor(name, 64, 48);
        ASSERT_TRUE(encoder);
        const std::unique_ptr<QIODevice> chunk(chunkOf(frame(64, 48, {200, 30, 30, 255})));
        const auto bytes = [&name] {
            QFile file(name);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        };
        LogCapture log;
        const auto errors = [&log] {
            const auto records = log.records();
            return std::count_if(records.begin(), records.end(),
                                 [](const auto& record) { return record.level == tov::log::LevelError; });
        };
        ASSERT_TRUE((encoder.get()->*&Hooks::initEncoding)(chunk.get(), true));
        EXPECT_TRUE((encoder.get()->*&Hooks::encodeChunk)(chunk.get(), true));
        const QByteArray whole = bytes();
        EXPECT_FALSE(whole.isEmpty());
        EXPECT_EQ(errors(), 0) << log.text();
        for (const bool isLast : {false, true})
            EXPECT_TRUE((encoder.get()->*&Hooks::encodeChunk)(chunk.get(), isLast));
        (encoder.get()->*&Hooks::finishEncoding)();
        EXPECT_EQ(log.withMessage(QStringLiteral("Data after the last frame is dropped")).size(), 1u) << log.text();
        EXPECT_EQ(errors(), 1) << log.text();
        encoder->waitForFinish();
        EXPECT_EQ(bytes(), whole);
    }
}

TEST_F(FormatTest, AnAbortLeavesNoFile)
{
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.suffix);
        const QString file = path(QStringLiteral("x.") + QLatin1String(row.suffix));
        for (int stage = 0; stage < 3; ++stage) {
            auto encoder = encoderFor(file, 64, 48);
            if (stage > 0)
                encoder->encodeVideoChunk(chunkOf(frame(64, 48, {9, 9, 9, 255})), stage == 2);
            encoder->abortEncoding();
            EXPECT_FALSE(QFile::exists(file)) << "stage " << stage;
        }
    }
}

TEST_F(FormatTest, AnOutputThatCannotBeWrittenIsLoggedOnceAndNothingPilesUp)
{
    // Every write to /dev/full fails.
    for (const char* suffix : {"mp4", "mkv", "avi"}) {
        SCOPED_TRACE(suffix);
        const QString file = path(QStringLiteral("full.") + QLatin1String(suffix));
        ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), file));
        LogCapture log;
        auto encoder = encoderFor(file, 320, 240);
        QByteArray bytes;
        for (int i = 0; i < 60; ++i)
            bytes += frame(320, 240, {i * 4, 255 - i, 60, 255}, i);
        for (int chunk = 0; chunk < 3; ++chunk)
            EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(bytes), chunk == 2));
        encoder->waitForFinish();
        int errors = 0;
        for (const auto& record : log.records())
            errors += record.level <= 2000;
        EXPECT_EQ(errors, 1) << log.text();
        QFile::remove(file);
    }
    // No output at all.
    LogCapture log;
    std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(QStringLiteral("a.mp4")));
    EXPECT_FALSE(encoder->setOutputParameters(path(QStringLiteral("missing/a.mp4")), 64, 48, 25, 1));
    EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(frame(64, 48, {1, 1, 1, 255})), true));
    encoder->waitForFinish();
    EXPECT_TRUE(log.contains(QStringLiteral("There is no output file to write the video to"))) << log.text();
}

TEST_F(FormatTest, ADiskThatFillsUpLeavesWhatWasEncoded)
{
    const QString file = path(QStringLiteral("disk.mp4"));
    auto encoder = encoderFor(file, 320, 240, 25, 20000000);
    struct rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    struct rlimit small = before;
    small.rlim_cur = 200000;
    setrlimit(RLIMIT_FSIZE, &small);
    LogCapture log;
    QByteArray bytes;
    for (int i = 0; i < 150; ++i) {
        QByteArray noise = frame(320, 240, {100, 100, 100, 255}, i);
        for (int k = 0; k < noise.size(); k += 4)
            noise[k] = char(k * 7 + i * 13 + (k / 640) * 31);
        bytes += noise;
    }
    encoder->encodeVideoChunk(chunkOf(bytes), true);
    encoder->waitForFinish();
    setrlimit(RLIMIT_FSIZE, &before);
    int errors = 0;
    for (const auto& record : log.records())
        errors += record.level <= 2000;
    EXPECT_EQ(errors, 1) << log.text();
    EXPECT_LE(QFileInfo(file).size(), 200000);
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {"-v", "quiet", "-count_frames", "-show_entries", "stream=nb_read_frames", "-of", "csv=p=0", file});
    ASSERT_TRUE(probe.waitForFinished(20000));
    EXPECT_GT(probe.readAllStandardOutput().trimmed().split(',').first().toInt(), 0);
}

/// Not a test: the recording of the next test, run on a small disk.
TEST_F(FormatTest, DISABLED_FeedASmallDisk)
{
    const QString file = qEnvironmentVariable("TOV_FEED");
    LogCapture log;
    auto encoder = encoderFor(file, 160, 120, 25, 20000000);
    ASSERT_TRUE(encoder);
    QRandomGenerator random(5);
    for (int i = 0; i < 300; ++i) {
        QByteArray noise(160 * 120 * 4, 0);
        random.fillRange(reinterpret_cast<quint32*>(noise.data()), noise.size() / 4);
        EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(noise), i == 299));
    }
    encoder->waitForFinish();
    int errors = 0;
    for (const auto& record : log.records())
        errors += record.level <= 2000;
    EXPECT_EQ(errors, 1) << log.text();
}

TEST_F(FormatTest, OnASmallDiskWhatFitsPlaysAndOneErrorIsLogged)
{
    QProcess allowed;
    allowed.start(QStringLiteral("unshare"), {"-rm", "true"});
    if (!allowed.waitForFinished() || allowed.exitCode() != 0)
        GTEST_SKIP() << "file systems cannot be mounted here, not even in a name space";
    const QString disk = path(QStringLiteral("disk"));
    QDir().mkpath(disk);
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.suffix);
        const QString saved = path(QStringLiteral("saved.") + QLatin1String(row.suffix));
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TOV_FEED"), disk + QStringLiteral("/full.") + QLatin1String(row.suffix));
        // The leak checker cannot inspect a process in a name space of its own.
        environment.insert(QStringLiteral("ASAN_OPTIONS"),
                           qEnvironmentVariable("ASAN_OPTIONS") + QStringLiteral(":detect_leaks=0"));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral("unshare"),
                      {"-rm", "sh", "-c",
                       "mount -t tmpfs -o size=1m tmpfs \"$1\" && "
                       "\"$2\" --gtest_filter=FormatTest.DISABLED_FeedASmallDisk --gtest_also_run_disabled_tests && "
                       "cp \"$TOV_FEED\" \"$3\"",
                       "sh", disk, QCoreApplication::applicationFilePath(), saved});
        ASSERT_TRUE(process.waitForFinished(120000));
        ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardOutput().constData();
        EXPECT_LE(QFileInfo(saved).size(), 1 << 20);
        QProcess probe;
        probe.start(QStringLiteral("ffprobe"), {"-v", "quiet", "-count_frames", "-show_entries",
                                                "stream=nb_read_frames", "-of", "csv=p=0", saved});
        ASSERT_TRUE(probe.waitForFinished(20000));
        EXPECT_GT(probe.readAllStandardOutput().trimmed().split(',').first().toInt(), 0);
    }
}

TEST_F(FormatTest, AFileThatMayNotBeWrittenIsLeftAlone)
{
    // Root may write any file, but nobody can write a file with the name of a folder.
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.suffix);
        const QString file = path(QStringLiteral("taken.") + QLatin1String(row.suffix));
        QDir().mkpath(file);
        LogCapture log;
        std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(file));
        ASSERT_TRUE(encoder);
        EXPECT_FALSE(encoder->setOutputParameters(file, 64, 48, 25, 1000000));
        EXPECT_NE(std::string(log.text()).find("Encoder: Couldn't open file"), std::string::npos);
        EXPECT_TRUE(QFileInfo(file).isDir());
    }
}

TEST_F(FormatTest, ImpossibleSizesAreLoggedOnceAndLeaveNoPlayableFile)
{
    constexpr int Most = std::numeric_limits<int>::max(), Least = std::numeric_limits<int>::min();
    const std::pair<int, int> sizes[] = {
        {0, 0},         {0, 48},       {64, 0},        {-2, -2},       {-64, 48},           {64, -48},   {1, 1},
        {63, 48},       {64, 47},      {Most, 48},     {64, Most},     {Least, 48},         {64, Least}, {Most, Most},
        {Least, Least}, {Most, Least}, {Most - 1, 48}, {48, Most - 1}, {Most - 1, Most - 1}};
    int held = 0;
    for (const QString& suffix : everySuffix())
        for (const auto& [width, height] : sizes) {
            SCOPED_TRACE(suffix.toStdString() + " " + std::to_string(width) + "x" + std::to_string(height));
            const int before = failures();
            LogCapture log;
            const QString file = path(QStringLiteral("z.") + suffix);
            std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(file));
            ASSERT_TRUE(encoder);
            // Only odd sizes are refused there; later chunks find no file.
            const bool odd = width % 2 || height % 2;
            EXPECT_EQ(encoder->setOutputParameters(file, width, height, 25, 1000000), !odd);
            EXPECT_EQ(errorsIn(log), odd ? 1 : 0) << log.text();
            for (const bool isLast : {false, true})
                EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(QByteArray(64 * 48 * 4, 0)), isLast));
            encoder->waitForFinish();
            EXPECT_EQ(errorsIn(log), odd ? 2 : 1) << log.text();
            EXPECT_LE(playableFrames(file), 0);
            held += failures() == before;
            QFile::remove(file);
        }
    std::printf("sizes that no video has: %d of %d\n", held, int(everySuffix().size() * std::size(sizes)));
}

TEST_F(FormatTest, ImpossibleRatesGiveACompleteFileOrOneRecord)
{
    constexpr int Most = std::numeric_limits<int>::max(), Least = std::numeric_limits<int>::min();
    const std::pair<int, int> rates[] = {{0, 0},          {-5, -1},   {Least, 1000000}, {25, Least},
                                         {Most, 1000000}, {25, Most}, {Most, Most}};
    int held = 0, whole = 0;
    for (const QString& suffix : everySuffix())
        for (const auto& [fps, rate] : rates) {
            SCOPED_TRACE(suffix.toStdString() + " at " + std::to_string(fps) + ", " + std::to_string(rate));
            const int before = failures();
            LogCapture log;
            const QString file = path(QStringLiteral("r.") + suffix);
            auto encoder = encoderFor(file, 64, 48, fps, rate);
            EXPECT_TRUE(encoder->encodeVideoChunk(
                chunkOf(frame(64, 48, {50, 60, 70, 255}) + frame(64, 48, {60, 60, 70, 255}, 1)), true));
            encoder->waitForFinish();
            // A GIF holds 50 frames per second.
            const int frames = suffix == QLatin1String("gif") && fps > 50 ? 1 : 2;
            if (errorsIn(log) == 0) {
                EXPECT_EQ(playableFrames(file), frames);
                ++whole;
            } else {
                EXPECT_EQ(errorsIn(log), 1) << log.text();
                EXPECT_LT(playableFrames(file), frames) << log.text();
            }
            held += failures() == before;
            QFile::remove(file);
        }
    std::printf("impossible rates: %d of %d, %d of them complete files\n", held,
                int(everySuffix().size() * std::size(rates)), whole);
}

TEST_F(FormatTest, FramesThatNoBufferHoldsAreRefused)
{
    // 2 GiB per frame: a graphics card may draw it, but no byte array can hold it. A sparse file needs no disk space.
    int held = 0;
    for (const QString& suffix : everySuffix()) {
        SCOPED_TRACE(suffix.toStdString());
        auto* chunk = new QTemporaryFile;
        ASSERT_TRUE(chunk->open());
        ASSERT_TRUE(chunk->resize(qint64(32768) * 16384 * 4));
        const int before = failures();
        LogCapture log;
        const QString file = path(QStringLiteral("l.") + suffix);
        auto encoder = encoderFor(file, 32768, 16384);
        EXPECT_TRUE(encoder->encodeVideoChunk(chunk, true));
        encoder->waitForFinish();
        EXPECT_EQ(errorsIn(log), 1) << log.text();
        // The coder of pictures reports this first.
        if (suffix != QLatin1String("frames")) {
            EXPECT_TRUE(log.contains(QStringLiteral("A chunk of the recording cannot be read back"))) << log.text();
        }
        // The file of a list of pictures already contains its first line.
        EXPECT_LE(QFileInfo(file).size(), suffix == QLatin1String("frames") ? 21 : 0);
        EXPECT_LE(playableFrames(file), 0);
        held += failures() == before;
    }
    std::printf("frames that no buffer holds: %d of %d\n", held, int(everySuffix().size()));
}
