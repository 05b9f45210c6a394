#include "scene/import/environmentfile.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tov::scene;

namespace {

class EnvironmentTest : public testing::Test
{
protected:
    /// The problem of a file of these bytes, empty if there is none.
    QString problemOf(const QByteArray& bytes)
    {
        const QString name = folder.filePath(QStringLiteral("%1.hdr").arg(++count));
        QFile file(name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        QString problem;
        const auto environment = readEnvironment(name, &problem);
        EXPECT_EQ(environment == nullptr, !problem.isEmpty());
        EXPECT_FALSE(problem.contains('\n')) << problem.toStdString();
        return problem.replace(name, QStringLiteral("FILE"));
    }
    static QByteArray header(int width, int height)
    {
        return "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + QByteArray::number(height) + " +X " +
               QByteArray::number(width) + "\n";
    }
    /// Even light of radiance 1: run-length coded rows, each component one run.
    static QByteArray coded(int width, int height)
    {
        QByteArray bytes = header(width, height);
        for (int row = 0; row < height; ++row) {
            bytes += QByteArray("\2\2", 2) + char(width >> 8) + char(width & 255);
            for (const int value : {128, 128, 128, 129})
                bytes += QByteArray() + char(128 + width) + char(value);
        }
        return bytes;
    }
    QTemporaryDir folder;
    int count = 0;
};

} // namespace

TEST_F(EnvironmentTest, ACompletePictureIsRead)
{
    EXPECT_EQ(problemOf(coded(64, 32)), QString());
    EXPECT_EQ(problemOf(header(4, 2) + QByteArray(4 * 4 * 2, char(128))), QString()) << "rows without runs";
}

TEST_F(EnvironmentTest, UniformLightStaysUniformAtEveryRoughness)
{
    const QString name = folder.filePath(QStringLiteral("even.hdr"));
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(coded(64, 32));
    file.close();
    const auto environment = readEnvironment(name, nullptr);
    ASSERT_NE(environment, nullptr);
    for (const float value : environment->getTable())
        ASSERT_NEAR(value, 1, 1e-3);
    EXPECT_NEAR(environment->getIrradiance()[0][0], 1, 1e-2);
}

TEST_F(EnvironmentTest, APictureThatIsCutAnywhereIsRefused)
{
    const QByteArray whole = coded(64, 32);
    for (const int missing : {1, 7, 12, 13, 200})
        EXPECT_EQ(problemOf(whole.left(whole.size() - missing)), QStringLiteral("cannot read 'FILE': it is truncated"))
            << missing;
    EXPECT_EQ(problemOf(header(4, 2) + QByteArray(4 * 4 * 2 - 1, char(128))),
              QStringLiteral("cannot read 'FILE': it is truncated"));
}

TEST_F(EnvironmentTest, SizesOutOfRangeAreRefused)
{
    EXPECT_FALSE(problemOf(header(1000000, 1000000)).isEmpty());
    EXPECT_FALSE(problemOf(header(0, 0)).isEmpty());
    EXPECT_FALSE(problemOf(header(1, 1) + QByteArray(4, char(128))).isEmpty());
}

TEST_F(EnvironmentTest, TextAndMissingFilesAreRefused)
{
    EXPECT_EQ(problemOf("this is no picture\n"), QStringLiteral("cannot read 'FILE': it is not a Radiance picture"));
    QString problem;
    EXPECT_EQ(readEnvironment(folder.filePath(QStringLiteral("none.hdr")), &problem), nullptr);
    EXPECT_TRUE(problem.startsWith(QStringLiteral("cannot read '"))) << problem.toStdString();
}
