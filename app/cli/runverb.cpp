#include "app/cli/session.h"
#include "app/cli/setup/sceneoptions.h"
#include "app/cli/verbs.h"
#include "app/common/outputcheck.h"
#include "kernel/commands/commandparser.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "trajectory/trajectoryhandler.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace tov::app {

using tov::main::CommandText;

namespace {

/// A larger file is not a script written by hand.
constexpr qint64 MostScriptBytes = 16 << 20;
constexpr int DefaultFps = 25;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

bool isCommand(const CommandText& text, const char* name)
{
    return text.name.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}

/// An argument as it was given, by name or by position.
QString argumentOf(const CommandText& text, int index, const char* name, const QString& initial)
{
    for (const auto& [given, value] : text.arguments.named)
        if (given.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return value;
    return text.arguments.positional.value(index, initial);
}

/// True when a recording steps along the trajectory, rather than records until somebody stops it.
bool followsTrajectory(const CommandText& text)
{
    static const QStringList yes{QStringLiteral("1"), QStringLiteral("true"), QStringLiteral("yes"),
                                 QStringLiteral("on")};
    return yes.contains(argumentOf(text, 3, "sync", yes.first()), Qt::CaseInsensitive);
}

/// Checks before a command writes its file: folder, disk space, a trajectory to follow. A command that fails later
/// would have destroyed an older file. False (reported) when it must not start.
bool checkCommand(Reporter& reporter, const CommandText& text)
{
    const bool isVideo = isCommand(text, "grabvideo");
    if (!isVideo && !isCommand(text, "grabimage"))
        return true;
    const QString fileName = argumentOf(text, 0, "filename", QString());
    // The command itself reports what is wrong with its arguments.
    if (fileName.isEmpty())
        return true;
    QString error;
    for (const auto& [index, name] : {std::pair(1, "width"), std::pair(2, "height")})
        if (isVideo && argumentOf(text, index, name, QStringLiteral("0")).toInt() < 0)
            return reporter.fail(tr("%1 was not written: width and height are pixels, 0 for those of the view (got %2)")
                                     .arg(fileName, argumentOf(text, index, name, QString())));
    if (!checkOutputFolder(fileName, &error) || (isVideo && !SpaceWatch::hasRoom(fileName, &error)))
        return reporter.fail(error);
    if (isVideo && followsTrajectory(text) && tov::trajectory::TrajectoryHandler::getInstance()->getCount() == 0)
        return reporter.fail(tr("%1 was not written: a recording with sync=1 follows a trajectory, and there is none; "
                                "give --trajectory or --turntable, or sync=0")
                                 .arg(fileName));
    return true;
}

bool readScript(const QString& fileName, QString& text, QString* error)
{
    const auto fail = [&](const QString& reason) {
        *error = tr("%1 cannot be read as a script: %2").arg(fileName, reason);
        return false;
    };
    if (QFileInfo(fileName).isDir())
        return fail(tr("it is a folder"));
    QFile script(fileName);
    if (!script.open(QIODevice::ReadOnly))
        return fail(script.errorString());
    // The name may be that of an endless device.
    QByteArray bytes;
    while (bytes.size() <= MostScriptBytes) {
        const QByteArray part = script.read(MostScriptBytes + 1 - bytes.size());
        if (part.isEmpty())
            break;
        bytes += part;
    }
    if (bytes.size() > MostScriptBytes)
        return fail(tr("it is larger than 16 MiB"));
    if (script.error() != QFileDevice::NoError)
        return fail(script.errorString());
    text = QString::fromUtf8(bytes.constData(), bytes.size());
    return true;
}

/// Reads the command texts of a request. Returns the exit status; the reason has been reported if it is not 0.
int readCommands(const RunRequest& request, Reporter& reporter, std::vector<CommandText>& commands)
{
    QString error;
    const auto failUsage = [&](const QString& message) {
        reporter.fail(tr("%1 (see tov run --help)").arg(message));
        return ExitUsage;
    };
    for (const QString& text : request.texts) {
        std::vector<CommandText> some;
        if (!tov::main::CommandParser::parse(text, some, &error))
            return failUsage(QStringLiteral("-c %1: %2").arg(text, error));
        commands.insert(commands.end(), some.begin(), some.end());
    }
    if (!request.script.isEmpty()) {
        QString text;
        const bool isRead = readScript(request.script, text, &error);
        if (isRead && !tov::main::CommandParser::parse(text, commands, &error))
            error = QStringLiteral("%1, %2").arg(request.script, error);
        if (!error.isEmpty()) {
            reporter.fail(error);
            return ExitFailed;
        }
    }
    return commands.empty() ? failUsage(tr("there is no command to run")) : int(ExitDone);
}

/// Runs one command; false (reported) on failure.
bool runCommand(Session& session, const CommandText& command)
{
    Reporter& reporter = session.getReporter();
    if (!checkCommand(reporter, command))
        return false;
    // Shown for recordings that have begun, not for those that fail at once.
    constexpr int BegunMs = 1000;
    QTimer endless;
    endless.setSingleShot(true);
    QObject::connect(&endless, &QTimer::timeout, &endless, [&reporter] {
        reporter.note(tr("Recording freely; Ctrl-C ends it and keeps what was captured"));
    });
    const RunOutcome outcome = session.run(command.name, command.arguments, [&](const tov::main::CommandRunPointer&) {
        if (isCommand(command, "grabvideo") && !followsTrajectory(command))
            endless.start(BegunMs);
    });
    if (outcome.isDone() || session.wasInterrupted())
        return true;
    const QString prefix = command.name + QStringLiteral(": ");
    // What is wrong with an argument is reported with the name of the command already.
    return reporter.fail(outcome.reason.startsWith(prefix, Qt::CaseInsensitive) ? outcome.reason
                                                                                : prefix + outcome.reason);
}

} // namespace

int runScript(const Options& options, int& argc, char** argv)
{
    Reporter reporter(options);
    RunRequest request;
    QString error;
    if (!readRunRequest(options, request, &error)) {
        reporter.fail(tr("%1 (see tov run --help)").arg(error));
        return ExitUsage;
    }
    std::vector<CommandText> commands;
    if (const int status = readCommands(request, reporter, commands); status != ExitDone)
        return status;
    QStringList problems;
    if (!addScene(request.models, request.view, request.motion, problems)) {
        for (const QString& problem : problems)
            reporter.fail(problem);
        return ExitFailed;
    }
    Session session(options, reporter, argc, argv);
    const int fps = request.fps > 0 ? request.fps
                                    : tovSettings().value(QStringLiteral("settings/grabvideofps"), DefaultFps).toInt();
    if (!session.showModels(request.models, request.view) ||
        !session.showView(request.view, request.view.views.value(0), turnsUpright(request.motion)) ||
        !session.selectMotion(request.motion, request.view, fps) || !session.saveScene(request.view))
        return session.wasInterrupted() ? ExitInterrupted : ExitFailed;
    for (const CommandText& command : commands) {
        const bool isDone = runCommand(session, command);
        if (session.wasInterrupted())
            return ExitInterrupted;
        if (isDone)
            continue;
        if (!request.script.isEmpty())
            reporter.note(tr("%1, line %2: the script ends here").arg(request.script, QString::number(command.line)));
        return ExitFailed;
    }
    return reporter.hasReportedFailure() ? ExitFailed : ExitDone;
}

} // namespace tov::app
