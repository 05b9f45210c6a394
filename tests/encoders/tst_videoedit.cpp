// Finished recordings are retimed or joined without encoding them again.

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "tests/encoders/blockreader.h"
#include "tests/encoders/plugintest.h"
#include "tests/support/logcapture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;
using tov::test::chunkOf;
using tov::test::LogCapture;

namespace {

constexpr int Width = 96;
constexpr int Height = 64;
constexpr int Fps = 25;

const char* const Suffixes[] = {"mp4", "mov", "mkv",  "hq.mp4",     "hevc.mp4",  "av1.mkv",      "webm",
                                "avi", "gif", "apng", "alpha.webm", "alpha.mov", "lossless.mkv", "frames"};

/// A frame in the format of the capture thread: a disc that moves with the number, over a background with alpha 0.
QByteArray frame(int number, int width = Width, int height = Height)
{
    QByteArray bytes(width * height * 4, 0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            char* p = bytes.data() + 4 * (y * width + x);
            const bool drawn = std::hypot(x - (number * 3) % width, y - height / 2) < height / 3;
            p[0] = char(drawn ? 200 - 4 * (number % 40) : 51);
            p[1] = char(drawn ? 40 + 3 * (x % 60) : 42);
            p[2] = char(drawn ? 90 : 38);
            p[3] = char(drawn ? 255 : 0);
        }
    return bytes;
}

QByteArray output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(120000)) << program.toStdString();
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

typedef int (*Retime)(const char*, const bool*, const double*, long long, double);
typedef int (*Join)(const char* const*, const long long*, int, const char*, const bool*);

class VideoEdit : public tov::test::PluginTest
{
protected:
    static void SetUpTestSuite() { loadPlugins({"ffmpeg.so", "frames.so"}); }

    QString path(const QString& name) const { return folder.filePath(name); }
    /// Records frames from number `first` on.
    void record(const QString& file, int first, int count, int fps = Fps, int width = Width, int height = Height)
    {
        std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(file));
        ASSERT_TRUE(encoder) << file.toStdString();
        encoder->setOutputParameters(file, width, height, fps, 2000000);
        QByteArray bytes;
        for (int i = 0; i < count; ++i)
            bytes += frame(first + i, width, height);
        EXPECT_TRUE(encoder->encodeVideoChunk(chunkOf(bytes), true));
        encoder->waitForFinish();
    }
    template <typename Function>
    Function resolve(const char* name) const
    {
        QLibrary library(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/ffmpeg.so"));
        return reinterpret_cast<Function>(library.resolve(name));
    }
    int retime(const QString& file, const std::vector<double>& starts, double seconds) const
    {
        const auto function = resolve<Retime>("retimeVideo");
        return function ? function(QFile::encodeName(file).constData(), &stop, starts.empty() ? nullptr : starts.data(),
                                   (long long)(starts.size()), seconds)
                        : -2;
    }
    int join(const QStringList& parts, const QString& result, const std::vector<long long>& counts = {}) const
    {
        std::vector<QByteArray> names;
        std::vector<const char*> pointers;
        for (const QString& part : parts)
            names.push_back(QFile::encodeName(part));
        for (const QByteArray& name : names)
            pointers.push_back(name.constData());
        const auto function = resolve<Join>("joinVideos");
        return function ? function(pointers.data(), counts.empty() ? nullptr : counts.data(), int(parts.size()),
                                   QFile::encodeName(result).constData(), &stop)
                        : -2;
    }
    /// A digest of each decoded frame.
    static QStringList decoded(const QString& file)
    {
        QStringList arguments{"-v", "error"};
        if (file.endsWith(QLatin1String(".alpha.webm")))
            arguments << "-c:v"
                      << "libvpx-vp9";
        const QByteArray text =
            output(QStringLiteral("ffmpeg"),
                   arguments + QStringList{"-i", file, "-vsync", "0", "-pix_fmt", "rgba", "-f", "framemd5", "-"});
        QStringList digests;
        for (const QByteArray& line : text.split('\n'))
            if (!line.startsWith('#') && !line.isEmpty())
                digests << QString::fromLatin1(line.mid(line.lastIndexOf(',') + 1).trimmed());
        return digests;
    }
    /// The time at which each frame appears, and the end of the last one, in seconds from the first one.
    static std::vector<double> times(const QString& file)
    {
        if (file.endsWith(QLatin1String(".frames")))
            return listedTimes(file);
        const QByteArray text = output(QStringLiteral("ffprobe"),
                                       {"-v", "error", "-select_streams", "v:0", "-show_entries",
                                        "frame=best_effort_timestamp_time,pkt_duration_time", "-of", "csv=p=0", file});
        std::vector<double> result;
        double end = 0;
        for (const QByteArray& line : text.split('\n')) {
            const QList<QByteArray> fields = line.trimmed().split(',');
            if (fields.size() < 2)
                continue;
            result.push_back(fields[0].toDouble());
            end = result.back() + fields[1].toDouble();
        }
        result.push_back(end);
        for (std::size_t i = result.size(); i-- > 0;)
            result[i] -= result.front();
        return result;
    }
    /// Read from the list itself, because FFmpeg rounds its times to the default rate of pictures.
    static std::vector<double> listedTimes(const QString& file)
    {
        QFile list(file);
        EXPECT_TRUE(list.open(QIODevice::ReadOnly));
        std::vector<double> result{0};
        while (!list.atEnd()) {
            const QByteArray line = list.readLine();
            if (line.startsWith("duration "))
                result.push_back(result.back() + line.mid(9).toDouble());
        }
        return result;
    }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); }

    QTemporaryDir folder;
    bool stop = false;
};

