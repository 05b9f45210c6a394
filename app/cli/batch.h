#pragma once

#include "app/cli/options/options.h"
#include "app/cli/outputs/outputname.h"
#include "app/cli/reports/reporter.h"
#include "app/cli/session.h"
#include "app/cli/setup/sceneoptions.h"
#include "app/cli/verbs.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSet>

#include <vector>

namespace tov::app {

/// The arguments of one line of a job list, on top of those of the command line.
struct JobLine
{
    Options options;
    QString origin; ///< "file, line N"; empty for the command line itself
    QString error;  ///< why the line cannot be used; empty if it can
};

/// The lines of the file named by --jobs ("-" = standard input), or the command line alone without that option. Words
/// are separated by blanks and quoted as in a shell; empty lines and lines that begin with # are skipped. False with
/// one line in `error` when the file cannot be read. Thread: application.
bool readJobLines(const Options& options, std::vector<JobLine>& lines, QString* error);

/// Splits a line into words: blanks separate, '...' and "..." and a backslash quote. False when a quote is not closed.
/// Thread: any.
bool splitWords(const QString& line, QStringList& words);

/// The options of a verb as text that `splitWords` and the parser can read, without the output options. Thread:
/// any.
QString describeOptions(const Options& options);

/// With --no-clobber, no file of a result exists; false with one line in `error` otherwise. `fileName` is the output.
/// Thread: any.
bool checkOlderFiles(const OutputRequest& output, const ViewRequest& view, const QString& fileName, QString* error);

/// One result to make.
template <typename Request>
struct Job
{
    Request request;
    ResultPlan plan;
    QString options; ///< the command line, as it is stored in pictures
};

/// Makes the list of results of a call: of each line of a job list, one per view and model. Lines that cannot be
/// used are reported. Returns false (reported) when nothing can be done; `isUsage` is then true for wrong usage.
template <typename Request>
bool collectJobs(const Options& options, bool (*read)(const Options&, Request&, QString*), Reporter& reporter,
                 std::vector<Job<Request>>& jobs, bool& isUsage)
{
    std::vector<JobLine> lines;
    QString error;
    isUsage = false;
    if (!readJobLines(options, lines, &error))
        return reporter.fail(error);
    int number = 1;
    QSet<QString> outputs;
    for (JobLine& line : lines) {
        Request request;
        error = line.error;
        std::vector<ResultPlan> plans;
        if (error.isEmpty() && read(line.options, request, &error))
            plans = planResults(request.models, request.view.views, request.output, number, &error);
        for (const ResultPlan& plan : plans) {
            if (error.isEmpty() && plans.size() > 1 && !request.view.savedScene.isEmpty())
                error = QCoreApplication::translate("tov::app", "--save-scene is for a single result");
            if (error.isEmpty() && plan.output != QLatin1String("-") && outputs.contains(plan.output))
                error =
                    QCoreApplication::translate("tov::app", "'%1' is the output of an earlier line").arg(plan.output);
            outputs.insert(plan.output);
        }
        if (!error.isEmpty()) {
            isUsage = line.origin.isEmpty();
            reporter.fail(
                isUsage ? QCoreApplication::translate("tov::app", "%1 (see tov %2 --help)").arg(error, options.verb)
                        : QStringLiteral("%1: %2").arg(line.origin, error));
            if (isUsage || reporter.isStrict())
                return false;
            continue;
        }
        for (const ResultPlan& plan : plans) {
            Job<Request> job{request, plan, describeOptions(line.options)};
            QStringList problems;
            if (addScene(plan.models, job.request.view, job.request.motion, problems))
                jobs.push_back(job);
            for (const QString& problem : problems)
                reporter.fail(line.origin.isEmpty() ? problem : QStringLiteral("%1: %2").arg(line.origin, problem));
            if (!problems.isEmpty() && reporter.isStrict())
                return false;
        }
    }
    return true;
}

/// Makes the results of the jobs that `check` accepts, and returns the exit status. Results that are skipped because
/// they exist already are reported; with --strict the first failure is the last job. Thread: application.
template <typename Request>
int runJobs(const std::vector<Job<Request>>& jobs, Session& session, Reporter& reporter,
            bool (*check)(const Job<Request>&, QString*), bool (*make)(Session&, const Job<Request>&))
{
    std::vector<const Job<Request>*> open;
    for (const Job<Request>& job : jobs) {
        QString error;
        if (job.request.output.skipsExisting && QFileInfo::exists(job.plan.output))
            reporter.note(QCoreApplication::translate("tov::app", "%1 exists already").arg(job.plan.output));
        else if (check(job, &error))
            open.push_back(&job);
        else
            reporter.fail(error);
    }
    for (const Job<Request>* job : open) {
        if (reporter.isStrict() && reporter.hasReportedFailure())
            break;
        make(session, *job);
        if (session.wasInterrupted())
            return ExitInterrupted;
    }
    return reporter.hasReportedFailure() ? ExitFailed : ExitDone;
}

} // namespace tov::app
