#pragma once

#include "app/cli/options/options.h"
#include "app/cli/reports/progressestimate.h"
#include "app/cli/reports/progressline.h"
#include "app/common/runoutcome.h"

#include <QElapsedTimer>
#include <QString>

class QJsonObject;

namespace tov::app {

/// Prints one line on standard error: "tov: ...". Thread: any.
void printError(const QString& message);

/// Everything that a verb reports: as lines on standard error, or with --json as one object per line on standard
/// output. The keys and the values of "event" are English in every language. Thread: application.
class Reporter
{
public:
    explicit Reporter(const Options& options);

    /// Work on a result has started.
    void started(const QString& output);
    /// Information for the user; nothing is wrong.
    void note(const QString& message);
    /// A probable mistake. A failure with --strict.
    void warning(const QString& message);
    /// One line that says what failed and why. Returns false, so that a function can end with it.
    bool fail(const QString& message);
    /// A finished result, in words.
    void result(const RunOutcome& outcome);
    /// A JSON object whose keys the verb defines; printed only with --json.
    void print(const QJsonObject& object);
    /// `percent` -1 = busy; `count` of `unit` are 100 %, 0 = unknown.
    void progress(const QString& text, int percent, qint64 count = 0);
    void setProgressRemark(const QString& remark) { m_Line.setRemark(remark); }
    void clearProgress() { m_Line.clear(); }

    bool hasReportedFailure() const { return m_Failures > 0; }
    /// Failures so far.
    int getFailureCount() const { return m_Failures; }
    bool isStrict() const { return m_IsStrict; }
    bool isQuiet() const { return m_IsQuiet; }
    bool isJson() const { return m_IsJson; }

private:
    const bool m_IsQuiet, m_IsJson, m_IsStrict;
    const bool m_HasProgress; ///< the output is more than one answer
    ProgressLine m_Line;
    ProgressEstimate m_Estimate; ///< of the progress objects
    QElapsedTimer m_SinceProgress;
    int m_Failures = 0;
};

} // namespace tov::app
