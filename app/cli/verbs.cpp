#include "app/cli/verbs.h"

#include "app/cli/options/optiontable.h"
#include "app/cli/reports/reporter.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>

namespace tov::app {

namespace {

typedef int (*VerbFunction)(const Options&, int&, char**);

VerbFunction functionOf(const QString& verb)
{
    static const std::pair<const char*, VerbFunction> functions[] = {
        {"image", runImage},       {"video", runVideo},       {"run", runScript},      {"info", runInfo},
        {"commands", runCommands}, {"encoders", runEncoders}, {"modules", runModules},
    };
    for (const auto& [name, function] : functions)
        if (verb == QLatin1String(name))
            return function;
    return nullptr;
}

} // namespace

int runVerb(const Options& options, int& argc, char** argv)
{
    const VerbSpec* verb = findVerb(options.verb);
    const VerbFunction function = functionOf(options.verb);
    if (!verb || !function)
        return ExitUsage;
    if (!verb->takesFiles && !options.files.isEmpty()) {
        printError(QCoreApplication::translate("tov::app", "%1 takes no file").arg(options.verb));
        return ExitUsage;
    }
    const QString settings = options.value(QStringLiteral("settings"));
    if (QFileInfo(settings).isDir()) {
        printError(
            QCoreApplication::translate("tov::app", "--settings must be a file ('%1' is a folder)").arg(settings));
        return ExitUsage;
    }
    const int status = function(options, argc, argv);
    return std::fflush(stdout) != 0 && status == ExitDone ? int(ExitFailed) : status;
}

} // namespace tov::app
