#include "kernel/commands/commandparser.h"

#include <QCoreApplication>

namespace tov::main {

namespace {

QString parseError(int line, const QString& text)
{
    // Quoted words may contain line feeds; an error message is one line.
    return QCoreApplication::translate("CommandParser", "line %1: %2").arg(QString::number(line), text.simplified());
}

/// One word of a command: its text, and the position of the first "=" outside quotes (-1 = none).
struct Word
{
    QString text;
    int equals = -1;
};

QString nulAt(int index)
{
    return QCoreApplication::translate("CommandParser", "there is a NUL character at column %1").arg(index + 1);
}

/// Reads the words of one line; false and a reason when a quote is not closed or a character is not allowed.
bool readWords(const QString& line, std::vector<Word>& words, QString& reason)
{
    int i = 0;
    const int end = line.size();
    while (i < end) {
        if (line[i].isSpace()) {
            ++i;
            continue;
        }
        if (line[i] == QLatin1Char('#'))
            return true;
        Word word;
        while (i < end && !line[i].isSpace()) {
            const QChar c = line[i];
            if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
                const int begin = i++;
                for (;; ++i) {
                    if (i >= end) {
                        reason = QCoreApplication::translate("CommandParser", "the quote at column %1 is not closed")
                                     .arg(begin + 1);
                        return false;
                    }
                    if (line[i] == c)
                        break;
                    if (line[i].isNull()) {
                        reason = nulAt(i);
                        return false;
                    }
                    if (c == QLatin1Char('"') && line[i] == QLatin1Char('\\') && i + 1 < end) {
                        const QChar next = line[++i];
                        if (next.isNull()) {
                            reason = nulAt(i);
                            return false;
                        }
                        if (next == QLatin1Char('n'))
                            word.text += QLatin1Char('\n');
                        else if (next == QLatin1Char('t'))
                            word.text += QLatin1Char('\t');
                        else if (next == QLatin1Char('"') || next == QLatin1Char('\\'))
                            word.text += next;
                        else
                            (word.text += QLatin1Char('\\')) += next;
                        continue;
                    }
                    word.text += line[i];
                }
                ++i;
                continue;
            }
            if (c.isNull()) {
                reason = nulAt(i);
                return false;
            }
            if (c == QLatin1Char('=') && word.equals < 0)
                word.equals = word.text.size();
            word.text += c;
            ++i;
        }
        words.push_back(word);
    }
    return true;
}

} // namespace

bool CommandParser::parse(const QString& script, std::vector<CommandText>& commands, QString* error)
{
    commands.clear();
    const auto fail = [&](int line, const QString& reason) {
        if (error)
            *error = parseError(line, reason);
        return false;
    };
    int lineNumber = 0;
    for (QString line : script.split(QLatin1Char('\n'))) {
        ++lineNumber;
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        std::vector<Word> words;
        QString reason;
        if (!readWords(line, words, reason))
            return fail(lineNumber, reason);
        if (words.empty())
            continue;
        CommandText command;
        command.line = lineNumber;
        command.name = words.front().text;
        if (words.front().equals >= 0)
            return fail(lineNumber, QCoreApplication::translate("CommandParser", "\"%1\" stands where a command's name "
                                                                                 "is expected")
                                        .arg(command.name));
        for (std::size_t i = 1; i < words.size(); ++i) {
            const Word& word = words[i];
            if (word.equals == 0)
                return fail(
                    lineNumber,
                    QCoreApplication::translate("CommandParser", "\"%1\" has no name before \"=\"").arg(word.text));
            if (word.equals > 0) {
                command.arguments.named.emplace_back(word.text.left(word.equals), word.text.mid(word.equals + 1));
            } else if (!command.arguments.named.empty()) {
                return fail(lineNumber, QCoreApplication::translate(
                                            "CommandParser", "\"%1\" stands after a named argument; arguments by "
                                                             "position come first")
                                            .arg(word.text));
            } else {
                command.arguments.positional << word.text;
            }
        }
        commands.push_back(std::move(command));
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
