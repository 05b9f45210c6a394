#include "app/cli/progressline.h"

#include <QCoreApplication>

#include <cstdio>
#include <unistd.h>

namespace tov::app {

namespace {
constexpr int RedrawMs = 100;
constexpr int BarCells = 24;
} // namespace

ProgressLine::ProgressLine(bool quiet) : m_Active(!quiet && isatty(STDERR_FILENO)) {}

ProgressLine::~ProgressLine()
{
    clear();
}

void ProgressLine::show(const QString& text, int percent)
{
    if (!m_Active)
        return;
    if (text != m_Text || percent < m_Percent || !m_Clock.isValid()) {
        m_Text = text;
        m_Clock.start();
        m_Shown.invalidate();
    }
    m_Percent = percent;
    if (m_Shown.isValid() && m_Shown.elapsed() < RedrawMs)
        return;
    m_Shown.start();
    QString line = text;
    const qint64 spent = m_Clock.elapsed() / 1000;
    if (percent >= 0) {
        const int filled = BarCells * percent / 100;
        line = QStringLiteral("[%1%2] %3 %  %4")
                   .arg(QString(filled, QLatin1Char('#')), QString(BarCells - filled, QLatin1Char('.')))
                   .arg(percent, 3)
                   .arg(text);
        if (percent >= 3 && m_Clock.elapsed() > 500)
            line += QCoreApplication::translate("ProgressLine", "  %1 s left")
                        .arg((m_Clock.elapsed() * (100 - percent) / percent + 999) / 1000);
    } else if (spent > 0) {
        line += QCoreApplication::translate("ProgressLine", "  %1 s").arg(spent);
    }
    if (!m_Remark.isEmpty())
        line += QStringLiteral("  (") + m_Remark + QLatin1Char(')');
    const int length = line.size();
    std::fprintf(stderr, "\r%s%s", line.leftJustified(m_Length).toLocal8Bit().constData(), "");
    std::fflush(stderr);
    m_Length = length;
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
