#include "app/common/libraryprobe.h"

#include "kernel/util/childprocess.h"
#include "kernel/util/elffile.h"
#include "kernel/util/filestamp.h"
#include "kernel/util/libraryfile.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <memory>

namespace tov::app {

namespace {

/// Time limit for all trials of one start.
constexpr int LimitMs = 4500;
/// Time limit for one trial, so that the others get their turn.
constexpr int FileLimitMs = 4000;
constexpr int WaitMs = 10;
/// How often a process has to be found asleep to count as hanging.
constexpr int AsleepSamples = 5;

const QString CacheName = QStringLiteral("libraries");
/// Change it whenever the meaning of the entries changes.
const QString CacheVersion = QStringLiteral("1");

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QString fileStamp(const QString& fileName)
{
    return tov::util::FileStamp(fileName).toString();
}

/// The stored result of a trial.
struct Result
{
    QString stamp;                 ///< of the library
    QString problem;               ///< empty: it may be loaded
    QMap<QString, QString> stamps; ///< of the files that the library loads by itself, by name

    /// Whether all these files are unchanged.
    bool isCurrent(const QString& fileName) const
    {
        if (stamp.isEmpty() || stamp != fileStamp(fileName))
            return false;
        for (auto needed = stamps.begin(); needed != stamps.end(); ++needed)
            if (needed.value() != fileStamp(needed.key()))
                return false;
        return true;
    }
    /// As lines of text, for the cache.
    QString toText() const
    {
        QStringList lines{stamp, problem};
        for (auto needed = stamps.begin(); needed != stamps.end(); ++needed)
            lines << needed.key() << needed.value();
        return lines.join(QLatin1Char('\n'));
    }
    static Result fromText(const QString& text)
    {
        const QStringList lines = text.split(QLatin1Char('\n'));
        Result result{lines.value(0), lines.value(1), {}};
        for (int i = 2; i + 1 < lines.size(); i += 2)
            result.stamps[lines[i]] = lines[i + 1];
        return result;
    }
};

/// Files that the tried library reported as needed, with their stamps.
QMap<QString, QString> readNeeds(const QByteArray& output)
{
    QMap<QString, QString> stamps;
    const QByteArray prefix = "needs ";
    for (const QByteArray& line : output.split('\n'))
        if (line.startsWith(prefix)) {
            const QString needed = QString::fromUtf8(line.mid(prefix.size()));
            stamps[needed] = fileStamp(needed);
        }
    return stamps;
}

/// Why the system does not load the library, in the words of Qt's loader; empty when it does. The system's loader may
/// crash on a damaged library in one process and report an error in another, so the program does not try again.
QString findLoadProblem(const QByteArray& output)
{
    const QByteArray prefix = tov::util::UnloadablePrefix;
    for (const QByteArray& line : output.split('\n'))
        if (line.startsWith(prefix))
            return QString::fromUtf8(line.mid(prefix.size()));
    return QString();
}

/// Why the library must not be loaded after its trial ended that way; empty when it may be.
QString findTrialProblem(const QProcess& process)
{
    if (process.exitStatus() != QProcess::NormalExit)
        return tr("it crashed when it was tried (%1); it is tried again when the file changes")
            .arg(QString::fromLocal8Bit(strsignal(process.exitCode())));
    if (process.exitCode() != tov::util::ProbedStatus)
        return tr("it ended its process when it was tried (status %1); it is tried again when the file changes")
            .arg(process.exitCode());
    return QString();
}

/// Usually killed by the system, which was short of memory.
bool wasKilled(const QProcess& process)
{
    return process.exitStatus() != QProcess::NormalExit && process.exitCode() == SIGKILL;
}

/// Whether a process hangs, as opposed to one that gets no processor or disk time.
bool isAsleep(qint64 pid)
{
    for (int i = 0; i < AsleepSamples; ++i) {
        QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        // "pid (name) state ..."; the name may contain any character.
        const QByteArray status = file.readAll();
        if (status.mid(status.lastIndexOf(')') + 2, 1) != "S")
            return false;
        QThread::msleep(WaitMs);
    }
    return true;
}

} // namespace

/// One library in a process of its own.
struct LibraryProbe::Trial
{
    Candidate candidate;
    std::unique_ptr<QProcess> process;
    std::shared_ptr<bool> notStarted; ///< QProcess does not remember that it could not be started
    QDeadlineTimer limit{FileLimitMs};

    static Trial start(const QString& checker, const Candidate& candidate)
    {
        Trial trial{candidate, std::make_unique<tov::util::ChildProcess>(), std::make_shared<bool>(false)};
        QObject::connect(trial.process.get(), &QProcess::errorOccurred, trial.process.get(),
                         [notStarted = trial.notStarted](QProcess::ProcessError error) {
                             *notStarted = *notStarted || error == QProcess::FailedToStart;
                         });
        trial.process->setStandardErrorFile(QProcess::nullDevice());
        trial.process->start(checker,
                             {candidate.encoder ? QStringLiteral("--probe-encoder") : QStringLiteral("--probe-module"),
                              candidate.fileName});
        return trial;
    }
    bool isRunning() const
    {
        return process->state() != QProcess::NotRunning && !process->waitForFinished(0) &&
               process->state() != QProcess::NotRunning;
    }
};

/// Runs the trials and records their results.
class LibraryProbe::Trials
{
public:
    explicit Trials(LibraryProbe& probe) : m_Probe(probe) {}

