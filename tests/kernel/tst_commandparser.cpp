#include "kernel/commands/commandparser.h"

#include <gtest/gtest.h>

using tov::main::CommandParser;
using tov::main::CommandText;

namespace {

std::vector<CommandText> parsed(const QString& script)
{
    std::vector<CommandText> commands;
    QString error;
    EXPECT_TRUE(CommandParser::parse(script, commands, &error)) << error.toStdString();
    return commands;
}

QString refused(const QString& script)
{
    std::vector<CommandText> commands;
    QString error;
    EXPECT_FALSE(CommandParser::parse(script, commands, &error));
    return error;
}

} // namespace

TEST(CommandParser, WordsByPositionAndByName)
{
    const auto commands = parsed(QStringLiteral("grabimage a.png  width=4000"));
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0].name, "grabimage");
    EXPECT_EQ(commands[0].arguments.positional, QStringList{"a.png"});
    ASSERT_EQ(commands[0].arguments.named.size(), 1u);
    EXPECT_EQ(commands[0].arguments.named[0].first, "width");
    EXPECT_EQ(commands[0].arguments.named[0].second, "4000");
}

TEST(CommandParser, QuotesKeepBlanksHashesAndEqualSigns)
{
    const auto commands =
        parsed(QStringLiteral("x \"a b#c=d\" 'it \"is\"' name=\"two words\" e=\"q\\\"\\\\\\n\\t\\z\""));
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0].arguments.positional, (QStringList{"a b#c=d", "it \"is\""}));
    EXPECT_EQ(commands[0].arguments.named[0].second, "two words");
    EXPECT_EQ(commands[0].arguments.named[1].second, "q\"\\\n\t\\z");
}

TEST(CommandParser, QuotedNamesMayHoldBlanks)
{
    const auto commands = parsed(QStringLiteral("set \"use memory buffer\"=1"));
    ASSERT_EQ(commands[0].arguments.named.size(), 1u);
    EXPECT_EQ(commands[0].arguments.named[0].first, "use memory buffer");
}

TEST(CommandParser, CommentsAndEmptyLinesCount)
{
    const auto commands = parsed(QStringLiteral("# heading\n\none a # rest\r\ntwo\n"));
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].line, 3);
    EXPECT_EQ(commands[0].arguments.positional, QStringList{"a"});
    EXPECT_EQ(commands[1].line, 4);
}

TEST(CommandParser, ErrorsNameTheLine)
{
    EXPECT_EQ(refused(QStringLiteral("a\nb \"open")), "line 2: the quote at column 3 is not closed");
    EXPECT_EQ(refused(QStringLiteral("a\n\n b x=1 2")),
              "line 3: \"2\" follows a named argument; positional arguments come first");
    EXPECT_EQ(refused(QStringLiteral("a =1")), "line 1: \"=1\" has no name before \"=\"");
    EXPECT_EQ(refused(QStringLiteral("x=1")), "line 1: expected a command name, got \"x=1\"");
    EXPECT_EQ(refused(QStringLiteral("\"a\\nb\"=1")), "line 1: expected a command name, got \"a b=1\"")
        << "the message is one line even if the word contains a line feed";
    EXPECT_EQ(refused(QString(QChar(0)) + QStringLiteral("a")), "line 1: NUL character at column 1");
    EXPECT_EQ(refused(QStringLiteral("a \"b") + QChar(0) + QStringLiteral("\"")), "line 1: NUL character at column 5");
    EXPECT_EQ(refused(QStringLiteral("a \"b\\") + QChar(0) + QStringLiteral("\"")), "line 1: NUL character at column 6")
        << "NUL is rejected after a backslash too";
}

TEST(CommandParser, QuotedValuesAreReadBack)
{
    for (const QString& value : {QString(), QStringLiteral("a b"), QStringLiteral("\"\\'=#"),
                                 QStringLiteral("line\nfeed\t"), QString::fromUtf8("B\xc3\xa4r %1")}) {
        const auto commands = parsed(QStringLiteral("x f=") + CommandParser::quoted(value));
        ASSERT_EQ(commands.size(), 1u);
        EXPECT_EQ(commands[0].arguments.named.at(0).second, value);
    }
}
