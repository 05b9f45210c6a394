#pragma once

#include <QElapsedTimer>
#include <QString>

namespace tov::app {

/// Estimates how long a task still takes from how long it has taken so far. Thread: application.
class ProgressEstimate
{
public:
    /// Notes the progress of the task with that text; another text, or a lower percentage, is a new task.
    void update(const QString& text, int percent);
    qint64 elapsedMs() const { return m_SinceStart.elapsed(); }
    /// True when enough is done for an estimate.
    bool isKnown() const;
    double secondsLeft() const;
    /// Per second, of `total` items.
    double rate(qint64 total) const;

private:
    QString m_Text;
    int m_Percent = 0; ///< -1 = unknown
    QElapsedTimer m_SinceStart;
};

} // namespace tov::app
