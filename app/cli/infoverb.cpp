#include "app/cli/verbs.h"

#include "app/cli/reporter.h"

#include <QCoreApplication>

namespace tov::app {

int runInfo(const Options& options, int& argc, char** argv)
{
    Q_UNUSED(argc)
    Q_UNUSED(argv)
    Reporter reporter(options);
    reporter.fail(QStringLiteral("info"));
    return ExitFailed;
}

} // namespace tov::app
