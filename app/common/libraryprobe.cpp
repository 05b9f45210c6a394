#include "app/common/libraryprobe.h"

#include "kernel/util/childprocess.h"
#include "kernel/util/elffile.h"
#include "kernel/util/libraryfile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLibrary>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <memory>

namespace tov::app {

namespace {

/// All trials of one start, together.
constexpr int LimitMs = 4500;
/// One trial, so that others get their turn.
constexpr int FileLimitMs = 4000;
constexpr int WaitMs = 10;
/// A larger file was not written by the program.
constexpr qint64 LargestCache = 1 << 20;
/// How often a process has to be found asleep to count as hanging.
constexpr int AsleepSamples = 5;

const QString StampKey = QStringLiteral("stamp");
const QString ReasonKey = QStringLiteral("reason");
const QString NeedsKey = QStringLiteral("needs");

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

QString cacheFile()
{
    const QString folder = privateCacheFolder();
    return folder.isEmpty() ? QString() : folder + QStringLiteral("/libraries.json");
}

QJsonObject readCache(const QString& fileName)
{
    QFile file(fileName);
    if (fileName.isEmpty() || file.size() > LargestCache || !file.open(QIODevice::ReadOnly))
        return QJsonObject();
    return QJsonDocument::fromJson(file.readAll()).object();
}

/// Failures are ignored: what cannot be written is tried again at the next start.
void writeCache(const QString& fileName, const QJsonObject& results)
{
    QSaveFile file(fileName);
    if (fileName.isEmpty() || !file.open(QIODevice::WriteOnly))
        return;
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.write(QJsonDocument(results).toJson(QJsonDocument::Compact));
    file.commit();
}

/// Size and time of change; empty for a file that does not exist.
QString fileStamp(const QString& fileName)
{
    const QFileInfo file(fileName);
    return file.exists() ? QStringLiteral("%1 %2").arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch())
                         : QString();
}

/// Whether the file, and what it loads by itself, are as they were when they were tried.
bool isCurrent(const QJsonObject& record, const QString& fileName)
{
    if (record.value(StampKey).toString() != fileStamp(fileName))
        return false;
    const QJsonObject needs = record.value(NeedsKey).toObject();
    for (auto need = needs.begin(); need != needs.end(); ++need)
        if (need.value().toString() != fileStamp(need.key()))
            return false;
    return true;
}

/// Files that the tried library reported as needed, with their stamps.
QJsonObject readNeeds(const QByteArray& output)
{
    QJsonObject needs;
    const QByteArray prefix = "needs ";
    for (const QByteArray& line : output.split('\n'))
        if (line.startsWith(prefix)) {
            const QString needed = QString::fromUtf8(line.mid(prefix.size()));
            needs[needed] = fileStamp(needed);
        }
    return needs;
}

/// Why the library must not be loaded after its trial ended that way; empty when it was loaded, or failed to load in an
/// orderly way, which the program will report itself.
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

/// Usually by the system, which was short of memory.
bool wasKilled(const QProcess& process)
{
    return process.exitStatus() != QProcess::NormalExit && process.exitCode() == SIGKILL;
}

/// Whether a process waits for something that does not happen, as opposed to one that gets no processor or disk time.
bool isAsleep(qint64 pid)
{
    for (int i = 0; i < AsleepSamples; ++i) {
        QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        // "pid (name) state ..."; the name may hold anything.
        const QByteArray status = file.readAll();
        if (status.mid(status.lastIndexOf(')') + 2, 1) != "S")
            return false;
        QThread::msleep(WaitMs);
    }
    return true;
}

} // namespace

QString privateCacheFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (folder.isEmpty() || (!QDir(folder).exists() && !QDir().mkpath(folder)))
        return QString();
    // The files that somebody opens are nobody else's business.
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return folder;
}

/// One library in a process of its own.
struct LibraryProbe::Trial
{
    Candidate candidate;
    std::unique_ptr<QProcess> process;
    std::shared_ptr<bool> notStarted; ///< the process itself forgets that it could not be started
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
        // Not remembered: on a loaded machine a good library takes as long.
        if (!trial.candidate.own || isAsleep(trial.process->processId()))
            m_Probe.m_Refused[trial.candidate.fileName] = tr("it did not come back when it was tried");
        trial.process->kill();
        trial.process->waitForFinished(WaitMs * 100);
        return true;
    }
    void takeResult(Trial& trial)
    {
        const Candidate& candidate = trial.candidate;
        if (*trial.notStarted || wasKilled(*trial.process)) {
            // Not the library's fault, and not remembered.
            refuse(candidate, tr("it could not be tried, the machine is short of processes or memory; it is tried at "
                                 "the next start"));
            return;
        }
        const QString problem = findTrialProblem(*trial.process);
        m_Probe.m_Results[candidate.fileName] =
            QJsonObject{{StampKey, fileStamp(candidate.fileName)},
                        {NeedsKey, readNeeds(trial.process->readAllStandardOutput())},
                        {ReasonKey, problem}};
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

std::vector<LibraryProbe::Candidate> LibraryProbe::findNew(const QJsonObject& before)
{
    std::vector<Candidate> result;
    for (const Candidate& candidate : m_Candidates) {
        const QJsonObject record = before.value(candidate.fileName).toObject();
        QString problem = m_OnlyOwn && !candidate.own ? tr("left out by --safe-mode")
                                                      : tov::util::findAccessProblem(candidate.fileName);
        if (problem.isEmpty() && isCurrent(record, candidate.fileName)) {
            m_Results[candidate.fileName] = record;
            problem = record.value(ReasonKey).toString();
        } else if (problem.isEmpty() && tov::util::findElfProblem(candidate.fileName).isEmpty()) {
            result.push_back(candidate);
        }
        if (!problem.isEmpty())
            m_Refused[candidate.fileName] = problem;
    }
    // Whatever takes long must not use up the time of these.
    std::stable_partition(result.begin(), result.end(), [](const Candidate& candidate) { return candidate.own; });
    return result;
}

void LibraryProbe::run()
{
    const QString cache = cacheFile();
    const QJsonObject before = readCache(cache);
    const std::vector<Candidate> fresh = findNew(before);
    if (!fresh.empty() && QFileInfo(m_Checker).isExecutable()) {
        Trials(*this).run(fresh);
        if (m_Results != before)
            writeCache(cache, m_Results);
    }
    QCoreApplication::instance()->setProperty(tov::util::RefusedLibraries, m_Refused);
}

} // namespace tov::app
