#include "app/common/libraryprobe.h"

#include "kernel/util/childprocess.h"
#include "kernel/util/libraryfile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLibrary>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThread>
#include <QVariantMap>

#include <algorithm>
#include <cerrno>

#include <csignal>
#include <cstring>
#include <memory>
#include <vector>

namespace tov::app {

namespace {

/// What all that is new may take of a start.
constexpr int LimitMs = 4500;
/// What one file may take, so that others have their turn.
constexpr int FileLimitMs = 4000;
constexpr int WaitMs = 10;
/// A larger file is not ours.
constexpr qint64 LargestCache = 1 << 20;

char markerName[4096] = "";

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

void writeCache(const QString& fileName, const QJsonObject& known)
{
    // What cannot be written is tried again next time.
    QSaveFile file(fileName);
    if (fileName.isEmpty() || !file.open(QIODevice::WriteOnly))
        return;
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.write(QJsonDocument(known).toJson(QJsonDocument::Compact));
    file.commit();
}

/// Empty when the library was loaded, or failed to in an orderly way, which the ordinary way will tell.
QString verdictOn(const QProcess& process)
{
    if (process.exitStatus() != QProcess::NormalExit)
        return tr("it crashed when it was tried (%1); it is tried again when the file changes")
            .arg(QString::fromLocal8Bit(strsignal(process.exitCode())));
    if (process.exitCode() != tov::util::ProbedStatus)
        return tr("it ended its process when it was tried (status %1); it is tried again when the file changes")
            .arg(process.exitCode());
    return QString();
}

/// Size and time of change; changes with the file.
QString stateOf(const QFileInfo& file)
{
    return QStringLiteral("%1 %2").arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch());
}

/// By nobody's fault but a lack of memory, as a rule.
bool wasKilled(const QProcess& process)
{
    return process.exitStatus() != QProcess::NormalExit && process.exitCode() == SIGKILL;
}

} // namespace

QString privateCacheFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (folder.isEmpty() || (!QDir(folder).exists() && !QDir().mkpath(folder)))
        return QString();
    // What somebody opens is nobody else's business.
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return folder;
}

LibraryProbe::LibraryProbe(const QString& program) : m_Program(program) {}

