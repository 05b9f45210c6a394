#include "app/cli/options/options.h"

#include "app/cli/options/optiontable.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace tov::app {

namespace {

/// Characters of an argument that a message repeats.
constexpr int LongestArgument = 60;
/// Columns of the help before the description.
constexpr int HelpColumn = 28;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// Texts of the tables.
QString trTable(const char* text)
{
    return QCoreApplication::translate("CommandLine", text);
}

bool failUsage(const Options& options, const QString& what, QString* error)
{
    const QString help =
        options.verb.isEmpty() ? QStringLiteral("tov --help") : QStringLiteral("tov %1 --help").arg(options.verb);
    *error = tr("%1 (see %2)").arg(what, help);
    return false;
}

/// True when the next argument is the value of an option whose value is optional.
bool isOptionalValue(OptionValue kind, const QString& next)
{
    if (next.isEmpty() || next.startsWith(QLatin1Char('-')))
        return false;
    bool isNumber = false;
    next.toDouble(&isNumber);
    return kind == OptionValue::Number ? isNumber : !QFileInfo::exists(next);
}

/// Reads the option at `index`, and moves `index` to its last argument.
bool readOption(const QStringList& arguments, int& index, Options& options, QString* error)
{
    const QString& argument = arguments[index];
    const bool isLong = argument.startsWith(QLatin1String("--"));
    const int equals = isLong ? argument.indexOf(QLatin1Char('=')) : -1;
    const QString name = argument.mid(isLong ? 2 : 1, equals < 0 ? -1 : equals - 2);
    const OptionSpec* option = isLong ? findOption(name) : name.size() == 1 ? findOption(name[0]) : nullptr;
    const QString shown = argument.left(LongestArgument);
    if (!option)
        return failUsage(options, tr("there is no option %1").arg(shown), error);
    if (!isOptionOf(*option, options.verb))
        return failUsage(options,
                         options.verb.isEmpty() ? tr("the option %1 needs a verb before it").arg(shown)
                                                : tr("%1 has no option %2").arg(options.verb, shown),
                         error);
    QString value = QLatin1String("");
    if (equals >= 0) {
        if (option->value == OptionValue::None)
            return failUsage(options, tr("%1 takes no value").arg(argument.left(equals)), error);
        value = argument.mid(equals + 1);
    } else if (option->value == OptionValue::Required) {
        if (index + 1 >= arguments.size())
            return failUsage(options, tr("%1 needs a value (%2)").arg(argument, QLatin1String(option->placeholder)),
                             error);
        value = arguments[++index];
    } else if (option->value != OptionValue::None && isOptionalValue(option->value, arguments.value(index + 1))) {
        value = arguments[++index];
    }
    options.values[QLatin1String(option->name)] << value;
    return true;
}

QString optionLine(const OptionSpec& option)
{
    return (QStringLiteral("  ") + optionUsage(option)).leftJustified(HelpColumn) + QLatin1Char(' ') +
           trTable(option.help) + QLatin1Char('\n');
}

/// The options of a verb under the headings of their groups.
QString optionLines(const QString& verb)
{
    QString text;
    const char* group = nullptr;
    for (const OptionSpec& option : optionTable()) {
        if (!isOptionOf(option, verb))
            continue;
        if (option.group != group)
            text += trTable(option.group) + QStringLiteral(":\n");
        group = option.group;
        text += optionLine(option);
    }
    return text;
}

} // namespace

bool readVerbOptions(const QStringList& arguments, Options& options, QString* error)
{
    bool areOptionsOver = false;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (areOptionsOver || !argument.startsWith(QLatin1Char('-')) || argument == QLatin1String("-"))
            options.files << argument;
        else if (argument == QLatin1String("--"))
            areOptionsOver = true;
        else if (!readOption(arguments, i, options, error))
            return false;
    }
    return true;
}

bool readOptions(const QStringList& arguments, Options& options, QString* error)
{
    const QString first = arguments.value(0);
    if (findVerb(first)) {
        options.verb = first;
        return readVerbOptions(arguments.mid(1), options, error);
    }
    // A misspelt verb is not a missing file.
    const bool looksLikeVerb = !first.isEmpty() && !first.startsWith(QLatin1Char('-')) &&
                               !first.contains(QLatin1Char('.')) && !first.contains(QLatin1Char('/'));
    if (looksLikeVerb && !QFileInfo::exists(first))
        return failUsage(options, tr("there is neither a verb nor a file named \"%1\"").arg(first), error);
    return readVerbOptions(arguments, options, error);
}

QString helpText(const QString& verb)
{
    if (const VerbSpec* spec = findVerb(verb))
        return QLatin1String(spec->usage) + QLatin1Char('\n') + trTable(spec->help) + QStringLiteral("\n\n") +
               optionLines(verb);
    QString text = tr("tov shows 3D scenes and makes pictures and videos of them") + QStringLiteral("\n\n");
    text += QStringLiteral("  tov [FILE...]").leftJustified(HelpColumn) + QLatin1Char(' ') + tr("opens the window") +
            QLatin1Char('\n');
    for (const VerbSpec& entry : verbTable())
        text += (QStringLiteral("  tov ") + QLatin1String(entry.name)).leftJustified(HelpColumn) + QLatin1Char(' ') +
                trTable(entry.help) + QLatin1Char('\n');
    text += QLatin1Char('\n') + optionLines(QString()) + QLatin1Char('\n');
    text += tr("tov VERB --help lists all options of a verb. Exit status: 0 done, 1 failed, 2 wrong usage, "
               "130 interrupted.") +
            QLatin1Char('\n');
    return text;
}

} // namespace tov::app
