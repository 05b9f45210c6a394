#pragma once

#include "app/cli/reports/progressestimate.h"

#include <QElapsedTimer>
#include <QString>

namespace tov::app {

/// One line on the terminal (standard error) that shows progress with rate and time left; nothing in a pipe or when
/// quiet. Thread: application.
class ProgressLine
{
public:
    explicit ProgressLine(bool isQuiet);
    ~ProgressLine();
    /// `percent` -1 = busy. `frameCount` frames are 100 %; 0 = not frames.
    void show(const QString& text, int percent, qint64 frameCount = 0);
    /// Appended to the line from the next `show` on.
    void setRemark(const QString& remark) { m_Remark = remark; }
    /// Removes the line from the terminal.
    void clear();

private:
    QString describe(int percent, qint64 frameCount) const;

    bool m_IsActive;
    QString m_Text;
    QString m_Remark;
    ProgressEstimate m_Estimate;
    QElapsedTimer m_SinceDrawn;
    int m_Length = 0; ///< of the line on the terminal
};

} // namespace tov::app
