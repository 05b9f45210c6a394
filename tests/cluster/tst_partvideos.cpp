// A video that was recorded in parts equals the video that one process records.

#include "tests/cluster/partfixture.h"
#include "tests/encoders/blockreader.h"

#include <cmath>

using namespace cli;

namespace {

constexpr int Frames = 11, Parts = 3, Fps = 20;
const int PartStarts[Parts] = {0, 3, 7};

struct FormatRow
{
    const char* ending;
    bool isExact;    ///< frames do not depend on earlier ones
    bool hasKeys;    ///< frames may depend on earlier ones
    bool hasBitrate; ///< for a bit rate, not for a quality
};

const FormatRow Formats[] = {
    {"mp4", false, true, true},          {"mov", false, true, true},        {"mkv", false, true, true},
    {"hq.mp4", false, true, false},      {"hevc.mp4", false, true, true},   {"av1.mkv", false, true, true},
    {"webm", false, true, true},         {"avi", true, true, false},        {"gif", true, false, false},
    {"apng", true, false, false},        {"alpha.webm", false, true, true}, {"alpha.mov", true, true, false},
    {"lossless.mkv", true, true, false}, {"frames", true, true, false},
};

class PartVideos : public PartTest
{
protected:
    /// Records all job lines in one piece each ("whole-") and in parts ("film-"), with one process for each.
    void recordBoth(const QStringList& names, const QStringList& lines, const QStringList& options, Result* shared)
    {
        for (const char* kind : {"whole-", "film-"}) {
            QByteArray jobs;
            for (int i = 0; i < lines.size(); ++i)
                jobs += QStringLiteral("%1 -o %2%3\n").arg(lines[i], QLatin1String(kind), names[i]).toUtf8();
            write("jobs.txt", jobs);
            const QStringList call = QStringList{"video", "--jobs", "jobs.txt"} + options;
            if (qstrcmp(kind, "whole-") == 0)
                runWell(call + QStringList{"-q"});
            else
                *shared = runWell(call + QStringList{"--json", "--keep-parts", "--parts", QString::number(Parts)});
        }
    }
    void checkTimes(const QString& film, const FormatRow& format)
    {
        const QByteArray text =
            output(QStringLiteral("ffprobe"), {"-v", "error", "-select_streams", "v:0", "-show_entries",
                                               "frame=best_effort_timestamp_time,key_frame", "-of", "csv=p=0", film});
        // Some lines describe further data of a frame.
        QList<QByteArray> lines;
        for (const QByteArray& line : text.split('\n'))
            if (line.startsWith("0,") || line.startsWith("1,"))
                lines << line;
        ASSERT_EQ(lines.size(), Frames);
        const double first = lines[0].split(',').value(1).toDouble();
        for (int i = 0; i < Frames; ++i) {
            const double time = lines[i].split(',').value(1).toDouble();
            EXPECT_NEAR(time - first, double(i) / Fps, 0.006) << i;
        }
        if (!format.hasKeys)
            return;
        for (const int start : PartStarts)
            EXPECT_EQ(lines[start].split(',').first(), "1") << "frame " << start << " begins a part";
    }
};

} // namespace

