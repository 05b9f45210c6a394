// What can go wrong while several processes share a recording.

#include "app/cli/parts/partlock.h"
#include "tests/cluster/partfixture.h"

using namespace cli;
using tov::app::PartLock;

namespace {

class PartFaults : public PartTest
{
protected:
    /// The arguments of a small recording of 8 frames.
    QStringList call(const QStringList& more = {}) const
    {
        return QStringList{"video", Crane, "--turntable", "8", "--size", "64x48", "-o", "f.lossless.mkv"} + more;
    }
    /// A recording that takes a while.
    QStringList longCall(const QStringList& more) const
    {
        return QStringList{"video", Crane, "--path", "tour.json", "--fps", "250", "--size", "320x240", "-o", "f.mkv"} +
               more;
    }
    void writeTour()
    {
        QFile tour(Samples + "tour.json");
        ASSERT_TRUE(tour.open(QIODevice::ReadOnly));
        write("tour.json", tour.readAll());
    }
    /// Waits until a part is in the middle of its recording.
    bool isRecording()
    {
        return waitUntil([this] { return !partFiles("f.mkv", "*~partial.mkv").isEmpty(); });
    }
    void replace(const QString& file, const QByteArray& bytes)
    {
        QFile replaced(file);
        ASSERT_TRUE(replaced.open(QIODevice::WriteOnly));
        ASSERT_EQ(replaced.write(bytes), bytes.size());
    }
    QByteArray contentOf(const QString& file)
    {
        QFile content(file);
        EXPECT_TRUE(content.open(QIODevice::ReadOnly)) << file.toStdString();
        return content.readAll();
    }
};

} // namespace

TEST_F(PartFaults, PartsThatWereDamagedAreRecordedAgain)
{
    runWell(call({"--quiet"}));
    const QStringList whole = decoded(path("f.lossless.mkv"));
    runWell(call({"--parts", "4", "--keep-parts"}));
    const QStringList parts = partFiles("f.lossless.mkv", "*.mkv"), records = partFiles("f.lossless.mkv", "*.json");
    ASSERT_EQ(parts.size(), 4);
    const QByteArray good = contentOf(parts[1]);
    QByteArray flipped = good;
    flipped[good.size() / 2] = char(flipped[good.size() / 2] ^ 1);
    const QByteArray other = contentOf(parts[2]);
    for (const QByteArray& bad : {QByteArray(), good.left(good.size() / 2), flipped, good + "x", other}) {
        replace(parts[1], bad);
        const Result result = runWell(call({"--parts", "4", "--keep-parts", "--json"}));
        EXPECT_EQ(recordedParts(result.out), QList<int>{2});
        EXPECT_EQ(decoded(path("f.lossless.mkv")), whole);
    }
    // Without their records, files count as foreign.
    ASSERT_TRUE(QFile::remove(records[3]));
    ASSERT_TRUE(QFile::remove(parts[0]));
    const Result result = runWell(call({"--parts", "4"}));
    EXPECT_TRUE(result.err.contains("Note: part 4 of 4 of 'f.lossless.mkv' is incomplete or was changed, so it is "
                                    "recorded again"))
        << result.err.toStdString();
    EXPECT_EQ(decoded(path("f.lossless.mkv")), whole);
}

TEST_F(PartFaults, PartsOfOtherSettingsAreLeftAlone)
{
    runWell(call({"--part", "1/4"}));
    const QStringList before = partFiles("f.lossless.mkv");
    const Result result = runWell(call({"--parts", "4", "--show", "edges", "--json"}));
    EXPECT_EQ(recordedParts(result.out), (QList<int>{1, 2, 3, 4}));
    EXPECT_EQ(partFiles("f.lossless.mkv"), before);
    const Result text = runWell(call({"--parts", "4", "--show", "edges"}));
    EXPECT_TRUE(text.err.contains("Note: 'f.lossless.mkv.parts' still holds parts of another recording"))
        << text.err.toStdString();
}

