#include "app/cli/options/optionreader.h"

#include "app/cli/options/valuetext.h"

#include <cmath>

namespace tov::app {

namespace {

constexpr double LongestSeconds = 1e6;

} // namespace

QStringList OptionReader::texts(const char* option) const
{
    return has(option) ? m_Options.values.at(QLatin1String(option)) : QStringList();
}

void OptionReader::fail(const QString& message)
{
    if (m_Error.isEmpty())
        m_Error = message;
}

void OptionReader::readInt(const char* option, int least, int most, int& value)
{
    if (!has(option))
        return;
    bool isNumber = false;
    const int number = text(option).toInt(&isNumber);
    if (!isNumber || number < least || number > most)
        fail(tr("--%1 must be a whole number from %2 to %3 (got \"%4\")")
                 .arg(QLatin1String(option), QString::number(least), QString::number(most), text(option)));
    else
        value = number;
}

void OptionReader::readNumber(const char* option, double least, double most, double& value)
{
    if (has(option))
        readNumberIn(text(option), option, least, most, value);
}

void OptionReader::readNumberIn(const QString& numberText, const char* option, double least, double most, double& value)
{
    bool isNumber = false;
    const double number = numberText.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(number) || number < least || number > most)
        fail(tr("--%1 must be a number from %2 to %3 (got \"%4\")")
                 .arg(QLatin1String(option), QString::number(least), QString::number(most), text(option)));
    else
        value = number;
}

void OptionReader::readDegrees(const char* option, double least, double most, double& value)
{
    if (!has(option))
        return;
    QString number = text(option).trimmed();
    for (const char* unit : {"degrees", "deg", "\xc2\xb0"})
        if (number.endsWith(QString::fromUtf8(unit)))
            number.chop(QString::fromUtf8(unit).size());
    readNumberIn(number, option, least, most, value);
}

void OptionReader::readPercent(const char* option, double least, double most, double& value)
{
    if (!has(option))
        return;
    QString number = text(option).trimmed();
    if (number.endsWith(QLatin1Char('%')))
        number.chop(1);
    readNumberIn(number, option, least, most, value);
}

void OptionReader::readSeconds(const char* option, double& value)
{
    double seconds = 0;
    if (!has(option))
        return;
    if (!tov::app::readSeconds(text(option), seconds) || seconds <= 0 || seconds > LongestSeconds)
        fail(tr("--%1 must be a time above 0, e.g. 5s (got \"%2\")").arg(QLatin1String(option), text(option)));
    else
        value = seconds;
}

void OptionReader::readTime(const char* option, double& value)
{
    double seconds = 0;
    if (!has(option))
        return;
    if (!tov::app::readSeconds(text(option), seconds) || seconds > LongestSeconds)
        fail(tr("--%1 must be a time, e.g. 0.5s (got \"%2\")").arg(QLatin1String(option), text(option)));
    else
        value = seconds;
}

void OptionReader::readWord(const char* option, const QStringList& words, QString& value)
{
    if (!has(option))
        return;
    const QString word = text(option);
    if (!words.contains(word))
        fail(tr("--%1: unknown value \"%2\"; known values: %3")
                 .arg(QLatin1String(option), word, words.join(QStringLiteral(", "))));
    else
        value = word;
}

void OptionReader::readVector(const char* option, std::optional<std::array<double, 3>>& value)
{
    if (!has(option))
        return;
    const QStringList parts = text(option).split(QLatin1Char(','));
    std::array<double, 3> vector{};
    bool isVector = parts.size() == 3;
    for (int i = 0; isVector && i < 3; ++i) {
        vector[std::size_t(i)] = parts[i].toDouble(&isVector);
        isVector = isVector && std::isfinite(vector[std::size_t(i)]);
    }
    if (!isVector)
        fail(tr("--%1 must be three numbers, e.g. 1,0,-2.5 (got \"%2\")").arg(QLatin1String(option), text(option)));
    else
        value = vector;
}

void OptionReader::readSize(const char* option, QSize& value)
{
    if (has(option) && !tov::app::readSize(text(option), value))
        fail(tr("--%1 must be a size such as 1280x720, at most 65535x65535 (got \"%2\")")
                 .arg(QLatin1String(option), text(option)));
}

} // namespace tov::app
