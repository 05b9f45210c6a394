#include "app/common/jsonreader.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>

namespace tov::app {

QString JsonReader::placeOf(const char* key) const
{
    return m_Place.isEmpty() ? QString::fromLatin1(key) : m_Place + QLatin1Char('.') + QLatin1String(key);
}

void JsonReader::fail(const char* key, const QString& reason) const
{
    if (mp_Error->isEmpty())
        *mp_Error = placeOf(key) + QLatin1Char(' ') + reason;
}

JsonReader JsonReader::object(const char* key) const
{
    const QJsonValue value = m_Object.value(QLatin1String(key));
    if (!value.isUndefined() && !value.isObject())
        fail(key, tr("must be an object"));
    return JsonReader(value.toObject(), mp_Error, placeOf(key));
}

std::vector<JsonReader> JsonReader::objects(const char* key, int most) const
{
    std::vector<JsonReader> result;
    const QJsonValue value = m_Object.value(QLatin1String(key));
    const QJsonArray list = value.toArray();
    if (!value.isUndefined() && !value.isArray())
        fail(key, tr("must be a list"));
    else if (list.size() > most)
        fail(key,
             tr("must have at most %1 entries (it has %2)").arg(QString::number(most), QString::number(list.size())));
    for (int i = 0; i < list.size() && !hasFailed(); ++i) {
        const QString place = QStringLiteral("%1[%2]").arg(placeOf(key), QString::number(i));
        if (list[i].isObject())
            result.push_back(JsonReader(list[i].toObject(), mp_Error, place));
        else
            *mp_Error = tr("%1 must be an object").arg(place);
    }
    return result;
}

void JsonReader::read(const char* key, double least, double most, double& value) const
{
    if (!has(key))
        return;
    const QJsonValue found = m_Object.value(QLatin1String(key));
    const double number = found.toDouble();
    if (!found.isDouble() || !std::isfinite(number))
        fail(key, tr("must be a number"));
    else if (number < least || number > most)
        fail(key, tr("must be from %1 to %2 (got %3)")
                      .arg(QString::number(least), QString::number(most), QString::number(number)));
    else
        value = number;
}

void JsonReader::read(const char* key, bool& value) const
{
    if (!has(key))
        return;
    const QJsonValue found = m_Object.value(QLatin1String(key));
    if (found.isBool())
        value = found.toBool();
    else
        fail(key, tr("must be true or false"));
}

void JsonReader::read(const char* key, QString& value) const
{
    if (!has(key))
        return;
    const QJsonValue found = m_Object.value(QLatin1String(key));
    const QString text = found.toString();
    const bool isClean =
        std::none_of(text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
    if (!found.isString())
        fail(key, tr("must be a text"));
    else if (!isClean)
        fail(key, tr("must not contain control characters"));
    else
        value = text;
}

void JsonReader::readWord(const char* key, const std::vector<const char*>& words, int& index) const
{
    QString word;
    read(key, word);
    if (word.isEmpty() && !has(key))
        return;
    const auto found =
        std::find_if(words.begin(), words.end(), [&](const char* each) { return word == QLatin1String(each); });
    QStringList known;
    for (const char* each : words)
        known << QLatin1String(each);
    if (found != words.end())
        index = int(found - words.begin());
    else
        fail(key, tr("must be one of: %1 (got \"%2\")").arg(known.join(QStringLiteral(", ")), word));
}

void JsonReader::readNumbers(const char* key, double* values, std::size_t count) const
{
    if (!has(key))
        return;
    const QJsonArray list = m_Object.value(QLatin1String(key)).toArray();
    const bool isList =
        std::size_t(list.size()) == count && std::all_of(list.begin(), list.end(), [](const QJsonValue& each) {
            return each.isDouble() && std::isfinite(each.toDouble());
        });
    if (!isList) {
        fail(key, tr("must be a list of %1 numbers").arg(count));
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
        values[i] = list[int(i)].toDouble();
}

} // namespace tov::app
