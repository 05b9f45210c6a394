#include "app/pages/pages.h"

namespace tov::app {

namespace {

const QLatin1String FileValue("FILE");

/// Both spellings of an option.
QStringList spellings(const OptionSpec& option)
{
    QStringList names;
    if (option.shortName != 0)
        names << QStringLiteral("-") + QLatin1Char(option.shortName);
    return names << QStringLiteral("--") + QLatin1String(option.name);
}

/// The options of a verb as words; those of the window for an empty one.
QString optionWords(const QString& verb)
{
    QStringList words;
    for (const OptionSpec& option : optionTable())
        if (isOptionOf(option, verb))
            words += spellings(option);
    return words.join(QLatin1Char(' '));
}

QStringList verbNames()
{
    QStringList names;
    for (const VerbSpec& verb : verbTable())
        names << QLatin1String(verb.name);
    return names;
}

/// A text in single quotes, for bash and zsh.
QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("'\\''")) + QLatin1Char('\'');
}

/// The same for fish, where a backslash escapes inside single quotes.
QString quotedForFish(QString text)
{
    return QLatin1Char('\'') +
           text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\''), QLatin1String("\\'")) +
           QLatin1Char('\'');
}

/// The cases of bash for the value after an option.
QString bashValues()
{
    QString cases;
    for (const OptionSpec& option : optionTable()) {
        if (option.value != OptionValue::Required)
            continue;
        const QString values = fixedValues(option).join(QLatin1Char(' '));
        cases += QStringLiteral("        ") + spellings(option).join(QLatin1Char('|')) + QStringLiteral(") ");
        if (!values.isEmpty())
            cases += QStringLiteral("mapfile -t COMPREPLY < <(compgen -W \"%1\" -- \"$word\"); ").arg(values);
        if (completesFiles(option))
            cases += QStringLiteral("_tov_files \"$word\"; ");
        cases += QStringLiteral("return ;;\n");
    }
    return cases;
}

/// One argument specification of zsh's _arguments.
QString zshOption(const OptionSpec& option)
{
    QString help = QLatin1String(option.help);
    for (const char special : {'[', ']', ':'})
        help.replace(QLatin1Char(special), QStringLiteral("\\") + QLatin1Char(special));
    QStringList actions;
    const QStringList values = fixedValues(option);
    if (!values.isEmpty() && completesFiles(option))
        actions << QStringLiteral("_alternative \"values:value:(%1)\" \"files:file:_files\"")
                       .arg(values.join(QLatin1Char(' ')));
    else if (!values.isEmpty())
        actions << QStringLiteral("(%1)").arg(values.join(QLatin1Char(' ')));
    else if (completesFiles(option))
        actions << QStringLiteral("_files");
    // Two colons: the value is optional.
    const QString value = option.value == OptionValue::None       ? QString()
                          : option.value == OptionValue::Required ? QStringLiteral(":value:") + actions.join(QString())
                                                                  : QStringLiteral("::value:");
    QStringList lines;
    for (const QString& name : spellings(option)) {
        // zsh accepts --name VALUE and --name=VALUE.
        const bool takesEquals = name.startsWith(QLatin1String("--")) && option.value == OptionValue::Required;
        lines << QStringLiteral("        ") +
                     quoted(QStringLiteral("*") + name + QLatin1String(takesEquals ? "=[" : "[") + help +
                            QStringLiteral("]") + value);
    }
    return lines.join(QStringLiteral(" \\\n"));
}

QString zshOptions(const QString& verb)
{
    QStringList lines;
    for (const OptionSpec& option : optionTable())
        if (isOptionOf(option, verb))
            lines << zshOption(option);
    return lines.join(QStringLiteral(" \\\n"));
}

QString fishOption(const OptionSpec& option)
{
    QString line = QStringLiteral("complete -c tov");
    const QStringList verbs = verbsOf(option);
    if (isOptionOf(option, QString()) && !verbs.isEmpty())
        line += QStringLiteral(" -n __fish_use_subcommand");
    else if (!verbs.isEmpty())
        line += QStringLiteral(" -n '__fish_seen_subcommand_from %1'").arg(verbs.join(QLatin1Char(' ')));
    if (option.shortName != 0)
        line += QStringLiteral(" -s ") + QLatin1Char(option.shortName);
    line += QStringLiteral(" -l ") + QLatin1String(option.name);
    if (option.value == OptionValue::Required)
        line += completesFiles(option) ? QStringLiteral(" -rF") : QStringLiteral(" -x");
    const QStringList values = fixedValues(option);
    if (!values.isEmpty())
        line += QStringLiteral(" -a ") + quotedForFish(values.join(QLatin1Char(' ')));
    return line + QStringLiteral(" -d ") + quotedForFish(QLatin1String(option.help)) + QLatin1Char('\n');
}

} // namespace