    void run(const std::vector<Candidate>& candidates)
    {
        const std::size_t atOnce = std::size_t(std::max(4, 2 * QThread::idealThreadCount()));
        std::size_t next = 0;
        std::vector<Trial> running;
        while (next < candidates.size() || !running.empty()) {
            while (next < candidates.size() && running.size() < atOnce && !m_Deadline.hasExpired())
                running.push_back(Trial::start(m_Probe.m_Checker, candidates[next++]));
            if (running.empty())
                break;
            running.front().process->waitForFinished(WaitMs);
            running.erase(
                std::remove_if(running.begin(), running.end(), [this](Trial& trial) { return hasEnded(trial); }),
                running.end());
        }
        for (; next < candidates.size(); ++next)
            refuse(candidates[next], tr("there was no time left to try it; it is tried at the next start"));
    }

private:
    /// Whether the trial is over; takes its result then.
    bool hasEnded(Trial& trial)
    {
        if (!trial.isRunning()) {
            takeResult(trial);
            return true;
        }
        if (!trial.limit.hasExpired() && !m_Deadline.hasExpired())
            return false;
        // Not stored: on a loaded machine a good library may take as long.
        if (!trial.candidate.own || isAsleep(trial.process->processId()))
            m_Probe.m_Refused[trial.candidate.fileName] = tr("it did not return when it was tried");
        trial.process->kill();
        trial.process->waitForFinished(WaitMs * 100);
        return true;
    }
    void takeResult(Trial& trial)
    {
        const Candidate& candidate = trial.candidate;
        if (*trial.notStarted || wasKilled(*trial.process)) {
            // Not the library's fault, so the result is not stored.
            refuse(candidate,
                   tr("it cannot be tried because the machine is short of processes or memory; it is tried at "
                      "the next start"));
            return;
        }
        const QByteArray output = trial.process->readAllStandardOutput();
        const QString loadProblem = findLoadProblem(output);
        if (!loadProblem.isEmpty()) {
            // Not stored: a library that it needs may be installed later.
            m_Probe.m_Refused[candidate.fileName] = loadProblem;
            return;
        }
        const QString problem = findTrialProblem(*trial.process);
        m_Probe.m_Results[candidate.fileName] =
            Result{fileStamp(candidate.fileName), problem, readNeeds(output)}.toText();
        if (!problem.isEmpty())
            m_Probe.m_Refused[candidate.fileName] = problem;
    }
    /// Refuses a library that was not tried, unless it came with the program.
    void refuse(const Candidate& candidate, const QString& reason)
    {
        if (!candidate.own)
            m_Probe.m_Refused[candidate.fileName] = reason;
    }

    LibraryProbe& m_Probe;
    const QDeadlineTimer m_Deadline{LimitMs};
};

LibraryProbe::LibraryProbe(const QString& checker, const QStringList& own) : m_Checker(checker), m_Own(own) {}

void LibraryProbe::addModules(const QString& folder)
{
    add(folder, false);
}

void LibraryProbe::addEncoders(const QString& folder)
{
    add(folder, true);
}

void LibraryProbe::add(const QString& folder, bool encoders)
{
    for (const QFileInfo& entry : QDir(folder).entryInfoList(QDir::Files))
        if (QLibrary::isLibrary(entry.fileName()) && !(encoders && entry.isSymLink()))
            m_Candidates.push_back({entry.canonicalFilePath(), encoders, m_Own.contains(entry.fileName())});
}

std::vector<LibraryProbe::Candidate> LibraryProbe::findNew(const tov::util::CacheEntries& before)
{
    std::vector<Candidate> result;
    for (const Candidate& candidate : m_Candidates) {
        const Result known = Result::fromText(before.value(candidate.fileName));
        QString problem = m_OnlyOwn && !candidate.own ? tr("left out by --safe-mode")
                                                      : tov::util::findAccessProblem(candidate.fileName);
        if (problem.isEmpty() && known.isCurrent(candidate.fileName)) {
            m_Results[candidate.fileName] = known.toText();
            problem = known.problem;
        } else if (problem.isEmpty()) {
            problem = tov::util::findElfProblem(candidate.fileName);
            if (problem.isEmpty())
                result.push_back(candidate);
        }
        if (!problem.isEmpty())
            m_Refused[candidate.fileName] = problem;
    }
    // Slow libraries must not use up the time of these.
    std::stable_partition(result.begin(), result.end(), [](const Candidate& candidate) { return candidate.own; });
    return result;
}

void LibraryProbe::run()
{
    const tov::util::CacheEntries before = tov::util::readCache(CacheName, CacheVersion);
    const std::vector<Candidate> fresh = findNew(before);
    if (!fresh.empty() && QFileInfo(m_Checker).isExecutable()) {
        Trials(*this).run(fresh);
        // If the cache cannot be written, the libraries are tried again at the next start.
        if (m_Results != before)
            tov::util::writeCache(CacheName, CacheVersion, m_Results);
    }
    QCoreApplication::instance()->setProperty(tov::util::RefusedLibraries, m_Refused);
}

} // namespace tov::app
