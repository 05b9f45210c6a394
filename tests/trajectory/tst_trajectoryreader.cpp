#include "trajectory/trajectoryreader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

using tov::math::Matrix4;
using tov::trajectory::MatrixMapList;
using tov::trajectory::Point;
using tov::trajectory::TrajectoryReader;

namespace {

std::vector<Point> csv(const QByteArray& data)
{
    std::vector<Point> points;
    QString error;
    EXPECT_TRUE(TrajectoryReader::readCsv(data, points, &error)) << error.toStdString();
    return points;
}

std::string csvError(const QByteArray& data)
{
    std::vector<Point> points;
    QString error;
    EXPECT_FALSE(TrajectoryReader::readCsv(data, points, &error)) << data.toStdString();
    return error.toStdString();
}

std::string tumError(const QByteArray& data)
{
    MatrixMapList list;
    QString error;
    EXPECT_FALSE(TrajectoryReader::readTum(data, list, &error)) << data.toStdString();
    return error.toStdString();
}

std::string jsonError(const QByteArray& data)
{
    MatrixMapList list;
    QString error;
    EXPECT_FALSE(TrajectoryReader::readJson(data, list, &error)) << data.toStdString();
    return error.toStdString();
}

bool startsWith(const std::string& text, const char* beginning)
{
    return text.rfind(beginning, 0) == 0;
}

} // namespace

TEST(TrajectoryReader, CsvHasOnePointPerLine)
{
    const std::vector<Point> expected{{1, 2, 3}, {-4.5, 0, 1e3}};
    EXPECT_EQ(csv("1,2,3\n-4.5,0,1e3\n"), expected);
    EXPECT_EQ(csv("1;2;3\r\n-4.5;0;+1e3"), expected);
    EXPECT_EQ(csv("1 2\t3\n\n   \n-4.5 , 0 , 1000\n"), expected);
    EXPECT_EQ(csv("# a path\n1,2,3 # begins here\n-4.5,0,1e3\n#1,1,1\n"), expected);
}

TEST(TrajectoryReader, AHeadingAndAByteOrderMarkAreSkipped)
{
    const std::vector<Point> expected{{1, 2, 3}};
    EXPECT_EQ(csv("x,y,z\n1,2,3\n"), expected);
    EXPECT_EQ(csv("# first\nx;y;z\n1;2;3\n"), expected);
    EXPECT_EQ(csv("\xEF\xBB\xBF"
                  "1,2,3\n"),
              expected);
    EXPECT_EQ(csv("\xEF\xBB\xBFx,y,z\n1,2,3\n"), expected);
}

TEST(TrajectoryReader, CsvErrorsNameTheLine)
{
    EXPECT_TRUE(startsWith(csvError("1,2,3\n1,2\n"), "line 2: "));
    EXPECT_TRUE(startsWith(csvError("1,2,3\n\n# comment\n1,2,3,4\n"), "line 4: "));
    EXPECT_TRUE(startsWith(csvError("1,2,3\nx,y,z\n"), "line 2: ")) << "a heading comes first";
    EXPECT_TRUE(startsWith(csvError("x,y,z\nx,y,z\n"), "line 2: "));
    EXPECT_TRUE(startsWith(csvError("1,2,oops\n1,2,3\n"), "line 1: ")) << "no heading, but a broken point";
    EXPECT_NE(csvError("1,2,3\n1,2,oops\n").find("\"oops\""), std::string::npos);
    for (const char* number : {"nan", "inf", "-inf", "1e999", "0x10", "1.2.3", "--1", "1e", "\xff\xfe"})
        EXPECT_TRUE(startsWith(csvError(QByteArray("1,2,3\n1,2,") + number + "\n"), "line 2: ")) << number;
}

TEST(TrajectoryReader, AFileWithoutPointsIsRefused)
{
    for (const char* text : {"", "\n\n", "# nothing\n", "x,y,z\n", "\xEF\xBB\xBF"})
        EXPECT_FALSE(csvError(text).empty());
    EXPECT_FALSE(tumError("# nothing\n").empty());
}

TEST(TrajectoryReader, ErrorsMayBeIgnored)
{
    std::vector<Point> points;
    MatrixMapList list;
    EXPECT_FALSE(TrajectoryReader::readCsv("1,2", points, nullptr));
    EXPECT_FALSE(TrajectoryReader::readTum("1,2", list, nullptr));
    EXPECT_FALSE(TrajectoryReader::readJson("[", list, nullptr));
    EXPECT_FALSE(TrajectoryReader::readJson("[1]", list, nullptr));
}

