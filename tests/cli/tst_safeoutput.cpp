// Temporary names, locks and the change from the older file to the new one. No plug-ins are loaded, so nothing renames
// the pictures of lists.

#include "app/common/outputcheck.h"
#include "app/common/safeoutput.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using tov::app::SafeOutput;

namespace {

class SafeOutputTest : public testing::Test
{
protected:
    QString path(const char* name) const { return folder.filePath(QLatin1String(name)); }
    static void write(const QString& fileName, const QByteArray& content)
    {
        QFile file(fileName);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    static QByteArray read(const QString& fileName)
    {
        QFile file(fileName);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); }
    static mode_t permissions(const QString& fileName)
    {
        struct stat status;
        return stat(QFile::encodeName(fileName).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    QTemporaryDir folder;
    QString error;
};

} // namespace

TEST_F(SafeOutputTest, TheOlderFileStaysUntilTheCommit)
{
    write(path("a.b.mp4"), "older");
    SafeOutput output(path("a.b.mp4"), QStringLiteral("mp4"));
    EXPECT_EQ(output.getTemporaryName(), path("a_b~partial.mp4"));
    ASSERT_TRUE(output.prepare(&error)) << error.toStdString();
    write(output.getTemporaryName(), "newer");
    EXPECT_EQ(read(path("a.b.mp4")), "older");
    EXPECT_TRUE(output.commit(&error)) << error.toStdString();
    EXPECT_EQ(read(path("a.b.mp4")), "newer");
    EXPECT_EQ(files(), QStringList("a.b.mp4"));
}

TEST_F(SafeOutputTest, TwoWritersNeverShareATemporaryFile)
{
    auto first = std::make_unique<SafeOutput>(path("a.mp4"), QStringLiteral("mp4"));
    SafeOutput second(path("a.mp4"), QStringLiteral("mp4"));
    ASSERT_TRUE(first->prepare(&error));
    write(first->getTemporaryName(), "first");
    EXPECT_FALSE(second.prepare(&error));
    EXPECT_EQ(error, QStringLiteral("cannot write '%1': another process is writing it").arg(path("a.mp4")));
    EXPECT_EQ(read(first->getTemporaryName()), "first");
    first.reset();
    EXPECT_TRUE(second.prepare(&error)) << "a file that a killed process left is used again";
    EXPECT_EQ(read(second.getTemporaryName()), "");
}

TEST_F(SafeOutputTest, AReplacedTemporaryFileIsDeliveredUnlessAnotherProcessHasTakenIt)
{
    const auto replaceTemporary = [this](const SafeOutput& output) {
        write(path("new.mp4"), "replaced");
        ASSERT_EQ(rename(QFile::encodeName(path("new.mp4")).constData(),
                         QFile::encodeName(output.getTemporaryName()).constData()),
                  0);
    };
    write(path("a.mp4"), "older");
    SafeOutput taken(path("a.mp4"), QStringLiteral("mp4")), taker(path("a.mp4"), QStringLiteral("mp4"));
    ASSERT_TRUE(taken.prepare(&error));
    replaceTemporary(taken);
    ASSERT_TRUE(taker.prepare(&error)) << error.toStdString();
    EXPECT_FALSE(taken.commit(&error));
    EXPECT_EQ(error, QStringLiteral("cannot write '%1': another process is writing it").arg(path("a.mp4")));
    EXPECT_EQ(read(path("a.mp4")), "older");
    replaceTemporary(taker);
    EXPECT_TRUE(taker.commit(&error)) << error.toStdString();
    EXPECT_EQ(read(path("a.mp4")), "replaced");
    EXPECT_EQ(files(), QStringList("a.mp4"));
}

TEST_F(SafeOutputTest, AFileThatAppearsMeanwhileIsKeptOnRequest)
{
    SafeOutput output(path("a.mp4"), QStringLiteral("mp4"), SafeOutput::Older::Keep);
    ASSERT_TRUE(output.prepare(&error));
    write(output.getTemporaryName(), "newer");
    write(path("a.mp4"), "of another process");
    EXPECT_FALSE(output.commit(&error));
    EXPECT_TRUE(error.contains("File exists; the result is in '")) << error.toStdString();
    EXPECT_EQ(read(path("a.mp4")), "of another process");
    EXPECT_EQ(read(output.getTemporaryName()), "newer");
    ASSERT_TRUE(QFile::remove(path("a.mp4")));
    EXPECT_TRUE(output.commit(&error)) << error.toStdString();
    EXPECT_EQ(files(), QStringList("a.mp4"));
}

TEST_F(SafeOutputTest, AReplacedFileKeepsItsPermissionsAndANewOneFollowsTheMask)
{
    const mode_t mask = umask(027);
    for (const char* name : {"old.mp4", "new.mp4"}) {
        if (qstrcmp(name, "old.mp4") == 0) {
            write(path(name), "older");
            chmod(QFile::encodeName(path(name)).constData(), 0604);
        }
        SafeOutput output(path(name), QStringLiteral("mp4"));
        ASSERT_TRUE(output.prepare(&error));
        EXPECT_TRUE(output.commit(&error)) << error.toStdString();
    }
    umask(mask);
    EXPECT_EQ(permissions(path("old.mp4")), 0604u);
    EXPECT_EQ(permissions(path("new.mp4")), 0640u);
}

TEST_F(SafeOutputTest, ALinkStaysAndItsTargetIsReplaced)
{
    ASSERT_TRUE(QDir(folder.path()).mkdir("far"));
    ASSERT_TRUE(QFile::link(path("far/target.mp4"), path("link.mp4"))); // the target is missing
    SafeOutput output(path("link.mp4"), QStringLiteral("mp4"));
    EXPECT_EQ(output.getTemporaryName(), path("far/target~partial.mp4"));
    ASSERT_TRUE(output.prepare(&error)) << error.toStdString();
    EXPECT_TRUE(output.commit(&error)) << error.toStdString();
    EXPECT_TRUE(QFileInfo(path("link.mp4")).isSymLink());
    EXPECT_TRUE(QFileInfo::exists(path("far/target.mp4")));
    EXPECT_TRUE(QFile::link(path("absent/target.mp4"), path("nowhere.mp4")));
    EXPECT_FALSE(tov::app::checkOutputFolder(path("nowhere.mp4"), &error));
    EXPECT_TRUE(error.contains("there is no folder " + path("absent"))) << error.toStdString();
}

TEST_F(SafeOutputTest, AListNamesThePicturesOfOneRecording)
{
    write(path("a.00001.png"), "older");
    write(path("a.frames"), "ffconcat version 1.0\nfile a.00001.png\nduration 1\n");
    SafeOutput output(path("a.frames"), QStringLiteral("frames"));
    ASSERT_TRUE(output.prepare(&error));
    write(path("a_partial.00001.png"), "newer");
    write(output.getTemporaryName(), "ffconcat version 1.0\nfile a_partial.00001.png\nduration 1\n");
    EXPECT_EQ(read(path("a.00001.png")), "older");
    EXPECT_TRUE(output.commit(&error)) << error.toStdString();
    // The moment before the pictures are renamed.
    EXPECT_EQ(tov::app::listedPictures(path("a.frames")), QStringList("a_partial.00001.png"));
    EXPECT_EQ(read(path("a_partial.00001.png")), "newer");
}

TEST_F(SafeOutputTest, APipeNeedsAReader)
{
    const QByteArray name = QFile::encodeName(path("pipe.png"));
    ASSERT_EQ(mkfifo(name.constData(), 0600), 0);
    EXPECT_TRUE(tov::app::checkOutputFolder(path("pipe.png"), &error)) << error.toStdString();
    EXPECT_EQ(tov::app::openPipe(path("pipe.png"), &error), -1);
    EXPECT_TRUE(error.contains("no program reads from it")) << error.toStdString();
    const int reader = open(name.constData(), O_RDONLY | O_NONBLOCK);
    const int writer = tov::app::openPipe(path("pipe.png"), &error);
    EXPECT_GE(writer, 0);
    EXPECT_EQ(fcntl(writer, F_GETFL) & O_NONBLOCK, 0);
    close(writer);
    close(reader);
}