int errorsIn(const LogCapture& log)
{
    int errors = 0;
    for (const auto& record : log.records())
        errors += record.level <= tov::log::LevelError;
    return errors;
}

/// The number of frames for a strict reader of gif and apng; other formats are not read.
int blocksIn(const QString& file, int otherwise)
{
    if (file.endsWith(QLatin1String(".gif")))
        return tov::test::strictGifFrames(file);
    return file.endsWith(QLatin1String(".apng")) ? tov::test::strictApngFrames(file) : otherwise;
}

} // namespace

TEST_F(VideoEdit, JoiningListsAgainLeavesNoOtherFiles)
{
    record(path("a.frames"), 0, 2);
    ASSERT_EQ(join({path("a.frames")}, path("whole.frames")), 1);
    const QStringList once = files();
    // The pictures may then be names of the same files.
    ASSERT_EQ(join({path("a.frames")}, path("whole.frames")), 1);
    EXPECT_EQ(files(), once);
}

TEST_F(VideoEdit, ARetimedFileHasTheRequestedDurationAndKeepsItsFrames)
{
    constexpr int Count = 30;
    for (const char* suffix : Suffixes)
        for (const double seconds : {3.7, 1.0}) {
            SCOPED_TRACE(std::string(suffix) + " " + std::to_string(seconds));
            const QString file = path(QStringLiteral("turn.") + QLatin1String(suffix));
            ASSERT_NO_FATAL_FAILURE(record(file, 0, Count));
            const QStringList before = decoded(file);
            const QStringList names = files();
            LogCapture log;
            ASSERT_EQ(retime(file, {}, seconds), 1) << log.text();
            EXPECT_EQ(decoded(file), before);
            EXPECT_EQ(files(), names);
            EXPECT_EQ(blocksIn(file, Count), Count);
            const std::vector<double> shown = times(file);
            ASSERT_EQ(shown.size(), std::size_t(Count) + 1);
            EXPECT_NEAR(shown.back(), seconds, 0.03 * seconds);
            // No frame is shown more than a hundredth of a second too early or too late.
            for (int i = 0; i < Count; ++i)
                EXPECT_NEAR(shown[std::size_t(i)], seconds * i / Count, 0.011) << i;
        }
}

TEST_F(VideoEdit, AStallInTheMiddleStaysWhereItWas)
{
    constexpr int Count = 30;
    std::vector<double> starts;
    for (int i = 0; i < Count; ++i)
        starts.push_back(0.04 * i + (i >= Count / 2 ? 2 : 0));
    const double seconds = 0.04 * Count + 2;
    for (const char* suffix : Suffixes) {
        SCOPED_TRACE(suffix);
        const QString file = path(QStringLiteral("stall.") + QLatin1String(suffix));
        ASSERT_NO_FATAL_FAILURE(record(file, 0, Count, 30));
        const QStringList before = decoded(file);
        LogCapture log;
        ASSERT_EQ(retime(file, starts, seconds), 1) << log.text();
        EXPECT_EQ(decoded(file), before);
        const std::vector<double> shown = times(file);
        ASSERT_EQ(shown.size(), std::size_t(Count) + 1);
        EXPECT_NEAR(shown.back(), seconds, 0.03 * seconds);
        // AVI supports one rate only.
        if (qstrcmp(suffix, "avi") == 0)
            continue;
        for (int i = 0; i < Count; ++i)
            EXPECT_NEAR(shown[std::size_t(i)], starts[std::size_t(i)], 0.011) << i;
    }
}

