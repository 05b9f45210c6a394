#include "app/cli/reports/infotext.h"
#include "app/cli/options/optionreader.h"
#include "app/cli/session.h"
#include "app/cli/verbs.h"
#include "scene/import/sceneimport.h"
#include "scene/modelinfo.h"
#include "scene/sceneelement.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <cstdio>
#include <memory>

namespace tov::app {

int runInfo(const Options& options, int& argc, char** argv)
{
    using tov::scene::SceneImport;
    Reporter reporter(options);
    OptionReader reader(options);
    SceneImport::Options import;
    reader.readWord("model-up", {"+X", "-X", "+Y", "-Y", "+Z", "-Z", "auto"}, import.modelUp);
    if (options.files.isEmpty())
        reader.fail(QCoreApplication::translate("tov::app", "info needs a model"));
    if (reader.hasFailed()) {
        reporter.fail(QCoreApplication::translate("tov::app", "%1 (see %2)")
                          .arg(reader.getError(), QStringLiteral("tov info --help")));
        return ExitUsage;
    }
    import.strict = reporter.isStrict();
    Session session(options, reporter, argc, argv);
    session.leaveAtFirstInterrupt();
    for (const QString& file : options.files) {
        QString error;
        const std::unique_ptr<tov::scene::SceneElement> root(SceneImport::readFile(file, import, &error));
        if (!root) {
            reporter.fail(error);
            if (reporter.isStrict())
                break;
            continue;
        }
        const tov::scene::ModelInfo info(*root);
        const QString text = reporter.isJson()
                                 ? QString::fromUtf8(QJsonDocument(toJson(file, info)).toJson(QJsonDocument::Compact))
                                 : describe(file, info).join(QLatin1Char('\n'));
        std::fprintf(stdout, "%s\n", text.toLocal8Bit().constData());
    }
    return reporter.hasReportedFailure() ? ExitFailed : ExitDone;
}

} // namespace tov::app
