#include "trajectory/trajectoryreader.h"

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
        *error = tr("line %1: %2").arg(line).arg(what);
    return false;
}

/// The numbers of a line, parted by commas, semicolons or blanks; false when a word is no finite number.
bool readNumbers(const QByteArray& line, std::vector<double>& numbers, QString& wrong)
{
    numbers.clear();
    const char* at = line.constData();
    const char* const end = at + line.size();
    const auto parts = [](char c) { return c == ',' || c == ';' || c == ' ' || c == '\t' || c == '\r'; };
    while (at < end) {
        if (parts(*at)) {
            ++at;
            continue;
        }
        const char* wordEnd = at;
        while (wordEnd < end && !parts(*wordEnd))
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

/// Calls `take` for each line with its number and its numbers; comments and empty lines are left out.
template <typename Take>
bool forEachLine(const QByteArray& data, bool headingAllowed, QString* error, Take take)
{
    std::vector<double> numbers;
    int lineNumber = 0;
    bool first = true;
    const int mark = data.startsWith("\xEF\xBB\xBF") ? 3 : 0; // some editors begin their files so
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
            return complain(error, lineNumber, tr("\"%1\" is no number").arg(wrong));
        }
        first = false;
        if (!take(lineNumber, numbers))
            return false;
    }
    return true;
}

} // namespace

bool TrajectoryReader::readCsv(const QByteArray& data, std::vector<Point>& points, QString* error)
{
    points.clear();
    const bool read = forEachLine(data, true, error, [&](int line, const std::vector<double>& numbers) {
        if (numbers.size() != 3)
            return complain(error, line, tr("there are %1 numbers instead of 3 (x,y,z)").arg(numbers.size()));
        points.push_back({numbers[0], numbers[1], numbers[2]});
        return true;
    });
    if (read && points.empty())
        return complain(error, 1, tr("the file holds no point"));
    return read;
}

bool TrajectoryReader::readTum(const QByteArray& data, MatrixMapList& list, QString* error)
{
    list.clear();
    const bool read = forEachLine(data, false, error, [&](int line, const std::vector<double>& numbers) {
        if (numbers.size() != 8)
            return complain(error, line,
                            tr("there are %1 numbers instead of 8 (t x y z qx qy qz qw)").arg(numbers.size()));
        double x = numbers[4], y = numbers[5], z = numbers[6], w = numbers[7];
        const double length = std::sqrt(x * x + y * y + z * z + w * w);
        if (!(length > 1e-12))
            return complain(error, line, tr("the quaternion is zero"));
        x /= length;
        y /= length;
        z /= length;
        w /= length;
        tov::math::Matrix4 pose = tov::math::Matrix4::identity();
        const double rotation[3][3] = {
            {1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
            {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
            {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)},
        };
        for (unsigned int r = 0; r < 3; ++r) {
            // The file's camera looks along +z with y down, the eye along -z with y up.
            pose(r, 0) = rotation[r][0];
            pose(r, 1) = -rotation[r][1];
            pose(r, 2) = -rotation[r][2];
            pose(r, 3) = numbers[1 + r];
        }
        list.push_back({{QStringLiteral("camera"), pose}});
        return true;
    });
    if (read && list.empty())
        return complain(error, 1, tr("the file holds no pose"));
    return read;
}

bool TrajectoryReader::readJson(const QByteArray& data, MatrixMapList& list, QString* error)
{
    list.clear();
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(data, &problem);
    if (problem.error != QJsonParseError::NoError)
        return complain(error, 1 + data.left(problem.offset).count('\n'), problem.errorString());
    const auto fail = [error](const QString& what) {
        // Names of elements may hold anything; an error is one line.
        if (error)
            *error = what.simplified();
        return false;
    };
    if (!document.isArray() || document.array().isEmpty())
        return fail(tr("the file holds no list of positions"));
    int number = 0;
    for (const QJsonValue& value : document.array()) {
        ++number;
        if (!value.isObject())
            return fail(tr("position %1: an object is expected").arg(number));
        MatrixMap map;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            const QJsonArray numbers = it.value().toArray();
            if (numbers.size() != 16)
                return fail(tr("position %1: \"%2\" has %3 numbers instead of 16")
                                .arg(QString::number(number), it.key(), QString::number(numbers.size())));
            tov::math::Matrix4 matrix;
            for (int i = 0; i < 16; ++i) {
                if (!numbers[i].isDouble() || !std::isfinite(numbers[i].toDouble()))
                    return fail(tr("position %1: \"%2\" holds something that is no number")
                                    .arg(QString::number(number), it.key()));
                matrix.data()[i] = numbers[i].toDouble();
            }
            map[it.key()] = matrix;
        }
        list.push_back(std::move(map));
    }
    return true;
}

} // namespace tov::trajectory