TEST_F(VideoEdit, ImpossibleTimesAreRefusedAndTheFileStays)
{
    const QString file = path(QStringLiteral("a.mp4"));
    const QString gif = path(QStringLiteral("a.gif"));
    ASSERT_NO_FATAL_FAILURE(record(file, 0, 3));
    ASSERT_NO_FATAL_FAILURE(record(gif, 0, 30));
    const double none = std::nan("");
    const struct
    {
        QString name;
        std::vector<double> starts;
        double seconds;
        int status;
    } rows[] = {
        {file, {}, 0, 0},
        {file, {}, -1, 0},
        {file, {}, none, 0},
        {file, {0, 1}, 3, 0},
        {file, {0, 1, 2, 3}, 4, 0},
        {file, {0, 2, 1}, 3, 0},
        {file, {0, 1, none}, 3, 0},
        {file, {0, 1, 2}, 1.5, 0},
        {path(QStringLiteral("missing.mp4")), {}, 1, 0},
        {path(QStringLiteral("a.xyz")), {}, 1, -1},
        {gif, {}, 0.3, 0}, // below two hundredths of a second per frame
    };
    const QStringList names = files();
    const QStringList before = decoded(file);
    for (const auto& row : rows) {
        LogCapture log;
        EXPECT_EQ(retime(row.name, row.starts, row.seconds), row.status);
        EXPECT_EQ(errorsIn(log), row.status == 0 ? 1 : 0) << log.text();
        EXPECT_EQ(files(), names);
    }
    stop = true;
    EXPECT_EQ(retime(file, {}, 2), 0);
    EXPECT_EQ(files(), names);
    EXPECT_EQ(decoded(file), before);
}

TEST_F(VideoEdit, JoinedPartsEqualTheSeparateParts)
{
    const int counts[] = {1, 26, 11};
    for (const char* suffix : Suffixes) {
        SCOPED_TRACE(suffix);
        QStringList parts, frames;
        int first = 0;
        for (const int count : counts) {
            parts << path(QStringLiteral("part%1.%2").arg(QString::number(first), QLatin1String(suffix)));
            ASSERT_NO_FATAL_FAILURE(record(parts.back(), first, count));
            frames << decoded(parts.back());
            first += count;
        }
        const QString whole = path(QStringLiteral("whole.") + QLatin1String(suffix));
        LogCapture log;
        ASSERT_EQ(join(parts, whole, {1, 26, 11}), 1) << log.text();
        EXPECT_EQ(decoded(whole), frames);
        EXPECT_EQ(blocksIn(whole, first), first);
        const std::vector<double> shown = times(whole);
        ASSERT_EQ(shown.size(), std::size_t(first) + 1);
        for (int i = 0; i <= first; ++i)
            EXPECT_NEAR(shown[std::size_t(i)], double(i) / Fps, 0.002) << i;
        // Times and header are those of one recording.
        const QString recorded = path(QStringLiteral("recorded.") + QLatin1String(suffix));
        ASSERT_NO_FATAL_FAILURE(record(recorded, 0, first));
        const auto facts = [](const QString& file) {
            return output(
                QStringLiteral("ffprobe"),
                {"-v", "error", "-show_entries",
                 "stream=codec_name,codec_tag_string,width,height,pix_fmt,r_frame_rate,color_space,color_range,"
                 "color_primaries,color_transfer,time_base:stream_tags=alpha_mode",
                 "-of", "json", file});
        };
        EXPECT_EQ(facts(whole).toLower().toStdString(), facts(recorded).toLower().toStdString());
        EXPECT_TRUE(files().filter(QStringLiteral("~")).isEmpty()) << files().join(' ').toStdString();
    }
}

