#include "trajectory/trajectoryreader.h"

#include "trajectory/pose.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <charconv>
#include <cmath>

namespace tov::trajectory {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::trajectory", text);
}

bool complain(QString* error, int line, const QString& what)
{
    if (error)
        *error = tr("line %1: %2").arg(QString::number(line), what);
    return false;
}

/// The numbers of a line, separated by commas, semicolons or blanks; false when a word is not a finite number.
bool readNumbers(const QByteArray& line, std::vector<double>& numbers, QString& wrong)
{
    numbers.clear();
    const char* at = line.constData();
    const char* const end = at + line.size();
    const auto separates = [](char c) { return c == ',' || c == ';' || c == ' ' || c == '\t' || c == '\r'; };
    while (at < end) {
        if (separates(*at)) {
            ++at;
            continue;
        }
        const char* wordEnd = at;
        while (wordEnd < end && !separates(*wordEnd))
            ++wordEnd;
        const char* first = *at == '+' ? at + 1 : at;
        double value = 0;
        const auto result = std::from_chars(first, wordEnd, value);
        if (result.ec != std::errc() || result.ptr != wordEnd || !std::isfinite(value)) {
            wrong = QString::fromUtf8(at, int(std::min<std::ptrdiff_t>(wordEnd - at, 40)));
            return false;
        }
        numbers.push_back(value);
        at = wordEnd;
    }
    return true;
}

/// Calls `take` for each line with its line number and its values; comments and empty lines are skipped.
template <typename Take>
bool forEachLine(const QByteArray& data, bool headingAllowed, QString* error, Take take)
{
    std::vector<double> numbers;
    int lineNumber = 0;
    bool first = true;
    const int mark = data.startsWith("\xEF\xBB\xBF") ? 3 : 0; // a byte order mark
    for (int begin = mark; begin < data.size();) {
        int end = data.indexOf('\n', begin);
        if (end < 0)
            end = data.size();
        ++lineNumber;
        QByteArray line = QByteArray::fromRawData(data.constData() + begin, end - begin);
        begin = end + 1;
        const int comment = line.indexOf('#');
        if (comment >= 0)
            line.truncate(comment);
        if (line.trimmed().isEmpty())
            continue;
        QString wrong;
        if (!readNumbers(line, numbers, wrong)) {
            if (first && headingAllowed && numbers.empty()) {
                first = false;
                continue;
            }
            return complain(error, lineNumber, tr("\"%1\" is not a number").arg(wrong));
        }
        first = false;
        if (!take(lineNumber, numbers))
            return false;
    }
    return true;
}

} // namespace

bool TrajectoryReader::readCsv(const QByteArray& data, TimedPoints& points, QString* error)
{
    points = TimedPoints();
    const bool read = forEachLine(data, true, error, [&](int line, const std::vector<double>& numbers) {
        const bool timed = points.values.empty() ? numbers.size() == 4 : !points.times.empty();
        if (numbers.size() != (timed ? 4 : 3))
            return complain(error, line,
                            timed ? tr("there are %1 numbers instead of 4 (t,x,y,z)").arg(numbers.size())
                                  : tr("there are %1 numbers instead of 3 (x,y,z)").arg(numbers.size()));
        const double* point = &numbers[timed ? 1 : 0];
        if (timed)
            points.times.push_back(numbers[0]);
        points.values.push_back({point[0], point[1], point[2]});
        return true;
    });
    if (read && points.values.empty())
        return complain(error, 1, tr("the file has no points"));
    return read;
}

bool TrajectoryReader::readTum(const QByteArray& data, TimedMaps& maps, QString* error)
{
    maps = TimedMaps();
    const bool read = forEachLine(data, false, error, [&](int line, const std::vector<double>& numbers) {
        if (numbers.size() != 8)
            return complain(error, line,
                            tr("there are %1 numbers instead of 8 (t x y z qx qy qz qw)").arg(numbers.size()));
        const Quaternion rotation = {numbers[4], numbers[5], numbers[6], numbers[7]};
        if (!(std::hypot(std::hypot(rotation[0], rotation[1]), std::hypot(rotation[2], rotation[3])) > 1e-12))
            return complain(error, line, tr("the quaternion is zero"));
        Pose place;
        place.translation = {numbers[1], numbers[2], numbers[3]};
        place.rotation = normalized(rotation);
        tov::math::Matrix4 pose = composed(place);
        // The file's camera looks along +z with y down, the eye along -z with y up.
        for (unsigned int r = 0; r < 3; ++r)
            for (unsigned int c = 1; c < 3; ++c)
                pose(r, c) = -pose(r, c);
        maps.times.push_back(numbers[0]);
        maps.values.push_back({{QStringLiteral("camera"), pose}});
        return true;
    });
    if (read && maps.values.empty())
        return complain(error, 1, tr("the file has no poses"));
    return read;
}

bool TrajectoryReader::readJson(const QByteArray& data, TimedMaps& maps, QString* error)
{
    maps = TimedMaps();
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(data, &problem);
    if (problem.error != QJsonParseError::NoError)
        return complain(error, 1 + data.left(problem.offset).count('\n'), problem.errorString());
    const auto fail = [error](const QString& what) {
        // Names of elements may contain line breaks; an error is one line.
        if (error)
            *error = what.simplified();
        return false;
    };
    if (!document.isArray() || document.array().isEmpty())
        return fail(tr("the file is not a list of positions"));
    int number = 0;
    const QJsonArray positions = document.array();
    for (const auto& value : positions) {
        ++number;
        if (!value.isObject())
            return fail(tr("position %1: an object is expected").arg(number));
        MatrixMap map;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (it.key() == QLatin1String("time") && it.value().isDouble()) {
                maps.times.push_back(it.value().toDouble());
                continue;
            }
            const QJsonArray numbers = it.value().toArray();
            if (numbers.size() != 16)
                return fail(tr("position %1: \"%2\" has %3 numbers instead of 16")
                                .arg(QString::number(number), it.key(), QString::number(numbers.size())));
            tov::math::Matrix4 matrix;
            for (int i = 0; i < 16; ++i) {
                if (!numbers[i].isDouble() || !std::isfinite(numbers[i].toDouble()))
                    return fail(tr("position %1: \"%2\" holds something that is not a number")
                                    .arg(QString::number(number), it.key()));
                matrix.data()[i] = numbers[i].toDouble();
            }
            map[it.key()] = matrix;
        }
        maps.values.push_back(std::move(map));
        if (!maps.times.empty() && maps.times.size() != maps.values.size())
            return fail(tr("position %1: either all positions have a \"time\", or none").arg(number));
    }
    return true;
}

bool TrajectoryReader::readCsv(const QByteArray& data, std::vector<Point>& points, QString* error)
{
    TimedPoints timed;
    const bool read = readCsv(data, timed, error);
    points = std::move(timed.values);
    return read;
}

bool TrajectoryReader::readTum(const QByteArray& data, MatrixMapList& list, QString* error)
{
    TimedMaps timed;
    const bool read = readTum(data, timed, error);
    list = std::move(timed.values);
    return read;
}

bool TrajectoryReader::readJson(const QByteArray& data, MatrixMapList& list, QString* error)
{
    TimedMaps timed;
    const bool read = readJson(data, timed, error);
    list = std::move(timed.values);
    return read;
}

} // namespace tov::trajectory