TEST_F(PartVideos, EveryFormatIsJoinedWithoutLoss)
{
    QStringList names, lines;
    for (const FormatRow& format : Formats) {
        names << QStringLiteral("a.") + QLatin1String(format.ending);
        lines << QString();
    }
    Result shared;
    recordBoth(names, lines,
               {Arm, "--animation", "--duration", "0.55", "--fps", QString::number(Fps), "--size", "96x72"}, &shared);
    for (const FormatRow& format : Formats) {
        SCOPED_TRACE(format.ending);
        const QString film = path("film-a.") + QLatin1String(format.ending);
        const QStringList frames = decoded(film);
        ASSERT_EQ(frames.size(), Frames);
        QStringList apart;
        const QStringList parts =
            partFiles(("film-a." + QByteArray(format.ending)).constData(), QStringLiteral("*of3.") + format.ending);
        ASSERT_EQ(parts.size(), Parts);
        for (const QString& part : parts)
            apart << decoded(part);
        EXPECT_EQ(frames, apart) << "the frames of the parts";
        if (format.isExact) {
            EXPECT_EQ(frames, decoded(path("whole-a.") + QLatin1String(format.ending))) << "one recording's frames";
        }
        if (qstrcmp(format.ending, "gif") == 0) {
            EXPECT_EQ(tov::test::strictGifFrames(film), Frames);
        }
        if (qstrcmp(format.ending, "apng") == 0) {
            EXPECT_EQ(tov::test::strictApngFrames(film), Frames);
        }
        if (qstrcmp(format.ending, "frames") != 0)
            checkTimes(film, format);
        const bool warns = shared.out.contains(QStringLiteral(", %1 videos exceed the bit rate").arg(format.ending));
        EXPECT_EQ(warns, format.hasBitrate);
    }
    EXPECT_TRUE(QDir(folder.path()).entryList({"*~*"}).isEmpty());
}

TEST_F(PartVideos, EveryMotionContinuesAcrossParts)
{
    // Elements that a map does not name stay where an earlier map has put them.
    const QByteArray place = R"([1,0,0,%1,0,1,0,0.5,0,0,1,0,0,0,0,1])";
    const auto map = [&](const char* name, const char* x) {
        return QByteArray("{\"") + name + "\":" + QByteArray(place).replace("%1", x) + "}";
    };
    QByteArrayList maps;
    for (int i = 0; i < Frames; ++i)
        maps << (i == 1 ? map("beam", "2") : i == 5 ? map("stack", "-2") : map("carrier", QByteArray::number(i)));
    write("maps.json", "[" + maps.join(",") + "]");
    const QString count = QString::number(Frames);
    QStringList lines{
        Crane + " --turntable " + count + " --ease",
        Crane + " --turntable " + count + " --swing 60",
        Crane + " --trajectory maps.json --every-position",
        Crane + " --trajectory " + Samples + "crane.csv --duration 1.1 --fps 10",
        Crane + " --trajectory " + Samples + "crane.json --duration 1.1 --fps 10",
        Crane + " --trajectory " + Samples + "flight.tum --duration 1.1 --fps 10",
        Crane + " --path " + Samples + "tour.json --duration 1.1 --fps 10",
        Arm + " --animation --duration 1.1 --fps 10",
        Arm + " --animation --duration 1.1 --fps 10 --camera overview",
        Arm + " --animation --path " + Samples + "tour.json --duration 1.1 --fps 10",
    };
    QStringList names;
    for (int i = 0; i < lines.size(); ++i)
        names << QStringLiteral("%1.lossless.mkv").arg(i);
    Result shared;
    recordBoth(names, lines, {"--size", "96x72"}, &shared);
    for (int i = 0; i < lines.size(); ++i) {
        const QStringList frames = decoded(path("film-") + names[i]);
        EXPECT_EQ(frames.size(), Frames) << lines[i].toStdString();
        EXPECT_EQ(frames, decoded(path("whole-") + names[i])) << lines[i].toStdString();
        EXPECT_GT(QSet<QString>(frames.begin(), frames.end()).size(), Frames / 2) << "it moves";
    }
}

