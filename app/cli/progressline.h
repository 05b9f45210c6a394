#pragma once

#include <QElapsedTimer>
#include <QString>

namespace tov::app {

/// One line on the terminal (standard error) that shows progress with the time left; nothing in a pipe or when quiet.
/// Thread: application.
class ProgressLine
{
public:
    explicit ProgressLine(bool quiet);
    ~ProgressLine();
    /// `percent` -1 = busy.
    void show(const QString& text, int percent);
    /// Stands behind everything else from the next `show` on.
    void setRemark(const QString& remark) { m_Remark = remark; }
    /// Takes the line away.
    void clear();

private:
    bool m_Active;
    QString m_Text;
    QString m_Remark;
    int m_Percent = -1;
    QElapsedTimer m_Clock; ///< since the text changed
    QElapsedTimer m_Shown; ///< since the line was drawn
    int m_Length = 0;
};

} // namespace tov::app
