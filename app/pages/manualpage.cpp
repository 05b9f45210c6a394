#include "app/pages/pages.h"

namespace tov::app {

namespace {

/// A text that man prints as it stands.
QString roff(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\e")).replace(QLatin1Char('-'), QLatin1String("\\-"));
    text.replace(QLatin1Char('\''), QLatin1String("\\(aq"));
    // A period at the start of a line would be a request.
    return text.startsWith(QLatin1Char('.')) ? QStringLiteral("\\&") + text : text;
}

/// A term and its description.
QString entry(const QString& term, const QString& description)
{
    return QStringLiteral(".TP\n\\fB%1\\fR\n%2\n").arg(roff(term), roff(description));
}

QString synopsis()
{
    QString text = QStringLiteral(".SH SYNOPSIS\n.nf\n") + roff(QStringLiteral("tov [FILE...]")) + QLatin1Char('\n');
    for (const VerbSpec& verb : verbTable())
        text += roff(QLatin1String(verb.usage)) + QLatin1Char('\n');
    return text + QStringLiteral(".fi\n");
}

QString commands()
{
    QString text = QStringLiteral(".SH COMMANDS\n");
    for (const VerbSpec& verb : verbTable())
        text += entry(QStringLiteral("tov ") + QLatin1String(verb.name), QLatin1String(verb.help));
    return text;
}

QString options()
{
    QString text = QStringLiteral(".SH OPTIONS\n");
    const char* group = nullptr;
    for (const OptionSpec& option : optionTable()) {
        if (option.group != group)
            text += QStringLiteral(".SS %1\n").arg(roff(QLatin1String(option.group)));
        group = option.group;
        const QStringList verbs = verbsOf(option);
        const QString where =
            verbs.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(verbs.join(QStringLiteral(", ")));
        text += entry(optionUsage(option), QLatin1String(option.help) + where);
    }
    return text;
}

} // namespace

QString manualPage()
{
    return QStringLiteral(".TH TOV 1 \"\" \"tov " TOV_VERSION "\" \"User Commands\"\n"
                          ".SH NAME\ntov \\- view 3D scenes, make pictures and videos of them\n") +
           synopsis() +
           QStringLiteral(".SH DESCRIPTION\n"
                          "Without a command, tov opens its window. The commands need no screen.\n"
                          "Options may be placed before or after file names; \\fB\\-\\-\\fR ends them.\n"
                          "Outputs are written under a temporary name and renamed when they are complete.\n") +
           commands() + options() + QStringLiteral(".SH EXIT STATUS\n") +
           entry(QStringLiteral("0"), QStringLiteral("done; every output was written and verified")) +
           entry(QStringLiteral("1"), QStringLiteral("failed; one line on standard error gives the reason")) +
           entry(QStringLiteral("2"), QStringLiteral("wrong usage")) +
           entry(QStringLiteral("130"), QStringLiteral("interrupted")) + QStringLiteral(".SH ENVIRONMENT\n") +
           entry(QStringLiteral("TOV_SETTINGS"), QStringLiteral("settings file to use instead of the user's own")) +
           entry(QStringLiteral("TOV_EGL"),
                 QStringLiteral(
                     "device = draw with the graphics card, surfaceless = in software, where there is no screen")) +
           entry(QStringLiteral("TOV_IMPORT_SECONDS"), QStringLiteral("processor time for reading one model")) +
           QStringLiteral(".SH FILES\n") +
           entry(QStringLiteral("~/.config/tov/tov.ini"), QStringLiteral("settings of the user")) +
           QStringLiteral(".SH EXAMPLES\n.nf\n"
                          "tov image crane.obj \\-o crane.png \\-\\-view iso\n"
                          "tov video crane.obj \\-o crane.mp4 \\-\\-turntable \\-\\-duration 4\n"
                          "tov info crane.obj\n"
                          ".fi\n"
                          ".SH SEE ALSO\nThe manual in /usr/share/doc/tov.\n");
}

} // namespace tov::app
