// How a recording is split into parts: the plan, the options, the folder of parts, its locks. Records nothing.

#include "app/cli/options/optionreader.h"
#include "app/cli/options/options.h"
#include "app/cli/parts/partfolder.h"
#include "app/cli/parts/partlock.h"
#include "app/cli/options/partreader.h"
#include "app/cli/parts/partplan.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

using namespace tov::app;

namespace {

QString errorOf(const QStringList& arguments, PartRequest* request = nullptr)
{
    Options options;
    QString error;
    EXPECT_TRUE(readOptions(QStringList{"video", "a.obj", "-o", "a.mp4"} + arguments, options, &error));
    OptionReader reader(options);
    PartRequest read;
    readParts(reader, request ? *request : read);
    return reader.getError();
}

void write(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

class PartFolderTest : public testing::Test
{
protected:
    PartFolderTest() { EXPECT_TRUE(parts.create(&error)) << error.toStdString(); }
    /// A finished part of `bytes`.
    void makePart(int part, const QByteArray& bytes)
    {
        write(parts.videoName(part), bytes);
        PartRecord record;
        record.frames = 5;
        EXPECT_TRUE(parts.writeRecord(part, record, &error)) << error.toStdString();
    }
    QString path(const char* name) const { return folder.filePath(QLatin1String(name)); }

    QTemporaryDir folder;
    const PartFolder parts{path("film.mp4"), "mp4", "0123abcd", 4};
    QString error;
};

} // namespace

TEST(PartPlan, EveryPositionBelongsToOnePartAndPartsAreEqual)
{
    for (const qint64 positions : {1, 2, 7, 40, 1000, 1000000})
        for (const int parts : {1, 2, 3, 7, 8, 100, 100000}) {
            SCOPED_TRACE(std::to_string(positions) + " in " + std::to_string(parts));
            qint64 next = 0;
            for (int part = 1; part <= parts; ++part) {
                const PartRange range = rangeOfPart(part, parts, positions);
                ASSERT_EQ(range.first, next);
                ASSERT_GE(range.count, positions / parts);
                ASSERT_LE(range.count, positions / parts + 1);
                next += range.count;
            }
            EXPECT_EQ(next, positions);
        }
    const PartRange third = rangeOfPart(3, 8, 100);
    EXPECT_EQ(third.first, 25);
    EXPECT_EQ(third.count, 12);
}

TEST(PartPlan, TheTimeLeftDependsOnTheRunningProcesses)
{
    EXPECT_EQ(estimateSecondsLeft(2, 0, 0, 0), 0);
    EXPECT_EQ(estimateSecondsLeft(2, 30, 0, 0), 60) << "one process will record them";
    EXPECT_EQ(estimateSecondsLeft(2, 30, 3, 5), 25);
    EXPECT_EQ(estimateSecondsLeft(2, 0, 1, -7), 0) << "a part that is late";
}

TEST(PartOptions, AreReadAndChecked)
{
    PartRequest request;
    EXPECT_EQ(errorOf({"--turntable", "--part", "3/8"}, &request), QString());
    EXPECT_EQ(request.part, 3);
    EXPECT_EQ(request.count, 8);
    request = PartRequest();
    EXPECT_EQ(errorOf({"--turntable", "--parts", "8", "--keep-parts", "--status"}, &request), QString());
    EXPECT_EQ(request.part, 0);
    EXPECT_EQ(request.count, 8);
    EXPECT_TRUE(request.keepsParts && request.showsStatus);
    request = PartRequest();
    EXPECT_EQ(errorOf({"--turntable"}, &request), QString());
    EXPECT_FALSE(request.isShared());
    const std::pair<QStringList, const char*> rows[] = {
        {{"--part", "0/4"}, "--part 0/4: the part must be from 1 to 4"},
        {{"--part", "5/4"}, "--part 5/4: the part must be from 1 to 4"},
        {{"--part", "-1/4"}, "--part -1/4: the part must be from 1 to 4"},
        {{"--part", "1/0"}, "--part 1/0: the number of parts must be from 1 to 100000"},
        {{"--part", "1/100001"}, "--part 1/100001: the number of parts must be from 1 to 100000"},
        {{"--part", "3"}, "--part must be a part and the number of parts, such as 3/8 (got \"3\")"},
        {{"--part", "%1/8"}, "--part must be a part and the number of parts, such as 3/8 (got \"%1/8\")"},
        {{"--part", "1/2/3"}, "--part must be a part and the number of parts, such as 3/8 (got \"1/2/3\")"},
        {{"--parts", "0"}, "--parts must be a whole number from 1 to 100000 (got \"0\")"},
        {{"--part", "1/2", "--parts", "2"}, "give either --part or --parts"},
        {{"--status"}, "--status belongs to --parts"},
        {{"--status", "--part", "1/2"}, "--status belongs to --parts"},
        {{"--keep-parts"}, "--keep-parts belongs to --part or --parts"},
        {{"--parts", "2", "--free", "3"}, "a --free recording cannot be made in parts"},
        {{"--parts", "2", "-o", "-"}, "a recording in parts cannot go to standard output"},
    };
    for (const auto& [arguments, message] : rows)
        EXPECT_EQ(errorOf(arguments), QLatin1String(message)) << arguments.join(' ').toStdString();
}

TEST_F(PartFolderTest, APartWithItsRecordIsDone)
{
    EXPECT_FALSE(parts.findRecord(1));
    makePart(1, "video");
    const auto record = parts.verify(1);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->frames, 5);
    EXPECT_EQ(record->bytes, 5);
    EXPECT_FALSE(parts.verify(2));
}