TEST_F(PartFaults, TwoProcessesNeverRecordOnePart)
{
    runWell(call({"--part", "1/4"}));
    QString lockName = partFiles("f.lossless.mkv", "*-1of4.json").value(0);
    lockName.replace("-1of4.json", "-3of4.lock");
    {
        PartLock lock;
        QString error;
        ASSERT_EQ(lock.acquire(lockName, &error), PartLock::Result::Acquired);
        expectFailure(run(call({"--part", "3/4", "-q"})), 1,
                      QStringLiteral("cannot make part 3 of 4 of 'f.lossless.mkv': process %1 on ")
                          .arg(QCoreApplication::applicationPid())
                          .toUtf8());
        const QJsonObject status = objects(runWell(call({"--parts", "4", "--status", "--json"})).out).last();
        EXPECT_EQ(status["running"].toInt(), 1);
        // The parts that nobody records are recorded nevertheless.
        expectFailure(run(call({"--parts", "4", "-q"})), 1, "another process is still at work on part 3 of 4");
        EXPECT_EQ(partFiles("f.lossless.mkv", "*.json").size(), 3);
        EXPECT_FALSE(QFile::exists(path("f.lossless.mkv")));
    }
    EXPECT_EQ(recordedParts(runWell(call({"--parts", "4", "--json"})).out), QList<int>{3});
}

TEST_F(PartFaults, AnInterruptedPartIsDiscarded)
{
    writeTour();
    for (const int signal : {SIGTERM, SIGINT}) {
        const auto process = start(longCall({"--part", "1/2"}));
        ASSERT_TRUE(isRecording());
        ASSERT_EQ(kill(pid_t(process->processId()), signal), 0);
        ASSERT_TRUE(process->waitForFinished(60000));
        EXPECT_EQ(process->exitCode(), 130);
        EXPECT_EQ(partFiles("f.mkv"), QStringList());
    }
}

TEST_F(PartFaults, AKilledPartIsRecordedAgainAndTheOthersAreNot)
{
    writeTour();
    const auto process = start(longCall({"--part", "1/2"}));
    ASSERT_TRUE(isRecording());
    process->kill();
    ASSERT_TRUE(process->waitForFinished(60000));
    EXPECT_FALSE(partFiles("f.mkv", "*~partial.mkv").isEmpty());
    EXPECT_EQ(partFiles("f.mkv", "*.json"), QStringList()) << "half a part does not count";
    const QJsonObject status = objects(runWell(longCall({"--parts", "2", "--status", "--json"})).out).last();
    EXPECT_EQ(status["missing"].toInt(), 2);
    runWell(longCall({"--part", "1/2", "-q"}));
    EXPECT_EQ(partFiles("f.mkv").size(), 2) << "nothing of the killed process is left";
    EXPECT_EQ(partFiles("f.mkv", "*.json").size(), 1);
}

TEST_F(PartFaults, AFileThatChangesDuringTheRecordingMakesNoPart)
{
    writeTour();
    const auto process = start(longCall({"--part", "1/2", "-q"}));
    ASSERT_TRUE(isRecording());
    write("tour.json", contentOf(path("tour.json")) + "\n");
    ASSERT_TRUE(process->waitForFinished(60000));
    EXPECT_EQ(process->exitCode(), 1);
    EXPECT_EQ(process->readAllStandardError(),
              "tov: cannot make part 1 of 2 of 'f.mkv': a file that it uses was changed "
              "during the recording\n");
    EXPECT_EQ(partFiles("f.mkv"), QStringList());
}

TEST_F(PartFaults, PartsOfDifferentRenderersAreJoinedWithAWarning)
{
    runWell(call({"--parts", "2", "--keep-parts"}));
    const QString record = partFiles("f.lossless.mkv", "*-2of2.json").value(0);
    QJsonObject object = QJsonDocument::fromJson(contentOf(record)).object();
    object["renderer"] = "another one";
    replace(record, QJsonDocument(object).toJson());
    const Result result = runWell(call({"--parts", "2", "--keep-parts"}));
    EXPECT_TRUE(result.err.contains("Warning: the parts of 'f.lossless.mkv' were drawn by different renderers"))
        << result.err.toStdString();
    EXPECT_TRUE(result.err.contains("another one: parts 2")) << result.err.toStdString();
}

