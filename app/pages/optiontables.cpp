#include "app/pages/pages.h"

namespace tov::app {

namespace {

QString cell(QString text)
{
    return text.replace(QLatin1Char('|'), QLatin1String("\\|")).replace(QLatin1Char('<'), QLatin1String("&lt;"));
}

QString tableRow(const OptionSpec& option)
{
    const QStringList verbs = verbsOf(option);
    return QStringLiteral("| `%1` | %2 | %3 |\n")
        .arg(optionUsage(option), verbs.isEmpty() ? QStringLiteral("all") : verbs.join(QStringLiteral(", ")),
             cell(QLatin1String(option.help)));
}

} // namespace

QString optionTables()
{
    QString text;
    const char* group = nullptr;
    for (const OptionSpec& option : optionTable()) {
        if (option.group != group)
            text += QStringLiteral("%1### %2\n\n| option | commands | meaning |\n|---|---|---|\n")
                        .arg(group ? QStringLiteral("\n") : QString(), QLatin1String(option.group));
        group = option.group;
        text += tableRow(option);
    }
    return text;
}

} // namespace tov::app
