#include "app/cli/options.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <vector>

namespace tov::app {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

struct Option
{
    const char* name;
    const char* shortName;   ///< without the dash, or null
    const char* placeholder; ///< null for a flag
    const char* verbs;       ///< blank-separated; "*" = everywhere
    const char* help;
};

const Option Table[] = {
    {"output", "o", "OUT", "image video",
     QT_TRANSLATE_NOOP("CommandLine", "file to write; its ending chooses the format")},
    {"width", nullptr, "N", "image",
     QT_TRANSLATE_NOOP("CommandLine",
                       "width of the picture in pixels (default 10000); the height follows from --panel")},
    {"size", nullptr, "WxH", "video",
     QT_TRANSLATE_NOOP("CommandLine", "size of the video in pixels (default: that of --panel); made even")},
    {"turntable", nullptr, "N", "video run",
     QT_TRANSLATE_NOOP("CommandLine", "turn the camera once about the scene in N positions, a frame each")},
    {"trajectory", nullptr, "FILE", "video run",
     QT_TRANSLATE_NOOP("CommandLine", "step along a trajectory (csv, tum, txt, json), a frame a position")},
    {"duration", nullptr, "SECONDS", "video",
     QT_TRANSLATE_NOOP("CommandLine", "record freely for so long, at a pace of its own")},
    {"fps", nullptr, "N", "video",
     QT_TRANSLATE_NOOP("CommandLine", "frames a second of the video (default: the setting, 25)")},
    {"bitrate", nullptr, "KBPS", "video",
     QT_TRANSLATE_NOOP("CommandLine", "bit rate in kbit/s, at least 100 (default: the setting, 1200)")},
    {"command", "c", "TEXT", "run",
     QT_TRANSLATE_NOOP("CommandLine", "a command text to run; may be given several times, in order")},
    {"panel", nullptr, "WxH", "image video run",
     QT_TRANSLATE_NOOP("CommandLine", "size of the view (default 1280x720)")},
    {"view", nullptr, "NAME", "image video run",
     QT_TRANSLATE_NOOP("CommandLine", "front, back, left, right, top, bottom or iso (default front)")},
    {"background", nullptr, "'#rrggbb'", "image video run",
     QT_TRANSLATE_NOOP("CommandLine", "background colour (pictures keep it under alpha 0)")},
    {"samples", nullptr, "N", "image video run",
     QT_TRANSLATE_NOOP(
         "CommandLine",
         "smooth edges: samples a pixel, 0 (off) to 16, as far as the driver goes (default: the setting, 0)")},
    {"transform", nullptr, "'m00 ... m33'", "image video run",
     QT_TRANSLATE_NOOP("CommandLine", "scene to eye, 16 numbers row by row, instead of --view")},
    {"check", nullptr, "FILE.so", "encoders",
     QT_TRANSLATE_NOOP("CommandLine", "try an encoder plug-in apart from the program and report")},
    {"settings", nullptr, "FILE", "*",
     QT_TRANSLATE_NOOP("CommandLine", "settings file to use instead of the user's own")},
    {"safe-mode", nullptr, nullptr, "*",
     QT_TRANSLATE_NOOP("CommandLine", "start without modules and plug-ins that are not part of the program")},
    {"quiet", "q", nullptr, "*", QT_TRANSLATE_NOOP("CommandLine", "say nothing but errors")},
    {"verbose", "v", nullptr, "*", QT_TRANSLATE_NOOP("CommandLine", "show the whole log, what draws among it")},
    {"help", "h", nullptr, "*", QT_TRANSLATE_NOOP("CommandLine", "show this help")},
    {"version", nullptr, nullptr, "*", QT_TRANSLATE_NOOP("CommandLine", "show the version")},
};

const struct
{
    const char* name;
    const char* usage;
    const char* help;
} Verbs[] = {
    {"image", "tov image FILE... -o OUT [--width N]", QT_TRANSLATE_NOOP("CommandLine", "makes a picture of models")},
    {"video", "tov video FILE... -o OUT (--turntable N | --trajectory FILE | --duration SECONDS)",
     QT_TRANSLATE_NOOP("CommandLine", "makes a video of models")},
    {"run", "tov run [FILE...] (-c TEXT ... | SCRIPT.tov)",
     QT_TRANSLATE_NOOP("CommandLine", "runs command texts, e.g. grabimage filename=\"a.png\" width=4000")},
    {"commands", "tov commands",
     QT_TRANSLATE_NOOP("CommandLine", "lists the commands with their parameters and defaults")},
    {"encoders", "tov encoders [--check FILE.so]", QT_TRANSLATE_NOOP("CommandLine", "lists the video formats")},
    {"modules", "tov modules",
     QT_TRANSLATE_NOOP("CommandLine", "lists the modules, their plug-ins, and what could not be loaded")},
};

bool isFor(const Option& option, const QString& verb)
{
    const QString verbs = QLatin1String(option.verbs);
    return verbs == QLatin1String("*") || verbs.split(QLatin1Char(' ')).contains(verb);
}

bool isVerb(const QString& word)
{
    for (const auto& verb : Verbs)
        if (word == QLatin1String(verb.name))
            return true;
    return false;
}

} // namespace

