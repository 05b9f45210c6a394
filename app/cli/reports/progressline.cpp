#include "app/cli/reports/progressline.h"

#include <QCoreApplication>

#include <cstdio>
#include <unistd.h>

namespace tov::app {

namespace {

constexpr int RedrawMs = 100;
constexpr int BarCells = 24;
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
    const qint64 spentMs = m_Estimate.elapsedMs();
    if (percent < 0)
        return spentMs < MsPerSecond ? m_Text : m_Text + tr("  %1 s").arg(int(double(spentMs) / MsPerSecond));
    const int filled = BarCells * percent / 100;
    QString line = QStringLiteral("[%1%2] %3 %  %4")
                       .arg(QString(filled, QLatin1Char('#')), QString(BarCells - filled, QLatin1Char('.')),
                            QString::number(percent).rightJustified(3), m_Text);
    if (!m_Estimate.isKnown())
        return line;
    if (frameCount > 0)
        line += tr("  %1 frames/s").arg(m_Estimate.rate(frameCount), 0, 'f', 1);
    return line + tr("  %1 s left").arg(int(m_Estimate.secondsLeft()) + 1);
}

void ProgressLine::show(const QString& text, int percent, qint64 frameCount)
{
    if (!m_IsActive)
        return;
    if (text != m_Text)
        m_SinceDrawn.invalidate();
    // The text may be a literal of a module, which is unloaded first.
    m_Text = QString(text.constData(), text.size());
    m_Estimate.update(text, percent);
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
