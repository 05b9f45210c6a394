#include "app/cli/progressline.h"

#include <QCoreApplication>

#include <cstdio>
#include <unistd.h>

namespace tov::app {

namespace {

constexpr int RedrawMs = 100;
constexpr int BarCells = 24;
/// The remaining time can be estimated from here on.
constexpr int EstimatePercent = 3, EstimateMs = 500;
constexpr double MsPerSecond = 1000;

QString tr(const char* text)
{
    return QCoreApplication::translate("ProgressLine", text);
}

} // namespace

ProgressLine::ProgressLine(bool isQuiet) : m_IsActive(!isQuiet && isatty(STDERR_FILENO)) {}

ProgressLine::~ProgressLine()
{
    clear();
}

QString ProgressLine::describe(int percent, qint64 frameCount) const
{
    const qint64 spentMs = m_SinceStart.elapsed();
    if (percent < 0)
        return spentMs < MsPerSecond ? m_Text : m_Text + tr("  %1 s").arg(int(double(spentMs) / MsPerSecond));
    const int filled = BarCells * percent / 100;
    QString line = QStringLiteral("[%1%2] %3 %  %4")
                       .arg(QString(filled, QLatin1Char('#')), QString(BarCells - filled, QLatin1Char('.')),
                            QString::number(percent).rightJustified(3), m_Text);
    if (percent < EstimatePercent || spentMs < EstimateMs)
        return line;
    if (frameCount > 0)
        line +=
            tr("  %1 frames/s").arg(double(frameCount) * percent / 100 / (double(spentMs) / MsPerSecond), 0, 'f', 1);
    return line + tr("  %1 s left").arg(int(double(spentMs) * (100 - percent) / percent / MsPerSecond) + 1);
}

void ProgressLine::show(const QString& text, int percent, qint64 frameCount)
{
    if (!m_IsActive)
        return;
    if (text != m_Text || percent < m_Percent || !m_SinceStart.isValid()) {
        m_Text = text;
        m_SinceStart.start();
        m_SinceDrawn.invalidate();
    }
    m_Percent = percent;
    if (m_SinceDrawn.isValid() && m_SinceDrawn.elapsed() < RedrawMs)
        return;
    m_SinceDrawn.start();
    QString line = describe(percent, frameCount);
    if (!m_Remark.isEmpty())
        line += QStringLiteral("  (") + m_Remark + QLatin1Char(')');
    std::fprintf(stderr, "\r%s", line.leftJustified(m_Length).toLocal8Bit().constData());
    std::fflush(stderr);
    m_Length = line.size();
}

void ProgressLine::clear()
{
    if (m_Length == 0)
        return;
    std::fprintf(stderr, "\r%s\r", QByteArray(m_Length, ' ').constData());
    std::fflush(stderr);
    m_Length = 0;
}

} // namespace tov::app
