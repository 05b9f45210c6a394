#include "app/cli/reports/progressestimate.h"

namespace tov::app {

namespace {
constexpr double MsPerSecond = 1000, WholePercent = 100;
}

void ProgressEstimate::update(const QString& text, int percent)
{
    if (text != m_Text || percent < m_Percent || !m_SinceStart.isValid())
        m_SinceStart.start();
    // The text may be a literal of a module, which is unloaded first.
    m_Text = QString(text.constData(), text.size());
    m_Percent = percent;
}

bool ProgressEstimate::isKnown() const
{
    constexpr int LeastPercent = 3, LeastMs = 500;
    return m_Percent >= LeastPercent && elapsedMs() >= LeastMs;
}

double ProgressEstimate::secondsLeft() const
{
    return double(elapsedMs()) / MsPerSecond * (WholePercent - m_Percent) / m_Percent;
}

double ProgressEstimate::rate(qint64 total) const
{
    return double(total) * m_Percent / WholePercent / (double(elapsedMs()) / MsPerSecond);
}

} // namespace tov::app
