#include "app/viewer/saferuns.h"

#include "app/common/checks.h"
#include "app/common/outputcheck.h"
#include "kernel/workers/overseer.h"

#include <QFileInfo>
#include <QThread>

namespace tov::viewer {

using tov::app::RunOutcome;
using tov::app::RunWatcher;
using tov::app::SafeOutput;
using tov::main::CommandRun;
using tov::main::CommandRunPointer;

namespace {

const QString FileNameParameter = QStringLiteral("filename");

} // namespace

SafeRuns::SafeRuns(const RunWatcher* watcher, QObject* parent) : QObject(parent)
{
    connect(watcher, &RunWatcher::ended, this, &SafeRuns::finish);
}

SafeRuns::~SafeRuns()
{
    for (auto* thread : findChildren<QThread*>())
        thread->wait();
}

CommandRunPointer SafeRuns::start(const QString& command, tov::main::CommandArguments arguments, const Target& target,
                                  QString* error)
{
    if (!tov::app::checkOutput(target.fileName, error))
        return nullptr;
    if (tov::app::isNamedPipe(target.fileName)) {
        *error = tr("%1 is not a regular file").arg(target.fileName);
        return nullptr;
    }
    auto file = std::make_unique<File>(target);
    if (!file->output.prepare(error))
        return nullptr;
    arguments.named.emplace_back(FileNameParameter, file->output.getTemporaryName());
    auto run = tov::main::Overseer::getInstance()->getCommandProcessor()->start(command, arguments, error);
    if (run)
        m_Files.emplace(run->getId(), std::move(file));
    else
        file->output.discard();
    return run;
}

QString SafeRuns::fileNameOf(const CommandRun& run) const
{
    const auto named = m_Names.find(run.getId());
    if (named != m_Names.end())
        return named->second;
    const auto found = m_Files.find(run.getId());
    return found == m_Files.end() ? run.getArgument(FileNameParameter) : found->second->target.fileName;
}

QStringList SafeRuns::getFileNames() const
{
    QStringList names;
    for (const auto& [id, file] : m_Files)
        names << file->target.fileName;
    return names;
}

/// Turns the outcome into a failure when what was recorded must not replace an older file.
void SafeRuns::checkCompleteness(const CommandRun& run, const File& file, RunOutcome& outcome)
{
    const Target& target = file.target;
    if (outcome.isDone() && target.frames >= 0 && outcome.frames >= 0 && outcome.frames != target.frames) {
        outcome.status = RunOutcome::Status::Failed;
        outcome.reason =
            tr("it has %1 frames instead of %2").arg(QString::number(outcome.frames), QString::number(target.frames));
    } else if (outcome.status == RunOutcome::Status::Stopped && !RunWatcher::isFreeRecording(run) &&
               QFileInfo::exists(target.fileName)) {
        outcome.status = RunOutcome::Status::Failed;
        outcome.reason = tr("it was stopped, and the older file is unchanged");
    }
}

void SafeRuns::finish(const CommandRunPointer& run, RunOutcome outcome)
{
    const auto found = m_Files.find(run->getId());
    if (found == m_Files.end()) {
        emit ended(run, outcome);
        m_Names.erase(run->getId());
        return;
    }
    File& file = *found->second;
    checkCompleteness(*run, file, outcome);
    outcome.reason.replace(file.output.getTemporaryName(), file.target.fileName);
    if (outcome.status != RunOutcome::Status::Failed && !outcome.files.isEmpty()) {
        deliver(run, outcome);
        return;
    }
    if (outcome.files.isEmpty())
        file.output.discard();
    report(run, outcome);
}

void SafeRuns::deliver(const CommandRunPointer& run, const RunOutcome& outcome)
{
    // Flushing a large file to a slow disk takes seconds, so another thread does it.
    File* file = m_Files.at(run->getId()).get();
    auto error = std::make_shared<QString>();
    auto* thread = QThread::create([file, error] { file->output.commit(error.get()); });
    thread->setParent(this);
    connect(thread, &QThread::finished, this, [this, thread, run, outcome, file, error] {
        thread->deleteLater();
        RunOutcome delivered = outcome;
        if (error->isEmpty()) {
            delivered.files = QStringList(file->target.fileName);
        } else {
            delivered.status = RunOutcome::Status::Failed;
            delivered.reason = *error;
            delivered.files.clear();
        }
        report(run, delivered);
    });
    thread->start();
}

void SafeRuns::report(const CommandRunPointer& run, const RunOutcome& outcome)
{
    // Observers of the signal still learn the name of the file.
    emit ended(run, outcome);
    m_Files.erase(run->getId());
    if (!isBusy())
        emit idle();
}

} // namespace tov::viewer