TEST_F(PartFolderTest, PartsThatWereChangedDoNotCount)
{
    for (const char* content : {"", "vide", "videoo", "Video"}) {
        makePart(1, "video");
        write(parts.videoName(1), content);
        EXPECT_FALSE(parts.verify(1)) << content;
    }
    makePart(1, "video");
    ASSERT_TRUE(QFile::remove(parts.videoName(1)));
    EXPECT_FALSE(parts.findRecord(1));
}

TEST_F(PartFolderTest, RecordsOfOtherPartsAndDamagedOnesDoNotCount)
{
    makePart(1, "video");
    const QString record = path("film.mp4.parts/0123abcd-1of4.json");
    ASSERT_TRUE(QFile::exists(record));
    // Both files under the names of another part.
    ASSERT_TRUE(QFile::copy(parts.videoName(1), parts.videoName(2)));
    ASSERT_TRUE(QFile::copy(record, path("film.mp4.parts/0123abcd-2of4.json")));
    EXPECT_FALSE(parts.findRecord(2));
    EXPECT_TRUE(parts.verify(1));
    for (const char* content : {"", "{", "[]", "{\"part\":\"0123abcd-1of4\",\"bytes\":5}"}) {
        write(record, content);
        EXPECT_FALSE(parts.verify(1)) << content;
    }
}

TEST_F(PartFolderTest, ThePicturesOfAListBelongToThePart)
{
    const PartFolder lists(path("film.frames"), "frames", "0123abcd", 4);
    ASSERT_TRUE(lists.create(&error));
    write(lists.videoName(1), "ffconcat version 1.0\nfile p.00001.png\nduration 0.040000\n");
    write(path("film.frames.parts/p.00001.png"), "picture");
    PartRecord record;
    record.frames = 1;
    ASSERT_TRUE(lists.writeRecord(1, record, &error));
    EXPECT_TRUE(lists.verify(1));
    write(path("film.frames.parts/p.00001.png"), "Picture");
    EXPECT_FALSE(lists.verify(1));
    ASSERT_TRUE(QFile::remove(path("film.frames.parts/p.00001.png")));
    EXPECT_FALSE(lists.findRecord(1));
}

TEST_F(PartFolderTest, OnlyWhatBelongsToTheRecordingIsRemoved)
{
    makePart(1, "video");
    write(path("film.mp4.parts/ffffffff-1of4.mp4"), "other");
    write(parts.lockName(1), "left by a killed process");
    write(parts.joinLockName(), "of the process that calls");
    EXPECT_TRUE(parts.hasOthers());
    parts.removeParts();
    parts.removeIfEmpty();
    EXPECT_EQ(QDir(parts.path()).entryList(QDir::Files, QDir::Name),
              QStringList({"0123abcd-join.lock", "ffffffff-1of4.mp4"}));
    ASSERT_TRUE(QFile::remove(parts.joinLockName()));
    ASSERT_TRUE(QFile::remove(path("film.mp4.parts/ffffffff-1of4.mp4")));
    makePart(1, "video");
    EXPECT_FALSE(parts.hasOthers());
    parts.removeParts();
    parts.removeIfEmpty();
    EXPECT_FALSE(QFileInfo::exists(parts.path()));
}

TEST_F(PartFolderTest, AFolderThatCannotBeMadeIsReportedInOneLine)
{
    write(path("taken.mp4.parts"), "a file");
    EXPECT_FALSE(PartFolder(path("taken.mp4"), "mp4", "0123abcd", 4).create(&error));
    EXPECT_TRUE(error.startsWith("cannot create the folder '")) << error.toStdString();
    EXPECT_EQ(error.count('\n'), 0);
}

TEST_F(PartFolderTest, ALockExcludesOthersUntilItIsReleased)
{
    const QString name = parts.lockName(1);
    EXPECT_FALSE(PartLock::findHolder(name));
    {
        PartLock first, second;
        ASSERT_EQ(first.acquire(name, &error), PartLock::Result::Acquired) << error.toStdString();
        const auto holder = PartLock::findHolder(name);
        ASSERT_TRUE(holder);
        EXPECT_EQ(holder->process, getpid());
        EXPECT_EQ(second.acquire(name, &error), PartLock::Result::Busy);
        EXPECT_TRUE(error.startsWith(QStringLiteral("process %1 on ").arg(getpid()))) << error.toStdString();
    }
    EXPECT_FALSE(QFile::exists(name));
    PartLock third;
    EXPECT_EQ(third.acquire(name, &error), PartLock::Result::Acquired);
}

TEST_F(PartFolderTest, ALockEndsWithItsProcessHoweverItEnds)
{
    const QString name = parts.lockName(1);
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        PartLock lock;
        QString text;
        const char answer = lock.acquire(name, &text) == PartLock::Result::Acquired ? 'y' : 'n';
        if (write(ready[1], &answer, 1) == 1)
            pause();
        _exit(1);
    }
    char answer = 0;
    ASSERT_EQ(read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    PartLock lock;
    EXPECT_EQ(lock.acquire(name, &error), PartLock::Result::Busy);
    EXPECT_EQ(PartLock::findHolder(name)->process, child);
    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(QFile::exists(name)) << "its file is still there";
    EXPECT_FALSE(PartLock::findHolder(name));
    EXPECT_EQ(lock.acquire(name, &error), PartLock::Result::Acquired) << error.toStdString();
    close(ready[0]);
    close(ready[1]);
}

TEST_F(PartFolderTest, AMissingFolderIsReportedInOneLine)
{
    PartLock lock;
    EXPECT_EQ(lock.acquire(path("absent/1.lock"), &error), PartLock::Result::Failed);
    EXPECT_TRUE(error.contains("No such file or directory")) << error.toStdString();
}
