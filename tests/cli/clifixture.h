#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QMap>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

/// The real program, run as a user or a script runs it.
namespace cli {

const QString Program = QStringLiteral(TOV_BINARY_DIR "/bin/tov");
const QString Bunny = QStringLiteral("/usr/share/glmark2/models/bunny.obj");
const QString Cube = QStringLiteral("/usr/share/assimp/models/PLY/cube.ply");

struct Result
{
    int status = -1;
    QString out;
    QString err;
    int errLines() const { return err.isEmpty() ? 0 : err.trimmed().split(QLatin1Char('\n')).size(); }
};

class CliTest : public testing::Test
{
protected:
    QStringList withSettings(QStringList arguments) const
    {
        // After the verb, before a "--".
        arguments.insert(arguments.isEmpty() ? 0 : 1, QStringLiteral("--settings=") + path("settings.ini"));
        return arguments;
    }
    QString language;                 ///< of the user, e.g. "de_DE.UTF-8"
    QMap<QString, QString> variables; ///< further environment variables
    /// Starts a program in the test's folder, in the environment of a user without a display.
    void start(QProcess& process, const QStringList& arguments, const QString& program = Program)
    {
        process.setWorkingDirectory(folder.path());
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "QT_QPA_EGLFS_INTEGRATION"})
            environment.remove(QLatin1String(name));
        environment.insert(QStringLiteral("TOV_SETTINGS"), path("settings.ini"));
        environment.remove(QStringLiteral("LC_ALL"));
        environment.insert(QStringLiteral("LANG"), language.isEmpty() ? QStringLiteral("C.UTF-8") : language);
        for (auto i = variables.begin(); i != variables.end(); ++i)
            environment.insert(i.key(), i.value());
        process.setProcessEnvironment(environment);
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForStarted()) << program.toStdString();
    }
    /// Waits until a program that is running has made a file.
    void waitForFile(QProcess& process, const char* name)
    {
        QElapsedTimer clock;
        clock.start();
        while (!QFile::exists(path(name)) && clock.elapsed() < 30000)
            process.waitForFinished(10);
        EXPECT_TRUE(QFile::exists(path(name))) << name;
    }
    Result run(const QStringList& arguments, const QByteArray& shell = QByteArray())
    {
        QProcess process;
        if (shell.isEmpty())
            start(process, arguments);
        else
            start(process, {QStringLiteral("-c"), QString::fromUtf8(shell), Program}, QStringLiteral("/bin/sh"));
        EXPECT_TRUE(process.waitForFinished(120000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "crashed";
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    /// One line on standard error that holds the text, nothing on standard output.
    void expectFailure(const Result& result, int status, const char* text)
    {
        EXPECT_EQ(result.status, status);
        EXPECT_TRUE(result.err.startsWith(QStringLiteral("tov: "))) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(text))) << result.err.toStdString();
        EXPECT_EQ(result.errLines(), 1) << result.err.toStdString();
        EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    }
    /// Runs it, and expects success.
    Result runWell(const QStringList& arguments)
    {
        const Result result = run(arguments);
        EXPECT_EQ(result.status, 0) << arguments.join(QLatin1Char(' ')).toStdString() << "\n"
                                    << result.err.toStdString();
        return result;
    }
    /// The values that ffprobe reports for the first video stream, e.g. "nb_read_frames".
    QString probe(const char* name, const char* entry)
    {
        QProcess process;
        process.start(QStringLiteral("ffprobe"),
                      {"-v", "error", "-count_frames", "-show_entries",
                       QStringLiteral("stream=") + QLatin1String(entry), "-of", "csv=p=0", path(name)});
        EXPECT_TRUE(process.waitForFinished(60000));
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed().split(QLatin1Char(',')).first();
    }
    /// The time at which each frame of a video appears, and the end of the last one, in seconds.
    std::vector<double> frameTimes(const char* name)
    {
        QProcess process;
        process.start(QStringLiteral("ffprobe"),
                      {"-v", "error", "-select_streams", "v:0", "-show_entries",
                       "frame=best_effort_timestamp_time,pkt_duration_time", "-of", "csv=p=0", path(name)});
        EXPECT_TRUE(process.waitForFinished(60000));
        std::vector<double> times;
        double end = 0;
        for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
            const QList<QByteArray> fields = line.trimmed().split(',');
            if (fields.size() < 2)
                continue;
            times.push_back(fields[0].toDouble());
            end = times.back() + fields[1].toDouble();
        }
        times.push_back(end);
        return times;
    }
    QByteArray read(const char* name)
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
        return file.readAll();
    }
    void write(const char* name, const QByteArray& bytes)
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QString path(const char* name) const { return folder.filePath(QString::fromUtf8(name)); }
    QTemporaryDir folder;
};

} // namespace cli
