#include "kernel/util/cache.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using tov::util::CacheEntries;
using tov::util::cacheFile;
using tov::util::readCache;
using tov::util::writeCache;

namespace {

class CacheTest : public testing::Test
{
protected:
    void SetUp() override
    {
        before = qgetenv("XDG_CACHE_HOME");
        qputenv("XDG_CACHE_HOME", QFile::encodeName(folder.path()));
    }
    void TearDown() override
    {
        if (before.isNull())
            qunsetenv("XDG_CACHE_HOME");
        else
            qputenv("XDG_CACHE_HOME", before);
    }
    QByteArray content()
    {
        QFile file(cacheFile(QStringLiteral("test")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void replace(const QByteArray& text)
    {
        QFile file(cacheFile(QStringLiteral("test")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    CacheEntries read(const char* version = "1") { return readCache(QStringLiteral("test"), QLatin1String(version)); }
    bool write(const CacheEntries& entries) { return writeCache(QStringLiteral("test"), QStringLiteral("1"), entries); }

    QTemporaryDir folder;
    QByteArray before;
    const CacheEntries entries{{QStringLiteral("/lib/a b.so"), QStringLiteral("5:1:2")},
                               {QStringLiteral("line\nfeed \\n"), QString::fromUtf8("gr\xc3\xbc\xc3\x9f %1\n\\")},
                               {QStringLiteral("empty"), QString()},
                               {QStringLiteral("end"), QStringLiteral("end")}};
};

} // namespace

TEST_F(CacheTest, EntriesAreReadBack)
{
    EXPECT_TRUE(read().isEmpty());
    ASSERT_TRUE(write(entries));
    EXPECT_EQ(read(), entries);
    ASSERT_TRUE(write({}));
    EXPECT_TRUE(read().isEmpty());
}

TEST_F(CacheTest, TheFileIsPlainTextWithAVersion)
{
    ASSERT_TRUE(write({{QStringLiteral("key"), QStringLiteral("value")}}));
    EXPECT_EQ(content(), "tov cache 1 1\nkey\nvalue\n\\end\n");
}

TEST_F(CacheTest, AnotherVersionIsNotRead)
{
    ASSERT_TRUE(write(entries));
    EXPECT_TRUE(read("2").isEmpty());
}

TEST_F(CacheTest, DamagedFilesAreNotRead)
{
    ASSERT_TRUE(write(entries));
    const QByteArray whole = content();
    for (int size = 0; size < whole.size(); ++size) {
        replace(whole.left(size));
        EXPECT_TRUE(read().isEmpty()) << size;
    }
    replace(whole + "more\n");
    EXPECT_TRUE(read().isEmpty());
    replace(QByteArray(2 << 20, '\n'));
    EXPECT_TRUE(read().isEmpty());
}

TEST_F(CacheTest, FolderAndFileArePrivate)
{
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("tov")));
    ASSERT_EQ(chmod(QFile::encodeName(folder.filePath(QStringLiteral("tov"))).constData(), 0777), 0);
    ASSERT_TRUE(write(entries));
    struct stat status;
    ASSERT_EQ(stat(QFile::encodeName(cacheFile(QStringLiteral("test"))).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(stat(QFile::encodeName(folder.filePath(QStringLiteral("tov"))).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(CacheTest, WithoutAFolderNothingIsCached)
{
    QFile blocker(folder.filePath(QStringLiteral("tov")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    EXPECT_TRUE(cacheFile(QStringLiteral("test")).isEmpty());
    EXPECT_FALSE(write(entries));
    EXPECT_TRUE(read().isEmpty());
}

TEST_F(CacheTest, OnlyPlainNamesAreAccepted)
{
    EXPECT_TRUE(cacheFile(QStringLiteral("../test")).isEmpty());
    EXPECT_TRUE(cacheFile(QString()).isEmpty());
}

TEST_F(CacheTest, TheFolderOfAnotherUserIsNotUsed)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a folder to another user";
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("tov")));
    ASSERT_EQ(chown(QFile::encodeName(folder.filePath(QStringLiteral("tov"))).constData(), 12345, 12345), 0);
    EXPECT_FALSE(write(entries));
}
