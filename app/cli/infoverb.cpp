#include "app/cli/reports/infotext.h"
#include "app/cli/options/optionreader.h"
#include "app/cli/session.h"
#include "app/cli/setup/sceneoptions.h"
#include "app/cli/verbs.h"
#include "scene/import/sceneimport.h"
#include "scene/modelinfo.h"
#include "scene/sceneelement.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>

#include <cstdio>
#include <memory>

namespace tov::app {

using tov::scene::SceneImport;

namespace {

void print(const QJsonObject& object, const QStringList& lines, const Reporter& reporter)
{
    const QString text = reporter.isJson() ? QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))
                                           : lines.join(QLatin1Char('\n'));
    std::fprintf(stdout, "%s\n", text.toLocal8Bit().constData());
}

/// False (reported) when the model cannot be read.
bool printModel(const QString& file, const SceneImport::Options& import, Reporter& reporter)
{
    QString error;
    const std::unique_ptr<tov::scene::SceneElement> root(SceneImport::readFile(file, import, &error));
    if (!root)
        return reporter.fail(error);
    const tov::scene::ModelInfo info(*root);
    print(toJson(file, info), describe(file, info), reporter);
    return true;
}

/// Prints a scene file, then its models; a model is printed alone.
bool printInfo(const QString& file, const SceneImport::Options& import, Reporter& reporter)
{
    if (!SceneFile::isSceneFile(file))
        return printModel(file, import, reporter);
    QString error;
    const auto scene = SceneFile::load(file, &error);
    if (!scene)
        return reporter.fail(error);
    print(sceneToJson(file, *scene), describeScene(file, *scene), reporter);
    const QStringList missing = findMissingModels(file, *scene);
    for (const QString& problem : missing)
        reporter.fail(problem);
    bool isComplete = missing.isEmpty();
    for (const SceneFile::Model& model : scene->models) {
        SceneImport::Options options = import;
        if (options.modelUp.isEmpty())
            options.modelUp = model.up;
        if (QFileInfo::exists(model.file))
            isComplete = printModel(model.file, options, reporter) && isComplete;
    }
    return isComplete;
}

} // namespace

int runInfo(const Options& options, int& argc, char** argv)
{
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
    for (const QString& file : options.files)
        if (!printInfo(file, import, reporter) && reporter.isStrict())
            break;
    return reporter.hasReportedFailure() ? ExitFailed : ExitDone;
}

} // namespace tov::app