void LibraryProbe::addFolder(const QString& folder, bool encoders)
{
    // Encoders bring that along: what came of them may be another thing when it changes.
    const QFileInfo coders(QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/libtovcoders.so"));
    for (const QFileInfo& entry : QDir(folder).entryInfoList(QDir::Files))
        if (QLibrary::isLibrary(entry.fileName()))
            m_Candidates.append({entry.canonicalFilePath(),
                                 encoders ? stateOf(entry) + QLatin1Char(' ') + stateOf(coders) : stateOf(entry),
                                 encoders});
}

void LibraryProbe::setOwn(const QStringList& names, bool only)
{
    m_Own = names;
    m_OnlyOwn = only;
}

void LibraryProbe::run()
{
    QVariantMap refused;
    const QString remembered = cacheFile();
    const QJsonObject before = readCache(remembered);
    QJsonObject known;
    std::vector<Candidate> fresh;
    const auto isOwn = [this](const Candidate& candidate) {
        return m_Own.contains(QFileInfo(candidate.fileName).fileName());
    };
    for (const Candidate& candidate : m_Candidates) {
        if (m_OnlyOwn && !isOwn(candidate)) {
            refused[candidate.fileName] = tr("left out, as --safe-mode says");
            continue;
        }
        const QJsonObject record = before.value(candidate.fileName).toObject();
        if (record.value(QStringLiteral("key")).toString() == candidate.key) {
            known[candidate.fileName] = record;
            const QString reason = record.value(QStringLiteral("reason")).toString();
            if (!reason.isEmpty())
                refused[candidate.fileName] = reason;
        } else if (tov::util::libraryDefectOf(candidate.fileName).isEmpty()) {
            fresh.push_back(candidate);
        }
    }
    // Whatever takes long, it must not take the time from these.
    std::stable_partition(fresh.begin(), fresh.end(), isOwn);
    if (!fresh.empty() && QFileInfo(m_Program).isExecutable()) {
        struct Trial
        {
            Candidate candidate;
            std::unique_ptr<QProcess> process;
            std::shared_ptr<bool> notStarted; ///< no process was to be had; the process itself forgets that
            QDeadlineTimer limit;
        };
        const QDeadlineTimer deadline(LimitMs);
        std::vector<Trial> running;
        const std::size_t atOnce = std::size_t(std::max(4, 2 * QThread::idealThreadCount()));
        std::size_t next = 0;
        while (next < fresh.size() || !running.empty()) {
            while (next < fresh.size() && running.size() < atOnce && !deadline.hasExpired()) {
                Trial trial{fresh[next++], std::make_unique<tov::util::ChildProcess>(), std::make_shared<bool>(false),
                            QDeadlineTimer(FileLimitMs)};
                QObject::connect(trial.process.get(), &QProcess::errorOccurred, trial.process.get(),
                                 [notStarted = trial.notStarted](QProcess::ProcessError error) {
                                     *notStarted = *notStarted || error == QProcess::FailedToStart;
                                 });
                trial.process->setStandardOutputFile(QProcess::nullDevice());
                trial.process->setStandardErrorFile(QProcess::nullDevice());
                trial.process->start(m_Program, {trial.candidate.encoder ? QStringLiteral("--probe-encoder")
                                                                         : QStringLiteral("--probe-module"),
                                                 trial.candidate.fileName});
                running.push_back(std::move(trial));
            }
            if (running.empty())
                break;
            running.front().process->waitForFinished(WaitMs);
            for (std::size_t i = 0; i < running.size();) {
                Trial& trial = running[i];
                if (trial.process->state() != QProcess::NotRunning && !trial.process->waitForFinished(0) &&
                    trial.process->state() != QProcess::NotRunning) {
                    if (!trial.limit.hasExpired() && !deadline.hasExpired()) {
                        ++i;
                        continue;
                    }
                    trial.process->kill();
                    trial.process->waitForFinished(WaitMs * 100);
                    // Not remembered: a machine that is very busy looks the same.
                    refused[trial.candidate.fileName] = tr("it did not come back when it was tried");
                } else if (*trial.notStarted || wasKilled(*trial.process)) {
                    // Not the file's fault, and not remembered: the machine has no process or no memory left.
                    refused[trial.candidate.fileName] = tr(
                        "it could not be tried, the machine is short of processes or memory; it is tried at the next "
                        "start");
                } else {
                    const QString reason = verdictOn(*trial.process);
                    known[trial.candidate.fileName] =
                        QJsonObject{{QStringLiteral("key"), trial.candidate.key}, {QStringLiteral("reason"), reason}};
                    if (!reason.isEmpty())
                        refused[trial.candidate.fileName] = reason;
                }
                running.erase(running.begin() + std::ptrdiff_t(i));
            }
        }
        for (; next < fresh.size(); ++next)
            refused[fresh[next].fileName] = tr("there was no time left to try it; it is tried at the next start");
        if (known != before)
            writeCache(remembered, known);
    }
    QCoreApplication::instance()->setProperty(tov::util::RefusedLibraries, refused);
}

StartMarker::StartMarker()
{
    const QString folder = privateCacheFolder();
    if (folder.isEmpty())
        return;
    const QString prefix = QStringLiteral("starting-");
    for (const QFileInfo& entry : QDir(folder).entryInfoList({prefix + QLatin1Char('*')}, QDir::Files)) {
        const int pid = entry.fileName().mid(prefix.size()).toInt();
        if (pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM))
            continue;
        m_Crashed = true;
        QFile::remove(entry.absoluteFilePath());
    }
    const QByteArray name =
        QFile::encodeName(folder + QLatin1Char('/') + prefix + QString::number(QCoreApplication::applicationPid()));
    QFile file(QFile::decodeName(name));
    if (name.size() < int(sizeof markerName) && file.open(QIODevice::WriteOnly))
        std::memcpy(markerName, name.constData(), std::size_t(name.size()) + 1);
}

StartMarker::~StartMarker()
{
    done();
}

void StartMarker::done()
{
    forgive();
}

void StartMarker::forgive() noexcept
{
    // The name stays as it is: a handler may come at any time, and removing twice does no harm.
    if (markerName[0] != '\0')
        ::unlink(markerName);
}

} // namespace tov::app