TEST_F(PartFaults, FoldersThatCannotBeWrittenAreReportedInOneLine)
{
    write("f.lossless.mkv.parts", "a file");
    expectFailure(run(call({"--part", "1/2", "-q"})), 1,
                  "cannot create the folder 'f.lossless.mkv.parts': File exists");
    ASSERT_TRUE(QFile::remove(path("f.lossless.mkv.parts")));
    if (run({}, "unshare -Urm true").status != 0)
        GTEST_SKIP() << "file systems cannot be mounted here, not even in a name space";
    const QByteArray program = "unshare -Urm sh -c '";
    const QByteArray arguments =
        QStringLiteral(" && exec %1 %2'").arg(Program, call({"--part", "1/2", "-q"}).join(' ')).toUtf8();
    ASSERT_TRUE(QDir(folder.path()).mkdir("f.lossless.mkv.parts"));
    const Result readOnly = run({}, program + "mount -t tmpfs -o ro none f.lossless.mkv.parts" + arguments);
    expectFailure(readOnly, 1, "Read-only file system");
    const Result full = run({}, program + "mount -t tmpfs -o size=16k none f.lossless.mkv.parts" + arguments);
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.errLines(), 1) << full.err.toStdString();
}

TEST_F(PartFaults, AFilmThatDoesNotFitOnTheDiskKeepsItsParts)
{
    if (run({}, "unshare -Urm true").status != 0)
        GTEST_SKIP() << "file systems cannot be mounted here, not even in a name space";
    QSettings(path("settings.ini"), QSettings::IniFormat).setValue("settings/lowspacelimit", "0");
    write("script.sh", QStringLiteral("mount -t tmpfs -o size=8m none disk && cd disk || exit 1\n"
                                      "for part in 1 2 3 4; do %1 --part $part/4 || exit 1; done\n"
                                      "cat /dev/zero >filler\n"
                                      "%1 --parts 4; echo status $?\n"
                                      "ls *.mkv; ls f.lossless.mkv.parts\n"
                                      "rm filler; %1 --parts 4 --json; ls f.lossless.mkv.parts\n")
                           .arg(QStringLiteral("%1 %2 -q").arg(Program, call().join(' ')))
                           .toUtf8());
    ASSERT_TRUE(QDir(folder.path()).mkdir("disk"));
    const Result result = run({}, "exec unshare -Urm sh script.sh 2>&1");
    EXPECT_TRUE(result.out.contains("No space left on device\ntov: cannot join './f~partial.lossless.mkv': "))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("\nstatus 1\n")) << result.out.toStdString();
    EXPECT_EQ(result.out.count("of4.lossless.mkv\n"), 4) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("cannot access '*.mkv'")) << "nothing is left of the film";
    EXPECT_EQ(recordedParts(result.out), QList<int>()) << "no part is recorded twice";
    EXPECT_TRUE(result.out.contains("\"event\":\"result\"")) << result.out.toStdString();
    EXPECT_TRUE(result.out.trimmed().endsWith("No such file or directory")) << "the parts are removed";
}

TEST_F(PartFaults, AnOlderFilmStaysUntilTheNewOneIsComplete)
{
    write("f.lossless.mkv", "older");
    runWell(call({"--part", "1/2"}));
    EXPECT_EQ(read("f.lossless.mkv"), "older");
    EXPECT_TRUE(runWell(call({"--part", "2/2", "--skip-existing"})).err.contains("f.lossless.mkv exists already"));
    expectFailure(run(call({"--part", "2/2", "--no-clobber"})), 1, "'f.lossless.mkv' exists already");
    runWell(call({"--parts", "2"}));
    EXPECT_EQ(decoded(path("f.lossless.mkv")).size(), 8);
}
