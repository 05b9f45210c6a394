// Checks an encoder plug-in outside of the application: every check runs in a process of its own, so that a plug-in
// that crashes or hangs is reported like any other mistake.
//
//     tov-check-encoder FILE.so        exit status: 0 every check passed, 1 some failed, 2 wrong usage

#include "sdk/checker/checks.h"

#include "kernel/util/childprocess.h"
#include "kernel/util/libraryfile.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <csignal>
#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace {

/// How long one check may take; TOV_CHECK_LIMIT (seconds) changes it.
int limitMs()
{
    const int seconds = qEnvironmentVariableIntValue("TOV_CHECK_LIMIT");
    return (seconds > 0 ? seconds : 30) * 1000;
}

struct Outcome
{
    QStringList lines;
    int status = 0;
    QString failure; ///< how it failed; empty when the process ended by itself
};

Outcome runChecks(const QStringList& arguments)
{
    tov::util::ChildProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QCoreApplication::applicationFilePath(), arguments);
    Outcome outcome;
    if (!process.waitForStarted()) {
        outcome.failure = QStringLiteral("the check process cannot be started: %1").arg(process.errorString());
    } else if (!process.waitForFinished(limitMs()) && process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
        outcome.failure = QStringLiteral("it does not return within %1 s; a hook must return, also after an abort")
                              .arg(limitMs() / 1000);
    } else if (process.exitStatus() != QProcess::NormalExit) {
        outcome.failure = QStringLiteral("it crashes (%1); run the plug-in under a debugger or with -fsanitize=address")
                              .arg(QString::fromLocal8Bit(strsignal(process.exitCode())));
    } else if (process.exitCode() > 1) {
        outcome.failure = QStringLiteral("it ended the process with status %1; a plug-in never ends the application")
                              .arg(process.exitCode());
    }
    outcome.status = process.exitCode();
    outcome.lines = QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return outcome;
}

void say(const QString& line)
{
    std::puts(line.toLocal8Bit().constData());
}

int check(const QString& file)
{
    int count = 1, good = 0;
    const Outcome known = runChecks({QStringLiteral("--list"), file});
    QStringList problems, formats;
    std::vector<std::pair<QString, QString>> checks;
    for (const QString& line : known.lines) {
        const QString word = line.section(QLatin1Char(' '), 0, 0), rest = line.section(QLatin1Char(' '), 1);
        if (word == QLatin1String("problem"))
            problems << rest;
        else if (word == QLatin1String("format"))
            formats << rest.section(QLatin1Char(' '), 0, 0);
        else if (word == QLatin1String("check"))
            checks.emplace_back(rest.section(QLatin1Char(' '), 0, 0), rest.section(QLatin1Char(' '), 1));
        else if (word == QLatin1String("about"))
            say(rest);
    }
    if (!known.failure.isEmpty())
        problems << known.failure;
    if (problems.isEmpty()) {
        ++good;
        say(QStringLiteral("ok      loaded, registers %1").arg(formats.join(QLatin1String(", "))));
    }
    for (const QString& problem : problems)
        say(QStringLiteral("FAILED  loading: %1").arg(problem));
    if (!problems.isEmpty())
        formats.clear();
    for (const QString& format : formats)
        for (const auto& [name, what] : checks) {
            ++count;
            QTemporaryDir folder;
            const Outcome outcome = runChecks({QStringLiteral("--check"), name, file, format, folder.path()});
            QStringList found;
            for (const QString& line : outcome.lines)
                if (line.startsWith(QLatin1String("problem ")))
                    found << line.mid(8);
            if (!outcome.failure.isEmpty())
                found << outcome.failure;
            else if (found.isEmpty() && outcome.status != 0)
                found << QStringLiteral("it ended the process with status %1; a plug-in never ends the application")
                             .arg(outcome.status);
            if (found.isEmpty()) {
                ++good;
                say(QStringLiteral("ok      %1: %2").arg(format, what));
            }
            for (const QString& problem : found)
                say(QStringLiteral("FAILED  %1: %2: %3").arg(format, what, problem));
            std::fflush(stdout);
        }
    say(QStringLiteral("%1 of %2 checks passed").arg(good).arg(count));
    return good == count ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    // No display is needed; the module needs an application object for its icons.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    // The name of the program, because plug-ins use its cache folder.
    QCoreApplication::setOrganizationName(QStringLiteral("tov"));
    QCoreApplication::setApplicationName(QStringLiteral("tov"));
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (!arguments.isEmpty() && arguments.first().startsWith(QLatin1String("--"))) {
        // Once the parent process is gone, nothing else would stop a check that hangs; crashes are expected and
        // leave no core file.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        if (arguments.first() == QLatin1String("--probe-module")) {
            // A module is only loaded here; the program starts it.
            void* module = dlopen(QFile::encodeName(arguments.value(1)).constData(), RTLD_NOW);
            if (!module)
                say(tov::util::unloadableLine(arguments.value(1), QString::fromLocal8Bit(dlerror())));
            if (void* getFactory = module ? dlsym(module, "getFactory") : nullptr) {
                try {
                    reinterpret_cast<void* (*)()>(getFactory)();
                } catch (...) { // the program makes the same call and reports it
                }
            }
            std::fflush(stdout);
            _exit(tov::util::ProbedStatus);
        }
        const QByteArray part =
            QFile::encodeName(QCoreApplication::applicationDirPath() + QStringLiteral("/encoderchecks.so"));
        void* library = dlopen(part.constData(), RTLD_NOW);
        const auto run =
            library ? reinterpret_cast<int (*)(const QStringList&)>(dlsym(library, "tovCheckEncoderPart")) : nullptr;
        if (!run) {
            std::fprintf(stderr, "tov-check-encoder: %s\n", dlerror());
            return 2;
        }
        return run(arguments);
    }
    if (arguments.size() != 1) {
        std::fputs("usage: tov-check-encoder FILE.so\n", stderr);
        return 2;
    }
    if (!QFileInfo(arguments.first()).isFile()) {
        std::fprintf(stderr, "tov-check-encoder: no such file: %s\n", arguments.first().toLocal8Bit().constData());
        return 2;
    }
    return check(QFileInfo(arguments.first()).absoluteFilePath());
}