TEST_F(VideoEdit, PartsThatDoNotFitAreRefusedBeforeAnythingIsWritten)
{
    for (const char* suffix : {"mp4", "hevc.mp4", "mkv", "webm", "avi", "gif", "apng", "lossless.mkv", "frames"}) {
        SCOPED_TRACE(suffix);
        const auto name = [&](const char* base) {
            return path(QLatin1String(base) + QLatin1Char('.') + QLatin1String(suffix));
        };
        ASSERT_NO_FATAL_FAILURE(record(name("good"), 0, 10));
        ASSERT_NO_FATAL_FAILURE(record(name("size"), 0, 10, Fps, 64, 48));
        ASSERT_NO_FATAL_FAILURE(record(name("cut"), 0, 30));
        QFile cut(name("cut"));
        if (qstrcmp(suffix, "frames") == 0)
            ASSERT_TRUE(QFile::resize(path(QStringLiteral("cut.00007.png")), 50));
        else
            ASSERT_TRUE(cut.resize(cut.size() * 2 / 3));
        QFile empty(name("empty"));
        ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
        empty.close();
        QFile older(name("older"));
        ASSERT_TRUE(older.open(QIODevice::WriteOnly));
        older.write("older");
        older.close();
        const QStringList before = files();
        for (const char* bad : {"size", "cut", "empty", "missing"})
            for (const bool first : {true, false}) {
                SCOPED_TRACE(std::string(bad) + (first ? " first" : " last"));
                QStringList parts{name("good"), name(bad)};
                if (first)
                    std::swap(parts[0], parts[1]);
                LogCapture log;
                EXPECT_EQ(join(parts, name("older")), 0);
                EXPECT_EQ(errorsIn(log), 1) << log.text();
                EXPECT_EQ(files(), before);
                EXPECT_EQ(QFileInfo(name("older")).size(), 5);
            }
        EXPECT_EQ(join({name("good"), name("good")}, name("older"), {10, 11}), 0);
        EXPECT_EQ(files(), before);
    }
    EXPECT_EQ(join({path(QStringLiteral("good.mp4"))}, path(QStringLiteral("a.xyz"))), -1);
}

TEST_F(VideoEdit, PartsOfOtherSettingsAreRefused)
{
    const auto encode = [this](const QString& name, const QStringList& options, int fps = Fps) {
        output(QStringLiteral("ffmpeg"), QStringList{"-v", "error", "-f", "lavfi", "-i",
                                                     QStringLiteral("testsrc=size=96x64:rate=%1:duration=1").arg(fps)} +
                                             options + QStringList{path(name)});
    };
    // HEVC would decode without an error, but to wrong pictures.
    encode(QStringLiteral("a.mp4"), {"-c:v", "libx265", "-preset", "fast", "-x265-params", "log-level=error"});
    encode(QStringLiteral("b.mp4"), {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=error"});
    encode(QStringLiteral("c.mp4"), {"-c:v", "libx264", "-pix_fmt", "yuv420p"});
    encode(QStringLiteral("d.mkv"), {"-c:v", "ffv1"}, 25);
    encode(QStringLiteral("e.mkv"), {"-c:v", "ffv1"}, 30);
    encode(QStringLiteral("f.mkv"), {"-c:v", "ffv1", "-pix_fmt", "yuv444p"}, 25);
    const char* const pairs[][2] = {{"a.mp4", "b.mp4"}, {"b.mp4", "a.mp4"}, {"a.mp4", "c.mp4"}, {"c.mp4", "a.mp4"},
                                    {"d.mkv", "e.mkv"}, {"e.mkv", "d.mkv"}, {"d.mkv", "f.mkv"}, {"d.mkv", "a.mp4"}};
    const QStringList before = files();
    for (const auto& pair : pairs) {
        SCOPED_TRACE(std::string(pair[0]) + " and " + pair[1]);
        const QString first = QLatin1String(pair[0]);
        LogCapture log;
        EXPECT_EQ(join({path(first), path(QLatin1String(pair[1]))},
                       path(QStringLiteral("joined.") + QFileInfo(first).suffix())),
                  0);
        EXPECT_EQ(errorsIn(log), 1) << log.text();
        EXPECT_EQ(files(), before);
    }
}

TEST_F(VideoEdit, HevcInMp4HasTheTagThatEveryPlayerSupports)
{
    const QString file = path(QStringLiteral("a.hevc.mp4"));
    ASSERT_NO_FATAL_FAILURE(record(file, 0, 5));
    EXPECT_EQ(output(QStringLiteral("ffprobe"),
                     {"-v", "error", "-show_entries", "stream=codec_tag_string", "-of", "csv=p=0", file})
                  .trimmed(),
              "hvc1");
}
