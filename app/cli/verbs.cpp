#include "app/cli/verbs.h"

#include "app/cli/session.h"
#include "app/cli/videoverb.h"
#include "app/common/filesnapshot.h"
#include "app/common/pictureprobe.h"
#include "app/common/spacewatch.h"
#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/log/terminalsink.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace tov::app {

using tov::main::Command;
using tov::main::CommandArguments;
using tov::main::Overseer;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// Characters of a complaint.
constexpr int LongestLine = 1000;
/// Scripts are written by hand; what is larger is something else.
constexpr int MaxScript = 16 << 20;

void print(const QString& line)
{
    std::fprintf(stdout, "%s\n", line.toLocal8Bit().constData());
}

/// Free memory of the machine in bytes, as the kernel estimates it; 0 = unknown.
qint64 availableMemory()
{
    QFile file(QStringLiteral("/proc/meminfo"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith("MemAvailable:"))
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
    return 0;
}

int runImage(const Options& options, int& argc, char** argv)
{
    const auto usage = [](const QString& message) {
        printError(message + tr(" (see tov image --help)"));
        return 2;
    };
    if (options.files.isEmpty())
        return usage(tr("image needs a model"));
    const QString output = options.value(QStringLiteral("output"));
    if (output.isEmpty())
        return usage(tr("image needs an output file: -o OUT"));
    ViewOptions view;
    QString error;
    if (!readViewOptions(options, view, &error))
        return usage(error);
    const QString widthText =
        options.has(QStringLiteral("width")) ? options.value(QStringLiteral("width")) : QStringLiteral("10000");
    bool isNumber = false;
    const int width = widthText.toInt(&isNumber);
    if (!isNumber)
        return usage(tr("--width: \"%1\" is no whole number of pixels").arg(widthText));

    Session session(options, argc, argv);
    if (!checkOutputFolder(output, &error)) {
        session.fail(error);
        return 1;
    }
    // A picture that almost fits into memory would bring the machine down before anybody could say so. What is larger
    // than any memory is refused by the command itself.
    const double bytes = 4.0 * width * width * view.panel.height() / view.panel.width();
    const qint64 available = availableMemory();
    if (width > 0 && available > 0 && bytes > double(available) && bytes < 1e13) {
        session.fail(tr("%1 pixels wide needs %2 MiB of memory, %3 are free; make the picture smaller")
                         .arg(width)
                         .arg(qint64(bytes / 1048576))
                         .arg(available >> 20));
        return 1;
    }
    session.leaveAtFirstInterrupt();
    if (!session.open(options.files, view, false))
        return session.wasInterrupted() ? 130 : 1;
    session.guardOutput(output);
    const FileSnapshot before(output);
    CommandArguments arguments;
    arguments.named = {{QStringLiteral("filename"), output}, {QStringLiteral("width"), widthText}};
    const bool ran = session.run(QStringLiteral("grabimage"), arguments);
    // The command logs "saved" even where a full disk took nothing, so the file itself is asked.
    const QFileInfo info(output);
    const int height = int(double(view.panel.height()) / view.panel.width() * width);
    if (ran) {
        QImageReader reader(output);
        const QSize size = reader.size();
        if (!before.hasChanged())
            session.fail(tr("%1 was not written").arg(output));
        else if (info.size() == 0 || (size.isValid() && size != QSize(width, height)) || !isWholePicture(output))
            session.fail(tr("%1 is incomplete; is the disk full?").arg(output));
    } else if (!session.isTold()) {
        // A run that ended without a word must not count as a picture.
        session.fail(tr("%1 was not made").arg(output));
    }
    if (session.isTold()) {
        session.dropOutput();
        return 1;
    }
    session.tell(tr("%1: %2 x %3 pixels, %4 kB").arg(output).arg(width).arg(height).arg((info.size() + 999) / 1000));
    return 0;
}

bool isVideoCommand(const tov::main::CommandText& text)
{
    return text.name.compare(QLatin1String("grabvideo"), Qt::CaseInsensitive) == 0;
}

/// An argument as it is given, by name or by position.
QString argumentOf(const tov::main::CommandText& text, int index, const char* name, const QString& initial)
{
    for (const auto& [given, value] : text.arguments.named)
        if (given.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return value;
    return text.arguments.positional.value(index, initial);
}

/// Steps along the trajectory, rather than recording until somebody ends it.
bool followsTrajectory(const tov::main::CommandText& text)
{
    static const QStringList yes{QStringLiteral("1"), QStringLiteral("true"), QStringLiteral("yes"),
                                 QStringLiteral("on")};
    return yes.contains(argumentOf(text, 3, "sync", yes.first()), Qt::CaseInsensitive);
}

/// What can be known before a command writes its file: the folder, the room, something to follow. A file that is there
/// already would be lost to a command that fails later. False, told, when it must not start.
bool checkBefore(Session& session, const tov::main::CommandText& text)
{
    const bool isVideo = isVideoCommand(text);
    if (!isVideo && text.name.compare(QLatin1String("grabimage"), Qt::CaseInsensitive) != 0)
        return true;
    const QString fileName = argumentOf(text, 0, "filename", QString());
    // The command itself says what is wrong with its arguments.
    if (fileName.isEmpty())
        return true;
    QString error;
    for (const auto& [index, name] : {std::pair(1, "width"), std::pair(2, "height")})
        if (isVideo && argumentOf(text, index, name, QStringLiteral("0")).toInt() < 0)
            return session.fail(
                tr("%1 was not written: width and height are pixels, 0 for those of the view; %2 is below")
                    .arg(fileName, argumentOf(text, index, name, QString())));
    if (!checkOutputFolder(fileName, &error) || (isVideo && !SpaceWatch::hasRoom(fileName, &error)))
        return session.fail(error);
    if (isVideo && followsTrajectory(text) && tov::trajectory::TrajectoryHandler::getInstance()->getCount() == 0)
        return session.fail(
            tr("%1 was not written: a recording with sync=1 follows a trajectory, and there is none; give "
               "--trajectory or --turntable, or sync=0")
                .arg(fileName));
    return true;
}

bool writesFile(const tov::main::CommandRunPointer& run)
{
    return run->getCommandName() == QLatin1String("grabimage") || run->getCommandName() == QLatin1String("grabvideo");
}

/// Holds a command that writes a file against the file itself, for its log says "saved" and "done" even where nothing
/// was written. False (told) when there is no file that can be read; an empty one, which only looks like a result, is
/// removed.
bool checkResult(Session& session, const tov::main::CommandRunPointer& run, const FileSnapshot& before)
{
    if (!writesFile(run))
        return true;
    const QString fileName = run->getArgument(QStringLiteral("filename"));
    const QFileInfo info(fileName);
    const bool touched = before.hasChanged();
    if (touched && info.size() > 0) {
        bool readable = false;
        if (run->getCommandName() == QLatin1String("grabvideo")) {
            const VideoProbe probe = session.readBack(fileName);
            readable = !probe.asked || probe.readable;
        } else {
            readable = isWholePicture(fileName);
        }
        return readable || session.fail(tr("%1 cannot be read back").arg(fileName));
    }
    if (touched)
        QFile::remove(fileName);
    return session.fail(tr("%1 was not written").arg(fileName));
}

/// Settings that cannot be written are kept in memory, and said so.
void checkSettings(Session& session)
{
    if (!session.getStartup().getForeignSettings().isEmpty())
        return; // said already
    QSettings& settings = tovSettings();
    settings.sync();
    if (settings.status() == QSettings::AccessError)
        session.tell(
            tr("Note: %1 cannot be written; the settings hold for this call only.").arg(tov::main::settingsFile()));
}

int runScript(const Options& options, int& argc, char** argv)
{
    const auto usage = [](const QString& message) {
        printError(message + tr(" (see tov run --help)"));
        return 2;
    };
    ViewOptions view;
    QString error;
    if (!readViewOptions(options, view, &error))
        return usage(error);
    QStringList files = options.files;
    std::vector<tov::main::CommandText> commands;
    QString origin;
    if (options.has(QStringLiteral("command"))) {
        for (const QString& text : options.values.at(QStringLiteral("command"))) {
            std::vector<tov::main::CommandText> some;
            if (!tov::main::CommandParser::parse(text, some, &error))
                return usage(QStringLiteral("-c %1: %2").arg(text, error));
            commands.insert(commands.end(), some.begin(), some.end());
        }
    } else {
        if (files.isEmpty())
            return usage(tr("run needs a script, or -c TEXT"));
        origin = files.takeLast();
        QFile script(origin);
        if (QFileInfo(origin).isDir() || !script.open(QIODevice::ReadOnly)) {
            printError(tr("%1 cannot be read as a script: %2")
                           .arg(origin, QFileInfo(origin).isDir() ? tr("it is a folder") : script.errorString()));
            return 1;
        }
        // Something endless may be named by mistake.
        QByteArray text;
        while (text.size() <= MaxScript) {
            const QByteArray part = script.read(MaxScript + 1 - text.size());
            if (part.isEmpty())
                break;
            text += part;
        }
        if (text.size() > MaxScript) {
            printError(tr("%1 cannot be read as a script: %2").arg(origin, tr("it is larger than 16 MiB")));
            return 1;
        }
        if (script.error() != QFileDevice::NoError) {
            printError(tr("%1 cannot be read as a script: %2").arg(origin, script.errorString()));
            return 1;
        }
        if (!tov::main::CommandParser::parse(QString::fromUtf8(text.constData(), text.size()), commands, &error)) {
            printError(QStringLiteral("%1, %2").arg(origin, error));
            return 1;
        }
    }
    if (commands.empty())
        return usage(tr("there is no command to run"));

    Session session(options, argc, argv);
    if (!session.open(files, view, options.has(QStringLiteral("turntable"))) || !session.openTrajectory())
        return session.wasInterrupted() ? 130 : 1;
    // Said of recordings that have begun, not of those that fail at once.
    constexpr int BegunMs = 1000;
    QTimer endless;
    endless.setSingleShot(true);
    QObject::connect(&endless, &QTimer::timeout, &endless,
                     [&] { session.tell(tr("Recording freely; Ctrl-C ends it and keeps what was captured.")); });
    for (const auto& command : commands) {
        tov::main::CommandRunPointer run;
        FileSnapshot before;
        const bool ran = checkBefore(session, command) &&
                         session.run(command.name, command.arguments, [&](const tov::main::CommandRunPointer& started) {
                             run = started;
                             // Files are made once this thread has done its part.
                             if (writesFile(run))
                                 before = FileSnapshot(run->getArgument(QStringLiteral("filename")));
                             if (isVideoCommand(command) && !followsTrajectory(command))
                                 endless.start(BegunMs);
                         });
        endless.stop();
        if (!ran || (!session.wasInterrupted() && !checkResult(session, run, before))) {
            if (run && writesFile(run)) {
                // An empty file, or half a picture, only looks like a result.
                const QFileInfo info(run->getArgument(QStringLiteral("filename")));
                const bool picture = run->getCommandName() == QLatin1String("grabimage");
                if (before.hasChanged() && (info.size() == 0 || (picture && !isWholePicture(info.filePath()))))
                    QFile::remove(info.canonicalFilePath());
            }
            if (!origin.isEmpty())
                printError(tr("%1, line %2: the script ends here").arg(origin).arg(command.line));
            return session.wasInterrupted() ? 130 : 1;
        }
        if (session.wasInterrupted())
            return 130;
        if (run->getCommandName() == QLatin1String("setvideosettings"))
            checkSettings(session);
    }
    return 0;
}

int runCommands(const Options& options, int& argc, char** argv)
{
    Session session(options, argc, argv);
    for (const Command* command : Overseer::getInstance()->getCommandProcessor()->getPrimaryCommands()) {
        print(QStringLiteral("%1  %2").arg(command->getDescriptor()->getName(),
                                           command->getDescriptor()->getDescription()));
        if (const auto* set = command->getCurrentParameterSet())
            for (const auto* parameter : set->getParameters()) {
                const QString initial = parameter->getDefaultParameterForDefaultGUI();
                const QString name = parameter->getName().contains(QLatin1Char(' '))
                                         ? QLatin1Char('"') + parameter->getName() + QLatin1Char('"')
                                         : parameter->getName();
                print(QStringLiteral("    %1  %2%3")
                          .arg(name, parameter->getDescription(),
                               initial.isNull() ? QString() : tr("  [default %1]").arg(initial)));
            }
    }
    return 0;
}

/// Becomes the checker, a program of its own: a plug-in that crashes must not take this one along.
int checkEncoder(const QString& fileName)
{
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    QByteArray checker(self, int(std::max<ssize_t>(length, 0)));
    checker.truncate(checker.lastIndexOf('/'));
    checker += "/../libexec/tov-check-encoder";
    const QByteArray file = QFile::encodeName(fileName);
    execl(checker.constData(), checker.constData(), file.constData(), nullptr);
    printError(tr("%1 cannot be started: %2").arg(QFile::decodeName(checker), QString::fromLocal8Bit(strerror(errno))));
    return 1;
}

int runEncoders(const Options& options, int& argc, char** argv)
{
    if (options.has(QStringLiteral("check")))
        return checkEncoder(options.value(QStringLiteral("check")));
    Session session(options, argc, argv);
    const auto formats = knownVideoFormats();
    for (const auto& [suffix, description] : formats)
        print(QStringLiteral("%1 %2").arg(suffix.leftJustified(14), description));
    if (formats.empty()) {
        session.fail(tr("no video encoder is loaded; tov modules tells more"));
        return 1;
    }
    // What the plug-ins say of themselves, what they miss among it.
    for (auto* module : tov::main::ModuleManager::getInstance()->getModules())
        for (const auto& record : module->getInformationObject()->getAdditionalInformations())
            print(QStringLiteral("%1 %2: %3").arg(record.name, record.version, record.description));
    return 0;
}

int runModules(const Options& options, int& argc, char** argv)
{
    FailureLog errors(FailureLog::Console::Collect);
    Session session(options, argc, argv);
    for (auto* module : tov::main::ModuleManager::getInstance()->getModules()) {
        auto* information = module->getInformationObject();
        print(QStringLiteral("%1  %2").arg(information->getName(), information->getDescription()));
        for (const auto& record : information->getAdditionalInformations())
            print(QStringLiteral("    %1  %2  %3  %4")
                      .arg(record.name, record.description, record.version, record.author));
    }
    const QString renderer = tov::scene::Viewer::getInstance()->getRenderer();
    print(tr("Drawing with: %1").arg(renderer.isEmpty() ? tr("nothing, OpenGL cannot be used") : renderer));
    for (const QString& message : errors.messages())
        print(tr("Problem: %1").arg(message));
    if (tov::main::ModuleManager::getInstance()->getModules().empty()) {
        session.fail(tr("no module could be loaded"));
        return 1;
    }
    return 0;
}

} // namespace

void printError(const QString& message)
{
    // Words that a message repeats may be megabytes long.
    QString line = tov::log::escaped(message);
    if (line.size() > LongestLine)
        line = line.left(LongestLine / 2) + QStringLiteral(" ... ") + line.right(LongestLine / 4);
    std::fprintf(stderr, "tov: %s\n", line.toLocal8Bit().constData());
}

int runVerb(const Options& options, int& argc, char** argv)
{
    if (options.verb != QLatin1String("image") && options.verb != QLatin1String("video") &&
        options.verb != QLatin1String("run") && !options.files.isEmpty()) {
        printError(tr("%1 takes no file").arg(options.verb));
        return 2;
    }
    int status = 2;
    if (options.verb == QLatin1String("image"))
        status = runImage(options, argc, argv);
    else if (options.verb == QLatin1String("video"))
        status = runVideo(options, argc, argv);
    else if (options.verb == QLatin1String("run"))
        status = runScript(options, argc, argv);
    else if (options.verb == QLatin1String("commands"))
        status = runCommands(options, argc, argv);
    else if (options.verb == QLatin1String("encoders"))
        status = runEncoders(options, argc, argv);
    else if (options.verb == QLatin1String("modules"))
        status = runModules(options, argc, argv);
    if (std::fflush(stdout) != 0 && status == 0)
        status = 1;
    return status;
}

} // namespace tov::app
