// If the process of a recording is killed at any moment, the partial file plays. TOV_ROUNDS: how often each format is
// killed.

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>

namespace {

int rounds()
{
    const int count = qEnvironmentVariableIntValue("TOV_ROUNDS");
    return count > 0 ? count : 2;
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

/// The moment at which a recording is killed.
enum Moment
{
    WhileItGrows, ///< when the file has that many bytes
    AtTheStart,   ///< that long after the start of the program, usually before anything is written
    AtTheEnd,     ///< around the end of a short recording
    Moments,
};

class Killed : public testing::Test
{
protected:
    /// Starts the program, which records into `output`, the only file in its folder; temporary files are in another
    /// one.
    void start(QProcess& process, const QString& output, int frames, bool inFiles)
    {
        QFile settings(home.filePath(QStringLiteral("settings.ini")));
        ASSERT_TRUE(settings.open(QIODevice::WriteOnly | QIODevice::Truncate));
        settings.write("[settings]\nlowspacelimit=0\n");
        if (inFiles)
            settings.write("grabvideousememoryasbuffer=false\ngrabvideotempfilesize=1\n");
        settings.close();
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TOV_SETTINGS"), settings.fileName());
        environment.insert(QStringLiteral("TMPDIR"), temporary.path());
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TOV_BINARY_DIR "/bin/tov"),
                      {"video", QStringLiteral(TOV_SOURCE_DIR "/samples/crane.obj"), "-o", output, "--size", "320x240",
                       "--turntable", QString::number(frames), "--bitrate", "8000", "--quiet"});
        ASSERT_TRUE(process.waitForStarted());
    }
    static qint64 bytesIn(const QDir& folder)
    {
        qint64 bytes = 0;
        for (const QFileInfo& info : folder.entryInfoList(QDir::Files | QDir::Hidden))
            bytes += info.size();
        return bytes;
    }
    /// Kills one recording and checks the files that it left.
    void kill(const QString& suffix, Moment moment, bool inFiles)
    {
        QTemporaryDir folder;
        const QString output = folder.filePath(QStringLiteral("k.") + suffix);
        const QString partial = folder.filePath(QStringLiteral("k~partial.") + suffix);
        const int frames = moment == AtTheEnd ? 40 : 20000;
        QProcess process;
        qint64 bytes = 0, wait = 0;
        if (moment == WhileItGrows) {
            bytes = 20000 + random.bounded(3) * random.bounded(1000000);
        } else if (moment == AtTheStart) {
            wait = random.bounded(700);
        } else {
            // The duration without a kill.
            QElapsedTimer clock;
            clock.start();
            ASSERT_NO_FATAL_FAILURE(start(process, output, frames, inFiles));
            ASSERT_TRUE(process.waitForFinished(60000));
            ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
            wait = clock.elapsed() * (70 + random.bounded(35)) / 100;
            for (const QString& name : QDir(folder.path()).entryList(QDir::Files))
                QFile::remove(folder.filePath(name));
        }
        SCOPED_TRACE("at " + std::to_string(bytes) + " bytes, " + std::to_string(wait) + " ms");
        ASSERT_NO_FATAL_FAILURE(start(process, output, frames, inFiles));
        QElapsedTimer clock;
        clock.start();
        const QDir made(folder.path());
        while (process.state() == QProcess::Running && clock.elapsed() < 60000 &&
               (moment == WhileItGrows ? bytesIn(made) < bytes : clock.elapsed() < wait))
            process.waitForFinished(1);
        const bool running = process.state() == QProcess::Running;
        if (running)
            ::kill(pid_t(process.processId()), SIGKILL);
        process.waitForFinished();
        const int playable = framesIn(running && !QFileInfo::exists(output) ? partial : output);
        if (moment == WhileItGrows) {
            ASSERT_TRUE(running) << process.readAllStandardError().constData();
            EXPECT_GE(bytesIn(made), bytes) << "the file did not grow";
            EXPECT_GT(playable, 0);
        } else if (!running) {
            EXPECT_EQ(playable, frames) << process.readAllStandardError().constData();
        } else if (bytesIn(made) >= 20000) {
            EXPECT_GT(playable, 0) << bytesIn(made) << " bytes";
        }
        EXPECT_EQ(QDir(temporary.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).join(' '),
                  "")
            << "temporary files are left";
        const QStringList left = made.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        for (const QString& name : left)
            EXPECT_TRUE(QRegularExpression(QStringLiteral("^k(\\.|[~_]partial)")).match(name).hasMatch())
                << name.toStdString();
        // Killed between verifying and renaming, both names are possible; never a final name before the last frame.
        if (running && moment != AtTheEnd) {
            EXPECT_FALSE(QFileInfo::exists(output));
        }
    }
    QTemporaryDir home, temporary;
    QRandomGenerator random{7};
};

int failures()
{
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

} // namespace

TEST_F(Killed, WhatWasWrittenPlays)
{
    int count = 0, held = 0;
    for (const char* suffix : {"mp4", "mov", "mkv", "hq.mp4", "hevc.mp4", "av1.mkv", "webm", "avi", "alpha.webm",
                               "alpha.mov", "lossless.mkv", "apng", "gif", "frames"})
        for (int round = 0; round < rounds(); ++round) {
            // Formats start with different moments, so that a few rounds cover all of them.
            const auto moment = Moment((round + count) % Moments);
            const bool inFiles = (round + count / 2) % 2;
            const char* const names[] = {"while it grows", "at the start", "at the end"};
            SCOPED_TRACE(std::string(suffix) + " killed " + names[moment] + (inFiles ? ", frames in files" : ""));
            const int before = failures();
            kill(QLatin1String(suffix), moment, inFiles);
            held += failures() == before;
            ++count;
        }
    std::printf("killed: %d of %d\n", held, count);
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
