#include "kernel/commands/commandparser.h"

#include <QCoreApplication>

namespace tov::main {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(CommandParser)
};

/// One word of a command: its text, and the position of the first "=" outside quotes (-1 = none).
struct Word
{
    QString text;
    int equals = -1;
};

/// Reads the words of one line.
class WordReader
{
public:
    explicit WordReader(const QString& line) : m_Line(line) {}

    /// False when a quote is not closed or a character is not allowed.
    bool read(std::vector<Word>& words)
    {
        while (skipBlanks()) {
            Word word;
            if (!readWord(word))
                return false;
            words.push_back(word);
        }
        return true;
    }
    /// Why `read` failed.
    const QString& problem() const { return m_Problem; }

private:
    bool atEnd() const { return m_Index >= m_Line.size(); }

    /// False at the end of the line and at a comment.
    bool skipBlanks()
    {
        while (!atEnd() && m_Line[m_Index].isSpace())
            ++m_Index;
        return !atEnd() && m_Line[m_Index] != QLatin1Char('#');
    }

    bool readWord(Word& word)
    {
        while (!atEnd() && !m_Line[m_Index].isSpace()) {
            const QChar c = m_Line[m_Index];
            if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
                if (!readQuoted(word.text))
                    return false;
                continue;
            }
            if (c == QLatin1Char('=') && word.equals < 0)
                word.equals = word.text.size();
            if (!readCharacter(word.text))
                return false;
        }
        return true;
    }

    bool readQuoted(QString& text)
    {
        const int begin = m_Index;
        const QChar quote = m_Line[m_Index++];
        while (!atEnd()) {
            if (m_Line[m_Index] == quote) {
                ++m_Index;
                return true;
            }
            const bool escape = quote == QLatin1Char('"') && m_Line[m_Index] == QLatin1Char('\\');
            const bool isLast = m_Index + 1 >= m_Line.size();
            if (!(escape && !isLast ? readEscape(text) : readCharacter(text)))
                return false;
        }
        m_Problem = Texts::tr("the quote at column %1 is not closed").arg(begin + 1);
        return false;
    }

    /// A backslash and the character after it.
    bool readEscape(QString& text)
    {
        QString next;
        ++m_Index;
        if (!readCharacter(next))
            return false;
        if (next == QLatin1String("n"))
            text += QLatin1Char('\n');
        else if (next == QLatin1String("t"))
            text += QLatin1Char('\t');
        else if (next == QLatin1String("\"") || next == QLatin1String("\\"))
            text += next;
        else
            text += QLatin1Char('\\') + next;
        return true;
    }

    bool readCharacter(QString& text)
    {
        if (m_Line[m_Index].isNull()) {
            m_Problem = Texts::tr("NUL character at column %1").arg(m_Index + 1);
            return false;
        }
        text += m_Line[m_Index++];
        return true;
    }

    const QString& m_Line;
    int m_Index = 0;
    QString m_Problem;
};

/// Makes a command of the words of a line. Returns the problem; empty on success.
QString makeCommand(const std::vector<Word>& words, CommandText& command)
{
    command.name = words.front().text;
    if (words.front().equals >= 0)
        return Texts::tr("expected a command name, got \"%1\"").arg(command.name);
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        if (word->equals == 0)
            return Texts::tr("\"%1\" has no name before \"=\"").arg(word->text);
        if (word->equals > 0)
            command.arguments.named.emplace_back(word->text.left(word->equals), word->text.mid(word->equals + 1));
        else if (command.arguments.named.empty())
            command.arguments.positional << word->text;
        else
            return Texts::tr("\"%1\" follows a named argument; positional arguments come first").arg(word->text);
    }
    return {};
}

/// Adds the command of a line, if there is one. Returns the problem; empty on success.
QString parseLine(const QString& line, int number, std::vector<CommandText>& commands)
{
    std::vector<Word> words;
    WordReader reader(line);
    if (!reader.read(words))
        return reader.problem();
    if (words.empty())
        return {};
    CommandText command;
    command.line = number;
    QString problem = makeCommand(words, command);
    if (problem.isEmpty())
        commands.push_back(std::move(command));
    return problem;
}

} // namespace

bool CommandParser::parse(const QString& script, std::vector<CommandText>& commands, QString* error)
{
    commands.clear();
    int number = 0;
    for (QString line : script.split(QLatin1Char('\n'))) {
        ++number;
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        const QString problem = parseLine(line, number, commands);
        if (problem.isEmpty())
            continue;
        // Quoted words may contain line feeds; an error message is one line.
        if (error)
            *error = Texts::tr("line %1: %2").arg(QString::number(number), problem.simplified());
        return false;
    }
    return true;
}

QString CommandParser::quoted(const QString& value)
{
    QString result = QStringLiteral("\"");
    for (const QChar c : value) {
        if (c == QLatin1Char('"') || c == QLatin1Char('\\'))
            (result += QLatin1Char('\\')) += c;
        else if (c == QLatin1Char('\n'))
            result += QLatin1String("\\n");
        else if (c == QLatin1Char('\t'))
            result += QLatin1String("\\t");
        else
            result += c;
    }
    return result + QLatin1Char('"');
}

} // namespace tov::main
