// An FFmpeg without one of the codecs: that format is left out, and `tov encoders` says which and why.

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QString encodersWithout(const QString& codec)
{
    QTemporaryDir folder;
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TOV_SETTINGS"), folder.filePath(QStringLiteral("settings.ini")));
    environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(NOCODEC_LIBRARY));
    environment.insert(QStringLiteral("TOV_NO_CODEC"), codec);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TOV_BINARY_DIR "/bin/tov"), {"encoders"});
    EXPECT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    return QLatin1Char('\n') + QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

TEST(Missing, AFormatWhoseCodecIsMissingIsLeftOutAndNamed)
{
    const QString all = encodersWithout(QString());
    EXPECT_TRUE(all.contains(QStringLiteral("\nhevc.mp4 "))) << all.toStdString();
    EXPECT_FALSE(all.contains(QStringLiteral("missing here"))) << all.toStdString();
    const QString fewer = encodersWithout(QStringLiteral("libx265"));
    EXPECT_FALSE(fewer.contains(QStringLiteral("\nhevc.mp4 "))) << fewer.toStdString();
    EXPECT_TRUE(fewer.contains(QStringLiteral("\nmp4 "))) << fewer.toStdString();
    EXPECT_TRUE(fewer.contains(QStringLiteral("missing here: hevc.mp4 (libx265)"))) << fewer.toStdString();
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