TEST(TrajectoryReader, TumHasOneCameraPosePerLine)
{
    MatrixMapList list;
    QString error;
    // The camera of these files looks along +z with y down: without a rotation it looks along +z, upside down in our
    // axes.
    ASSERT_TRUE(TrajectoryReader::readTum("# t x y z qx qy qz qw\n0.5 1 2 3 0 0 0 1\n1 4 5 6 2 0 0 0\n", list, &error))
        << error.toStdString();
    ASSERT_EQ(list.size(), 2u);
    ASSERT_EQ(list[0].size(), 1u);
    const Matrix4& still = list[0].at(QStringLiteral("camera"));
    const double expected[16] = {1, 0, 0, 1, 0, -1, 0, 2, 0, 0, -1, 3, 0, 0, 0, 1};
    for (unsigned int r = 0; r < 4; ++r)
        for (unsigned int c = 0; c < 4; ++c)
            EXPECT_DOUBLE_EQ(still(r, c), expected[r * 4 + c]) << r << ", " << c;
    // Half a turn about x (the quaternion is normalised) looks along -z with y up: the eye's own axes.
    const Matrix4& turned = list[1].at(QStringLiteral("camera"));
    for (unsigned int r = 0; r < 3; ++r) {
        for (unsigned int c = 0; c < 3; ++c)
            EXPECT_NEAR(turned(r, c), r == c ? 1 : 0, 1e-15);
        EXPECT_DOUBLE_EQ(turned(r, 3), 4.0 + r);
    }
}

TEST(TrajectoryReader, TumErrorsNameTheLine)
{
    EXPECT_TRUE(startsWith(tumError("0 1 2 3 0 0 0 1\n0 1 2 3 0 0 0\n"), "line 2: "));
    EXPECT_TRUE(startsWith(tumError("0 1 2 3 0 0 0 0\n"), "line 1: ")) << "a quaternion of zero";
    EXPECT_TRUE(startsWith(tumError("t x y z qx qy qz qw\n0 1 2 3 0 0 0 1\n"), "line 1: ")) << "no headings here";
}

TEST(TrajectoryReader, JsonNamesOfEveryKindGiveOneLine)
{
    MatrixMapList list;
    QString error;
    EXPECT_FALSE(TrajectoryReader::readJson("[{\"a\\n%3 b\": [1, 2]}]", list, &error));
    EXPECT_EQ(error.toStdString(), "position 1: \"a %3 b\" has 2 numbers instead of 16");
}

