// Recordings whose process is killed at any moment: the file plays.

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>

namespace {

/// How often each format is killed; TOV_ROUNDS=20 for a long run.
int rounds()
{
    const int asked = qEnvironmentVariableIntValue("TOV_ROUNDS");
    return asked > 0 ? asked : 2;
}

/// Frames that can be decoded from the file; -1 when it cannot be opened.
int framesIn(const QString& file)
{
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"), {"-v", "quiet", "-count_frames", "-select_streams", "v:0", "-show_entries",
                                            "stream=nb_read_frames", "-of", "csv=p=0", file});
    if (!probe.waitForFinished(60000) || probe.exitCode() != 0)
        return -1;
    bool ok = false;
    const int frames = probe.readAllStandardOutput().trimmed().split(',').first().toInt(&ok);
    return ok ? frames : -1;
}

} // namespace

TEST(Killed, WhatWasWrittenPlays)
{
    QTemporaryDir folder;
    QRandomGenerator random(7);
    for (const char* suffix : {"mp4", "mov", "mkv", "hq.mp4", "hevc.mp4", "av1.mkv", "webm", "avi", "alpha.webm",
                               "alpha.mov", "lossless.mkv", "apng", "gif"})
        for (int round = 0; round < rounds(); ++round) {
            const QString file = folder.filePath(QStringLiteral("k%1.%2").arg(round).arg(QLatin1String(suffix)));
            // The moment is chosen by what the file has grown to.
            const qint64 moment = 20000 + random.bounded(300000);
            SCOPED_TRACE(std::string(suffix) + " killed at " + std::to_string(moment) + " bytes");
            QProcess process;
            auto environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("TOV_SETTINGS"), folder.filePath(QStringLiteral("settings.ini")));
            environment.insert(QStringLiteral("TMPDIR"), folder.path());
            process.setProcessEnvironment(environment);
            // One-frame chunks as far as the settings go, and a rate that makes the file grow.
            process.start(QStringLiteral(TOV_BINARY_DIR "/bin/tov"),
                          {"video", QStringLiteral(TOV_SOURCE_DIR "/samples/crane.obj"), "-o", file, "--size",
                           "320x240", "--turntable", "20000", "--bitrate", "8000", "--quiet"});
            ASSERT_TRUE(process.waitForStarted());
            QElapsedTimer clock;
            clock.start();
            while (QFileInfo(file).size() < moment && process.state() == QProcess::Running && clock.elapsed() < 60000) {
                process.waitForFinished(1);
            }
            ASSERT_EQ(process.state(), QProcess::Running) << process.readAllStandardError().constData();
            ASSERT_GE(QFileInfo(file).size(), moment) << "the file did not grow";
            ::kill(pid_t(process.processId()), SIGKILL);
            process.waitForFinished();
            EXPECT_GT(framesIn(file), 0);
            QStringList left = QDir(folder.path()).entryList(QDir::Files | QDir::Hidden);
            left.removeAll(QFileInfo(file).fileName());
            left.removeAll(QStringLiteral("settings.ini"));
            left.removeAll(QStringLiteral("settings.ini.lock"));
            EXPECT_TRUE(left.isEmpty()) << left.join(' ').toStdString();
            QFile::remove(file);
        }
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
