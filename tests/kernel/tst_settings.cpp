#include "kernel/main/settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <thread>

using tov::main::setSettingsFile;

namespace {

QByteArray content(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A settings file with one value, in a folder of its own.
class SettingsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        setSettingsFile(fileName);
        tovSettings().setValue(QStringLiteral("group/stored"), 5);
        tovSettings().sync();
        before = content(fileName);
        ASSERT_FALSE(before.isEmpty());
    }
    void TearDown() override { setSettingsFile(QString()); }

    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("settings.ini"));
    QByteArray before;
};

int valueOnAnotherThread(const char* key)
{
    int value = 0;
    std::thread([&] { value = tovSettings().value(QLatin1String(key)).toInt(); }).join();
    return value;
}

} // namespace

TEST_F(SettingsTest, TemporarySettingsStartWithTheStoredValuesAndAreNeverWrittenBack)
{
    tov::main::useTemporarySettings();
    EXPECT_EQ(tovSettings().value(QStringLiteral("group/stored")).toInt(), 5);
    tovSettings().setValue(QStringLiteral("group/stored"), 6);
    tovSettings().setValue(QStringLiteral("group/new"), 7);
    tovSettings().sync();
    EXPECT_EQ(tovSettings().value(QStringLiteral("group/stored")).toInt(), 6);
    EXPECT_EQ(valueOnAnotherThread("group/stored"), 6);
    EXPECT_EQ(valueOnAnotherThread("group/new"), 7);
    EXPECT_EQ(content(fileName), before);
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"settings.ini"});
}

TEST_F(SettingsTest, ThreadsThatUsedTheFileBeforeUseTheTemporarySettings)
{
    std::atomic<int> step{0};
    int seen = 0;
    std::thread other([&] {
        tovSettings().value(QStringLiteral("group/stored"));
        step = 1;
        while (step != 2)
            std::this_thread::yield();
        seen = tovSettings().value(QStringLiteral("group/other")).toInt();
        tovSettings().setValue(QStringLiteral("group/fromThread"), 9);
        tovSettings().sync();
    });
    while (step != 1)
        std::this_thread::yield();
    tov::main::useTemporarySettings();
    tovSettings().setValue(QStringLiteral("group/other"), 8);
    step = 2;
    other.join();
    EXPECT_EQ(seen, 8);
    EXPECT_EQ(tovSettings().value(QStringLiteral("group/fromThread")).toInt(), 9);
    EXPECT_EQ(content(fileName), before);
}

TEST_F(SettingsTest, RemovedAndListedKeysBehaveAsInAFile)
{
    tov::main::useTemporarySettings();
    tovSettings().setValue(QStringLiteral("list/one"), QStringList{"a", "b"});
    EXPECT_TRUE(tovSettings().allKeys().contains(QStringLiteral("list/one")));
    EXPECT_EQ(tovSettings().value(QStringLiteral("list/one")).toStringList(), (QStringList{"a", "b"}));
    tovSettings().remove(QStringLiteral("list"));
    tovSettings().remove(QStringLiteral("group/stored"));
    tovSettings().sync();
    EXPECT_FALSE(tovSettings().contains(QStringLiteral("group/stored")));
    EXPECT_FALSE(tovSettings().contains(QStringLiteral("list/one")));
}

TEST_F(SettingsTest, NothingIsWrittenWhenTheProcessEndsOrCrashes)
{
    const auto changeAnd = [](void (*end)()) {
        tov::main::useTemporarySettings();
        tovSettings().setValue(QStringLiteral("group/stored"), 6);
        end();
    };
    EXPECT_EXIT(changeAnd([] { std::exit(0); }), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(changeAnd([] { raise(SIGKILL); }), testing::KilledBySignal(SIGKILL), "");
    EXPECT_EQ(content(fileName), before);
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"settings.ini"});
}

TEST_F(SettingsTest, EmptySettingsDoNotStartWithTheStoredValues)
{
    EXPECT_EXIT(
        {
            tov::main::useEmptySettings();
            std::exit(tovSettings().allKeys().isEmpty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(SettingsTest, AFileWithOtherLinesIsForeign)
{
    EXPECT_FALSE(tov::main::isForeignFile(fileName));
    EXPECT_FALSE(tov::main::isForeignFile(folder.filePath(QStringLiteral("missing"))));
    const QString picture = folder.filePath(QStringLiteral("picture.ppm"));
    QFile file(picture);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("P6\n1 1\n255\nabc");
    file.close();
    EXPECT_TRUE(tov::main::isForeignFile(picture));
}