TEST_F(PartVideos, PartsMayBeRecordedInAnyOrderByAnyNumberOfProcesses)
{
    const QStringList call{"video", Crane, "--turntable", "11", "--size", "96x72", "--json", "-o", "t.frames"};
    runWell({"video", Crane, "--turntable", "11", "--size", "96x72", "-o", "whole.frames", "-q"});
    EXPECT_EQ(recordedParts(runWell(call + QStringList{"--part", "4/4"}).out), QList<int>{4});
    EXPECT_EQ(recordedParts(runWell(call + QStringList{"--part", "2/4"}).out), QList<int>{2});
    EXPECT_EQ(recordedParts(runWell(call + QStringList{"--part", "2/4"}).out), QList<int>{}) << "done already";
    EXPECT_FALSE(QFile::exists(path("t.frames")));
    const QJsonObject status = objects(runWell(call + QStringList{"--parts", "4", "--status"}).out).last();
    EXPECT_EQ(status["done"].toInt(), 2);
    EXPECT_EQ(status["missing"].toInt(), 2);
    EXPECT_GT(status["secondsLeft"].toDouble(), 0);
    QStringList states;
    for (const auto& part : status["parts"].toArray())
        states << part.toObject()["state"].toString();
    EXPECT_EQ(states, QStringList({"missing", "done", "missing", "done"}));
    EXPECT_EQ(partFiles("t.frames", "*.json").size(), 2) << "--status changes nothing";
    const Result joined = runWell(call + QStringList{"--parts", "4"});
    EXPECT_EQ(recordedParts(joined.out), (QList<int>{1, 3}));
    const QJsonObject result = objects(joined.out).last();
    EXPECT_EQ(result["event"].toString(), "result");
    EXPECT_EQ(result["frames"].toInt(), 11);
    EXPECT_EQ(result["size"].toArray(), (QJsonArray{96, 72}));
    EXPECT_EQ(decoded(path("t.frames")), decoded(path("whole.frames")));
    EXPECT_FALSE(QFileInfo::exists(path("t.frames.parts")));
    const Result text =
        runWell({"video", Crane, "--turntable", "11", "--size", "96x72", "-o", "t.frames", "--parts", "4", "--status"});
    EXPECT_EQ(text.out, "t.frames: 0 of 4 parts are done, 0 running, 4 missing\n't.frames' exists already\n"
                        "    1  missing\n    2  missing\n    3  missing\n    4  missing\n");
}

TEST_F(PartVideos, AnyNumberOfPartsUpToTheNumberOfFramesIsRight)
{
    const QStringList call{"video", Crane, "--turntable", "5", "--size", "64x48", "-q", "-o", "n.lossless.mkv"};
    runWell(call);
    const QStringList whole = decoded(path("n.lossless.mkv"));
    for (const char* count : {"1", "2", "5"}) {
        ASSERT_TRUE(QFile::remove(path("n.lossless.mkv")));
        runWell(call + QStringList{"--parts", count});
        EXPECT_EQ(decoded(path("n.lossless.mkv")), whole) << count;
    }
    expectFailure(run(call + QStringList{"--parts", "6"}), 1,
                  "'n.lossless.mkv' has 5 frames, so it cannot be made in 6");
    expectFailure(run(call + QStringList{"--part", "1/6"}), 1,
                  "'n.lossless.mkv' has 5 frames, so it cannot be made in");
    expectFailure(run({"video", Crane, "--turntable", "5", "-o", "n.gif", "--fps", "60", "--parts", "2"}), 1,
                  "a gif in parts plays at most 50 frames per second");
}

TEST_F(PartVideos, PartsOfMachinesWithDifferentProcessorsCanBeJoined)
{
    // Encoders choose the number of threads by the number of processors, especially for large pictures.
    variables[QStringLiteral("LD_PRELOAD")] = QStringLiteral(TOV_BINARY_DIR "/tests/libcpucount.so");
    for (const char* ending : {"hevc.mp4", "mp4"}) {
        const QStringList call{"video",   Crane,    "--turntable",
                               "4",       "--size", "1280x720",
                               "--quiet", "-o",     QStringLiteral("c.%1").arg(ending)};
        variables[QStringLiteral("TOV_CPUS")] = QStringLiteral("2");
        runWell(call + QStringList{"--part", "1/2"});
        variables[QStringLiteral("TOV_CPUS")] = QStringLiteral("8");
        runWell(call + QStringList{"--parts", "2"});
        EXPECT_EQ(decoded(path("c.") + ending).size(), 4) << ending;
    }
}