TEST(TrajectoryReader, FilesAMillionDeepAreRefused)
{
    MatrixMapList list;
    QString error;
    EXPECT_FALSE(TrajectoryReader::readJson(QByteArray("[").repeated(1000000), list, &error));
    EXPECT_FALSE(error.isEmpty());
    error.clear();
    EXPECT_FALSE(TrajectoryReader::readJson(QByteArray("[{\"a\":").repeated(500000), list, &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(TrajectoryReader, JsonHoldsMatricesByName)
{
    MatrixMapList list;
    QString error;
    ASSERT_TRUE(TrajectoryReader::readJson("[{\"camera\": [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16]},\n"
                                           " {\"carrier\": [1,0,0,0.5,0,1,0,0,0,0,1,0,0,0,0,1], \"lid\": "
                                           "[1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]}, {}]",
                                           list, &error))
        << error.toStdString();
    ASSERT_EQ(list.size(), 3u);
    const Matrix4& camera = list[0].at(QStringLiteral("camera"));
    for (unsigned int r = 0; r < 4; ++r)
        for (unsigned int c = 0; c < 4; ++c)
            EXPECT_EQ(camera(r, c), 4.0 * r + c + 1) << "row by row";
    EXPECT_EQ(list[1].size(), 2u);
    EXPECT_EQ(list[1].at(QStringLiteral("carrier"))(0, 3), 0.5);
    EXPECT_TRUE(list[2].empty());
}

TEST(TrajectoryReader, JsonErrorsNameLineOrPosition)
{
    EXPECT_TRUE(startsWith(jsonError("[\n{},\n{\"camera\" 1}\n]"), "line 3: ")) << jsonError("[\n{},\n{\"a\" 1}\n]");
    EXPECT_FALSE(jsonError("").empty());
    EXPECT_FALSE(jsonError("{}").empty());
    EXPECT_FALSE(jsonError("[]").empty());
    EXPECT_TRUE(startsWith(jsonError("[{}, 1]"), "position 2: "));
    EXPECT_TRUE(startsWith(jsonError("[{\"camera\": 1}]"), "position 1: "));
    EXPECT_TRUE(startsWith(jsonError("[{}, {}, {\"camera\": [1,2,3]}]"), "position 3: "));
    EXPECT_TRUE(startsWith(jsonError("[{\"camera\": [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,\"x\"]}]"), "position 1: "));
    EXPECT_FALSE(jsonError("[{\"camera\": [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,1e999]}]").empty());
}

TEST(TrajectoryReader, DeepNestingIsRefused)
{
    EXPECT_FALSE(jsonError(QByteArray(100000, '[')).empty());
    EXPECT_FALSE(jsonError(QByteArray("[") + QByteArray(100000, '[') + QByteArray(100000, ']') + "]").empty());
}

TEST(TrajectoryReader, RandomBytesAreRefusedOrReadWithoutHarm)
{
    std::mt19937 random(7u);
    const QByteArray seeds[3] = {"x,y,z\n1,2,3\n4,5,6\n7.5,-8,9e2\n", "0 1 2 3 0 0 0 1\n1 2 3 4 0 0 1 0\n",
                                 "[{\"camera\": [1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]}]"};
    int refused = 0;
    for (int round = 0; round < 3000; ++round) {
        QByteArray data = seeds[round % 3];
        for (unsigned i = 0; i < 1 + random() % 4; ++i)
            switch (random() % 3) {
            case 0:
                data[int(random() % unsigned(data.size()))] = char(random());
                break;
            case 1:
                data.truncate(int(random() % unsigned(data.size())) + 1);
                break;
            default:
                data.insert(int(random() % unsigned(data.size())), char(random()));
            }
        std::vector<Point> points;
        MatrixMapList list;
        QString error;
        const bool read = round % 3 == 0   ? TrajectoryReader::readCsv(data, points, &error)
                          : round % 3 == 1 ? TrajectoryReader::readTum(data, list, &error)
                                           : TrajectoryReader::readJson(data, list, &error);
        // Success has a result, failure a reason.
        EXPECT_EQ(read, error.isEmpty());
        EXPECT_TRUE(!read || !points.empty() || !list.empty());
        refused += !read;
    }
    EXPECT_GT(refused, 300);
}

TEST(TrajectoryReader, FilesCutAtEvery64thByteAreReadOrRefused)
{
    QByteArray csvFile = "x,y,z\n", tumFile = "# t x y z qx qy qz qw\n", jsonFile = "[";
    for (int i = 0; i < 100; ++i) {
        const QByteArray number = QByteArray::number(i) + ".5";
        csvFile += number + "," + number + ",-1e-3\n";
        tumFile += number + " " + number + " 2 3 0 0.5 0 0.5\n";
        jsonFile += QByteArray(i > 0 ? "," : "") + "\n{\"camera\": [1,0,0," + number + ",0,1,0,0,0,0,1,0,0,0,0,1]}";
    }
    jsonFile += "\n]";
    int tried = 0, read[3] = {};
    const auto judge = [&](int kind, bool good, const QString& error) {
        ++tried;
        read[kind] += good;
        if (!good) {
            EXPECT_TRUE(error.startsWith(QLatin1String("line ")) && !error.contains(QLatin1Char('\n')))
                << error.toStdString();
        }
    };
    const auto finite = [](const MatrixMapList& list) {
        for (const auto& map : list)
            for (const auto& entry : map)
                for (unsigned int i = 0; i < 16; ++i)
                    if (!std::isfinite(entry.second.data()[i]))
                        return false;
        return true;
    };
    for (int size = 0; size < jsonFile.size(); size += 64) {
        QString error;
        MatrixMapList list;
        std::vector<Point> points;
        if (size < csvFile.size()) {
            judge(0, TrajectoryReader::readCsv(csvFile.left(size), points, &error), error);
            for (const Point& point : points)
                EXPECT_TRUE(std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]));
            EXPECT_LE(points.size(), std::size_t(csvFile.left(size).count('\n')));
        }
        if (size < tumFile.size()) {
            error.clear();
            judge(1, TrajectoryReader::readTum(tumFile.left(size), list, &error), error);
            EXPECT_TRUE(finite(list));
            EXPECT_LE(list.size(), std::size_t(tumFile.left(size).count('\n')));
        }
        error.clear();
        judge(2, TrajectoryReader::readJson(jsonFile.left(size), list, &error), error);
        EXPECT_TRUE(finite(list));
    }
    EXPECT_EQ(read[2], 0) << "a truncated list is refused";
    // A truncated line may still be valid if only its last number is truncated.
    EXPECT_GE(read[0], 1);
    EXPECT_GE(read[1], 3);
    EXPECT_GT(tried - read[0] - read[1] - read[2], 100);
    std::printf("cut: %d, read: %d csv, %d tum, %d json\n", tried, read[0], read[1], read[2]);
}
