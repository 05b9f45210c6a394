#include "kernel/log/console.h"
#include "kernel/log/terminalsink.h"
#include "tests/support/logcapture.h"

#include <gtest/gtest.h>

using tov::log::Logger;

TEST(Logger, KeepsAllFields)
{
    tov::test::LogCapture log;
    Logger::log(3000, "some/file", 42, "function", nullptr, "%d of %s", 7, "B\xc3\xa4ren");
    ASSERT_EQ(log.records().size(), 1u);
    const auto record = log.records()[0];
    EXPECT_EQ(record.level, 3000);
    EXPECT_EQ(record.file, "some/file");
    EXPECT_EQ(record.line, 42);
    EXPECT_EQ(record.function, "function");
    EXPECT_TRUE(record.category.isEmpty());
    EXPECT_EQ(record.message, QString::fromUtf8("7 of B\xc3\xa4ren"));
    EXPECT_GT(record.timeMs, 0);
}

TEST(Logger, AQStringIsLoggedLiterally)
{
    tov::test::LogCapture log;
    Logger::log(2000, "f", 1, "g", nullptr, QStringLiteral("100 %s %d %n"));
    EXPECT_EQ(log.records().at(0).message, "100 %s %d %n");
}

TEST(Logger, LongMessagesAreComplete)
{
    tov::test::LogCapture log;
    const std::string text(10000, 'x');
    Logger::log(2000, "f", 1, "g", nullptr, "%s", text.c_str());
    EXPECT_EQ(log.records().at(0).message.toStdString(), text);
}

TEST(Logger, ControlCharactersAreEscapedForTheTerminal)
{
    EXPECT_EQ(tov::log::escaped(QStringLiteral("a\nb\x1b[31m")), "a\\nb\\x1b[31m");
}

TEST(TerminalSink, FoldsRepeatsAndSkipsTooDetailedRecords)
{
    testing::internal::CaptureStderr();
    {
        tov::log::TerminalSink sink(2000);
        tov::log::LogRecord record;
        record.level = 2000;
        record.message = QStringLiteral("again");
        for (int i = 0; i < 5; ++i)
            sink.write(record);
        record.level = 4000;
        record.message = QStringLiteral("too detailed");
        sink.write(record);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "tov: error: again\n  (repeated 4 times)\n");
}

TEST(Console, IsSeparateFromTheLog)
{
    tov::test::LogCapture log;
    tov::test::ConsoleCapture console;
    qConsole("Parameter %s", "failure");
    EXPECT_EQ(console.lines(), QStringList{"Parameter failure"});
    EXPECT_TRUE(log.records().empty());
}