bool completesFiles(const OptionSpec& option)
{
    return QLatin1String(option.choices).contains(FileValue) || QLatin1String(option.placeholder) == FileValue;
}

QStringList fixedValues(const OptionSpec& option)
{
    QStringList values = QString(QLatin1String(option.choices)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    values.removeAll(FileValue);
    return values;
}

QStringList verbsOf(const OptionSpec& option)
{
    const QString verbs = QLatin1String(option.verbs);
    if (verbs.isEmpty())
        return {QStringLiteral("window")};
    return verbs == QLatin1String("*") ? QStringList() : verbs.split(QLatin1Char(' '));
}

QString bashCompletion()
{
    QString text =
        QStringLiteral("# Completion of tov for bash.\n"
                       "_tov_files()\n{\n"
                       "    compopt -o filenames\n"
                       "    local names\n"
                       "    mapfile -t names < <(compgen -f -- \"$1\")\n"
                       "    COMPREPLY+=(\"${names[@]}\")\n}\n\n"
                       "_tov()\n{\n"
                       "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options\n"
                       "    # --name=value is three words to bash.\n"
                       "    if [[ $word == '=' ]]; then\n"
                       "        word=\n"
                       "    elif [[ $previous == '=' ]]; then\n"
                       "        previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
                       "    fi\n"
                       "    COMPREPLY=()\n"
                       "    case $previous in\n");
    text += bashValues() + QStringLiteral("    esac\n    case ${COMP_WORDS[1]} in\n");
    for (const VerbSpec& verb : verbTable())
        text += QStringLiteral("        %1) options='%2' ;;\n")
                    .arg(QLatin1String(verb.name), optionWords(QLatin1String(verb.name)));
    text += QStringLiteral("        *) options='%1' ;;\n    esac\n").arg(optionWords(QString()));
    text += QStringLiteral("    if [[ $word == -* ]]; then\n"
                           "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")\n"
                           "        return\n"
                           "    fi\n"
                           "    [[ $COMP_CWORD -gt 1 ]] || mapfile -t COMPREPLY < <(compgen -W '%1' -- \"$word\")\n"
                           "    _tov_files \"$word\"\n}\n\n"
                           "complete -F _tov tov\n")
                .arg(verbNames().join(QLatin1Char(' ')));
    return text;
}

QString zshCompletion()
{
    QString text = QStringLiteral("#compdef tov\n# Completion of tov for zsh.\n\n"
                                  "local verbs=(\n");
    for (const VerbSpec& verb : verbTable())
        text += QStringLiteral("    %1\n")
                    .arg(quoted(QLatin1String(verb.name) + QStringLiteral(":") + QLatin1String(verb.help)));
    text += QStringLiteral(")\n\n"
                           "if (( CURRENT == 2 )) && [[ $words[2] != -* ]]; then\n"
                           "    _describe 'verb' verbs\n"
                           "    _files\n"
                           "    return\n"
                           "fi\n"
                           "case $words[2] in\n");
    for (const VerbSpec& verb : verbTable())
        text +=
            QStringLiteral("    %1) shift words; (( CURRENT-- )); _arguments \\\n%2 \\\n        '*:file:_files' ;;\n")
                .arg(QLatin1String(verb.name), zshOptions(QLatin1String(verb.name)));
    return text +
           QStringLiteral("    *) _arguments \\\n%1 \\\n        '*:file:_files' ;;\nesac\n").arg(zshOptions(QString()));
}

QString fishCompletion()
{
    QString text = QStringLiteral("# Completion of tov for fish.\n");
    for (const VerbSpec& verb : verbTable())
        text += QStringLiteral("complete -c tov -n __fish_use_subcommand -a %1 -d %2\n")
                    .arg(QLatin1String(verb.name), quotedForFish(QLatin1String(verb.help)));
    for (const OptionSpec& option : optionTable())
        text += fishOption(option);
    return text;
}

} // namespace tov::app