bool readOptions(const QStringList& arguments, Options& options, QString* error)
{
    const auto fail = [&](const QString& what) {
        *error = options.verb.isEmpty() ? tr("%1 (see tov --help)").arg(what)
                                        : tr("%1 (see tov %2 --help)").arg(what, options.verb);
        return false;
    };
    int i = 0;
    if (!arguments.isEmpty() && isVerb(arguments.first()))
        options.verb = arguments[i++];
    // A verb with a slip of the finger is not a file that is missing.
    else if (const QString word = arguments.value(0); !word.isEmpty() && !word.startsWith(QLatin1Char('-')) &&
                                                      !word.contains(QLatin1Char('.')) &&
                                                      !word.contains(QLatin1Char('/')) && !QFileInfo::exists(word))
        return fail(tr("there is neither a verb nor a file named \"%1\"").arg(word));
    bool ended = false;
    for (; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (ended || !argument.startsWith(QLatin1Char('-')) || argument == QLatin1String("-")) {
            options.files << argument;
            continue;
        }
        if (argument == QLatin1String("--")) {
            ended = true;
            continue;
        }
        const bool isLong = argument.startsWith(QLatin1String("--"));
        const int equals = isLong ? argument.indexOf(QLatin1Char('=')) : -1;
        const QString name = argument.mid(isLong ? 2 : 1, equals < 0 ? -1 : equals - 2);
        const Option* found = nullptr;
        for (const Option& option : Table)
            if (isLong ? name == QLatin1String(option.name)
                       : option.shortName && name == QLatin1String(option.shortName))
                found = &option;
        if (!found)
            return fail(tr("there is no option %1").arg(argument.left(60)));
        if (!isFor(*found, options.verb))
            return fail(options.verb.isEmpty()
                            ? tr("the option %1 needs a verb, before everything else").arg(argument.left(60))
                            : tr("%1 has no option %2").arg(options.verb, argument.left(60)));
        QString value = QLatin1String("");
        if (found->placeholder) {
            if (equals >= 0)
                value = argument.mid(equals + 1);
            else if (i + 1 < arguments.size())
                value = arguments[++i];
            else
                return fail(tr("%1 needs a value (%2)").arg(argument, QLatin1String(found->placeholder)));
        } else if (equals >= 0) {
            return fail(tr("%1 takes no value").arg(argument.left(equals)));
        }
        options.values[QLatin1String(found->name)] << value;
    }
    return true;
}

QString helpText(const QString& verb)
{
    QString text;
    const auto optionLines = [&text](const QString& of) {
        for (const Option& option : Table) {
            if (!isFor(option, of))
                continue;
            QString left = QStringLiteral("  ");
            if (option.shortName)
                left += QLatin1Char('-') + QLatin1String(option.shortName) + QStringLiteral(", ");
            left += QStringLiteral("--") + QLatin1String(option.name);
            if (option.placeholder)
                left += QLatin1Char(' ') + QLatin1String(option.placeholder);
            text += left.leftJustified(28) + QLatin1Char(' ') + tr(option.help) + QLatin1Char('\n');
        }
    };
    if (verb.isEmpty()) {
        text += tr("tov shows 3D scenes and makes pictures and videos of them.") + QStringLiteral("\n\n");
        text += QStringLiteral("  tov [FILE...]").leftJustified(28) + QLatin1Char(' ') + tr("opens the window") +
                QLatin1Char('\n');
        for (const auto& entry : Verbs)
            text += (QStringLiteral("  tov ") + QLatin1String(entry.name)).leftJustified(28) + QLatin1Char(' ') +
                    tr(entry.help) + QLatin1Char('\n');
        text += QLatin1Char('\n') + tr("Everywhere:") + QLatin1Char('\n');
        optionLines(QString());
        text += QLatin1Char('\n') +
                tr("tov VERB --help tells more. Exit status: 0 done, 1 failed, 2 wrong usage, 130 stopped by Ctrl-C.") +
                QLatin1Char('\n');
        return text;
    }
    for (const auto& entry : Verbs)
        if (verb == QLatin1String(entry.name))
            text += QLatin1String(entry.usage) + QLatin1Char('\n') + tr(entry.help) + QStringLiteral("\n\n");
    optionLines(verb);
    return text;
}

} // namespace tov::app
