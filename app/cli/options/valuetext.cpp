#include "app/cli/options/valuetext.h"

#include <QRegularExpression>

#include <cmath>

namespace tov::app {

bool readSize(const QString& text, QSize& size)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,5})[xX](\\d{1,5})$"));
    constexpr int Most = 65535;
    const auto match = form.match(text);
    if (!match.hasMatch())
        return false;
    const int width = match.captured(1).toInt(), height = match.captured(2).toInt();
    if (width < 1 || height < 1 || width > Most || height > Most)
        return false;
    size = QSize(width, height);
    return true;
}

bool readSeconds(const QString& text, double& seconds)
{
    static const QRegularExpression form(QStringLiteral("^\\s*([0-9.eE+-]+?)\\s*(ms|s|sec|min|h)?\\s*$"));
    const auto match = form.match(text);
    bool isNumber = false;
    double value = match.captured(1).toDouble(&isNumber);
    const QString unit = match.captured(2);
    if (unit == QLatin1String("ms"))
        value /= 1000;
    else if (unit == QLatin1String("min"))
        value *= 60;
    else if (unit == QLatin1String("h"))
        value *= 3600;
    if (!isNumber || !std::isfinite(value) || value < 0)
        return false;
    seconds = value;
    return true;
}

bool readBytes(const QString& text, qint64& bytes)
{
    static const QRegularExpression form(QStringLiteral("^\\s*([0-9.]+)\\s*([KMGT]?)(i?)B?\\s*$"),
                                         QRegularExpression::CaseInsensitiveOption);
    const auto match = form.match(text);
    bool isNumber = false;
    double value = match.captured(1).toDouble(&isNumber);
    const double base = match.captured(3).isEmpty() ? 1000 : 1024;
    const QString unit = match.captured(2).toUpper();
    if (!unit.isEmpty())
        value *= std::pow(base, QStringLiteral("KMGT").indexOf(unit) + 1);
    if (!isNumber || !(value >= 1) || value > 1e18)
        return false;
    bytes = qint64(value);
    return true;
}

} // namespace tov::app
