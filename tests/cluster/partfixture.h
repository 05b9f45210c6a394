#pragma once

#include "tests/cli/clifixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <functional>
#include <memory>

namespace cli {

const QString Samples = QStringLiteral(TOV_SOURCE_DIR "/samples/");
const QString Arm = Samples + QStringLiteral("arm.gltf");
const QString Crane = Samples + QStringLiteral("crane.obj");

/// Videos that are recorded in parts.
class PartTest : public CliTest
{
protected:
    /// The objects that a call with --json printed.
    static QList<QJsonObject> objects(const QString& text)
    {
        QList<QJsonObject> result;
        for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            result << QJsonDocument::fromJson(line.toUtf8()).object();
        return result;
    }
    /// The parts that a call recorded.
    static QList<int> recordedParts(const QString& text)
    {
        QList<int> parts;
        for (const QJsonObject& object : objects(text))
            if (object["event"] == QLatin1String("part") && object["isNew"].toBool())
                parts << object["part"].toInt();
        return parts;
    }
    /// A digest of each decoded frame.
    QStringList decoded(const QString& file)
    {
        QStringList arguments{"-v", "error"};
        if (file.endsWith(QLatin1String(".alpha.webm")))
            arguments << "-c:v"
                      << "libvpx-vp9";
        arguments << "-i" << file << "-vsync"
                  << "0"
                  << "-pix_fmt"
                  << "rgba"
                  << "-f"
                  << "framemd5"
                  << "-";
        QStringList digests;
        for (const QByteArray& line : output(QStringLiteral("ffmpeg"), arguments).split('\n'))
            if (!line.startsWith('#') && !line.isEmpty())
                digests << QString::fromLatin1(line.mid(line.lastIndexOf(',') + 1).trimmed());
        return digests;
    }
    static QByteArray output(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForFinished(120000)) << program.toStdString();
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
        return process.readAllStandardOutput();
    }
    /// The files of a folder of parts whose names match, with their folder.
    QStringList partFiles(const char* film, const QString& pattern = QStringLiteral("*"))
    {
        QStringList files;
        const QDir folder(path(film) + QStringLiteral(".parts"));
        for (const QString& name : folder.entryList({pattern}, QDir::Files, QDir::Name))
            files << folder.filePath(name);
        return files;
    }
    /// Starts the program without waiting for it; it is ended with the test.
    std::unique_ptr<QProcess> start(const QStringList& arguments)
    {
        auto process = std::make_unique<QProcess>();
        process->setWorkingDirectory(folder.path());
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.insert(QStringLiteral("TOV_SETTINGS"), path("settings.ini"));
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        process->setProcessEnvironment(environment);
        process->start(Program, arguments);
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }
    static bool waitUntil(const std::function<bool()>& condition)
    {
        constexpr int LimitMs = 60000, StepMs = 5;
        QElapsedTimer clock;
        for (clock.start(); !condition(); QThread::msleep(StepMs))
            if (clock.elapsed() > LimitMs)
                return false;
        return true;
    }
};

} // namespace cli
