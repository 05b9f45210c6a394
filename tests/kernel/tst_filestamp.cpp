#include "kernel/util/filestamp.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using tov::util::FileStamp;

namespace {

class FileStampTest : public testing::Test
{
protected:
    void write(const QByteArray& text, QIODevice::OpenMode mode = QIODevice::WriteOnly)
    {
        QFile file(name);
        ASSERT_TRUE(file.open(mode));
        file.write(text);
    }
    /// Sets the time of the last write, so that no test depends on the resolution of the clock.
    void setModified(long seconds)
    {
        const timespec times[2] = {{seconds, 0}, {seconds, 123}};
        ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(name).constData(), times, 0), 0);
    }

    QTemporaryDir folder;
    const QString name = folder.filePath(QString::fromUtf8("f\xc3\xa4rbe %1.mp4"));
};

} // namespace

TEST_F(FileStampTest, HoldsTheStateOfTheFile)
{
    write("12345");
    setModified(1000);
    const FileStamp stamp(name);
    EXPECT_TRUE(stamp.exists());
    EXPECT_TRUE(stamp.isRegularFile());
    EXPECT_EQ(stamp.size(), 5);
    EXPECT_EQ(stamp.modifiedNs(), 1000000000123);
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(name).constData(), &status), 0);
    EXPECT_EQ(stamp.inode(), status.st_ino);
    EXPECT_EQ(stamp.device(), status.st_dev);
    EXPECT_EQ(stamp.fileName(), name);
    EXPECT_EQ(stamp.toString(), QStringLiteral("5:1000000000123:%1").arg(quint64(status.st_ino)));
    EXPECT_FALSE(stamp.hasChanged());
}

TEST_F(FileStampTest, AnotherSizeIsAChange)
{
    write("12345");
    setModified(1000);
    const FileStamp stamp(name);
    write("6", QIODevice::Append);
    setModified(1000);
    EXPECT_TRUE(stamp.hasChanged());
    EXPECT_NE(FileStamp(name).toString(), stamp.toString());
}

TEST_F(FileStampTest, AnotherTimeIsAChange)
{
    write("12345");
    setModified(1000);
    const FileStamp stamp(name);
    setModified(1001);
    EXPECT_TRUE(stamp.hasChanged());
}

TEST_F(FileStampTest, AReplacedFileOfTheSameSizeAndTimeIsAChange)
{
    write("12345");
    setModified(1000);
    const FileStamp stamp(name);
    ASSERT_TRUE(QFile::rename(name, name + QStringLiteral(".old")));
    write("54321");
    setModified(1000);
    EXPECT_TRUE(stamp.hasChanged());
    EXPECT_FALSE(stamp.isSameFileAs(FileStamp(name)));
}

TEST_F(FileStampTest, AppearingAndDisappearingAreChanges)
{
    const FileStamp missing(name);
    EXPECT_FALSE(missing.exists());
    EXPECT_TRUE(missing.toString().isEmpty());
    EXPECT_FALSE(missing.hasChanged());
    write("1");
    EXPECT_TRUE(missing.hasChanged());
    const FileStamp present(name);
    ASSERT_TRUE(QFile::remove(name));
    EXPECT_TRUE(present.hasChanged());
    EXPECT_FALSE(FileStamp().exists());
    EXPECT_FALSE(FileStamp().hasChanged());
}

TEST_F(FileStampTest, AFolderIsTheSameWhileItsContentChanges)
{
    const FileStamp before(folder.path());
    EXPECT_FALSE(before.isRegularFile());
    write("1");
    EXPECT_TRUE(before.isSameFileAs(FileStamp(folder.path())));
    EXPECT_FALSE(before.isSameFileAs(FileStamp(name)));
}
