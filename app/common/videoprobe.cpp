#include "app/common/videoprobe.h"

#include "kernel/util/childprocess.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace tov::app {

namespace {

constexpr int LimitMs = 120000;

/// Files of these endings ffprobe is known to read; what it makes of others says nothing about them.
const char* const Known[] = {"mp4", "mov", "mkv", "webm", "avi", "gif", "apng", "frames"};

/// Empty when nobody can be asked about the file.
QString programFor(const QString& fileName)
{
    const QString suffix = QFileInfo(fileName).suffix();
    for (const char* known : Known)
        if (suffix.compare(QLatin1String(known), Qt::CaseInsensitive) == 0)
            return QStandardPaths::findExecutable(QStringLiteral("ffprobe"));
    return QString();
}

QStringList arguments(const QString& fileName)
{
    return {QStringLiteral("-v"),
            QStringLiteral("error"),
            QStringLiteral("-select_streams"),
            QStringLiteral("v:0"),
            QStringLiteral("-count_packets"),
            QStringLiteral("-show_entries"),
            QStringLiteral("stream=nb_read_packets:format=duration"),
            QStringLiteral("-of"),
            QStringLiteral("default=noprint_wrappers=1"),
            QStringLiteral("-i"),
            QStringLiteral("file:") + fileName};
}

VideoProbe answerOf(QProcess& process)
{
    VideoProbe probe;
    if (process.exitStatus() != QProcess::NormalExit)
        return probe;
    probe.asked = true;
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
        if (line.startsWith("nb_read_packets="))
            probe.frames = line.mid(16).toLongLong();
        else if (line.startsWith("duration="))
            probe.seconds = line.mid(9).toDouble();
    }
    probe.readable = process.exitCode() == 0 && probe.frames >= 0;
    return probe;
}

} // namespace

VideoProbe probeVideo(const QString& fileName)
{
    const QString program = programFor(fileName);
    if (program.isEmpty())
        return VideoProbe();
    tov::util::ChildProcess process;
    process.start(program, arguments(fileName));
    return process.waitForFinished(LimitMs) ? answerOf(process) : VideoProbe();
}

void probeVideo(const QString& fileName, QObject* context, std::function<void(const VideoProbe&)> done)
{
    const QString program = programFor(fileName);
    if (program.isEmpty())
        return;
    // Ends with the context: a process that is still busy then is killed by its destructor.
    auto* process = new tov::util::ChildProcess(context);
    QObject::connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), context,
                     [process, done = std::move(done)] {
                         process->deleteLater();
                         done(answerOf(*process));
                     });
    process->start(program, arguments(fileName));
}

} // namespace tov::app
