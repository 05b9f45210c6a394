#include "app/cli/options/options.h"
#include "app/cli/reports/reporter.h"
#include "app/cli/verbs.h"
#include "app/common/startup.h"
#include "app/common/translation.h"
#ifdef TOV_WINDOW
#include "app/viewer/runwindow.h"
#endif

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char** argv)
{
    using namespace tov::app;
    prepareProcess();
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QFile::decodeName(argv[i]);
        // Such a name would change when it is converted to text.
        if (QFile::encodeName(arguments.last()) != argv[i]) {
            printError(
                QStringLiteral("%1: names that are not UTF-8 cannot be used; rename the file").arg(arguments.last()));
            return 2;
        }
    }
    Options options;
    QString error;
    if (!readOptions(arguments, options, &error) || options.has(QStringLiteral("help"))) {
        // Translations need an application object; the output needs nothing else from it.
        int count = 1;
        QCoreApplication application(count, argv);
        installTranslations();
        options = Options();
        if (!readOptions(arguments, options, &error)) {
            printError(error);
            return 2;
        }
        std::fputs(helpText(options.verb).toLocal8Bit().constData(), stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    if (options.has(QStringLiteral("version"))) {
        std::puts("tov " TOV_VERSION);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    // Qt must not interpret the arguments: it gets only the program's name.
    int applicationArgc = 1;
    if (!options.verb.isEmpty())
        return runVerb(options, applicationArgc, argv);
#ifdef TOV_WINDOW
    return tov::viewer::runWindow(options, applicationArgc, argv);
#else
    printError(QStringLiteral("this build has no window; tov --help lists the other commands"));
    return 2;
#endif
}
