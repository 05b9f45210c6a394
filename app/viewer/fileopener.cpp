#include "app/viewer/fileopener.h"

#include "app/viewer/runsbar.h"
#include "kernel/workers/overseer.h"
#include "scene/import/sceneimport.h"

#include <QFileInfo>
#include <QThread>

namespace tov::viewer {

using tov::main::Overseer;
using tov::scene::SceneImport;

/// State that the reading thread and the window share. The window reads `error` and `done` after the thread has ended.
struct FileOpener::Job
{
    QStringList models;
    QStringList trajectories;
    QString text;
    quint64 task = 0;
    std::atomic<bool> cancelled{false};
    std::atomic<int> shownPercent{-1};
    QString error;
    bool done = false;
};

FileOpener::FileOpener(RunsBar* runs, QObject* parent) : QObject(parent), mp_Runs(runs) {}

FileOpener::~FileOpener()
{
    if (!mp_Thread)
        return;
    cancel();
    Overseer::getInstance()->processWorkersUntil([this] { return mp_Thread->isFinished(); });
    delete mp_Thread;
}

bool FileOpener::isTrajectory(const QString& fileName)
{
    static const QStringList suffixes = {QStringLiteral("csv"), QStringLiteral("tum"), QStringLiteral("txt"),
                                         QStringLiteral("json")};
    return suffixes.contains(QFileInfo(fileName).suffix().toLower());
}

void FileOpener::open(const QStringList& fileNames)
{
    auto job = std::make_shared<Job>();
    for (const QString& name : fileNames)
        (isTrajectory(name) ? job->trajectories : job->models) << name;
    if (job->models.isEmpty()) {
        for (const QString& name : job->trajectories)
            emit trajectoryRequested(name);
        return;
    }
    if (mp_Thread) {
        emit failed(tr("Another file is still being opened. Try again when it is done."));
        return;
    }
    start(job);
}

void FileOpener::start(const std::shared_ptr<Job>& job)
{
    mp_Job = job;
    job->text = job->models.size() == 1 ? tr("Opening %1").arg(QFileInfo(job->models.first()).fileName())
                                        : tr("Opening %n files", nullptr, job->models.size());
    job->task = mp_Runs->addTask(job->text, [job] { job->cancelled = true; });
    mp_Thread = QThread::create([this, job] {
        job->done = SceneImport::addFiles(job->models, &job->error, [this, job](int percent) {
            if (job->shownPercent.exchange(percent) != percent)
                QMetaObject::invokeMethod(
                    this, [this, job, percent] { mp_Runs->updateTask(job->task, job->text, percent); },
                    Qt::QueuedConnection);
            return !job->cancelled;
        });
    });
    connect(mp_Thread, &QThread::finished, this, [this, job] { end(job); });
    mp_Thread->start();
    if (!mp_Thread->isRunning() && !mp_Thread->isFinished()) {
        job->error = tr("%1: cannot be read, the system has no free thread").arg(job->models.first());
        end(job);
    }
}

void FileOpener::end(const std::shared_ptr<Job>& job)
{
    mp_Runs->removeTask(job->task);
    mp_Thread->deleteLater();
    mp_Thread = nullptr;
    mp_Job.reset();
    if (job->done) {
        emit modelsOpened(job->models);
        for (const QString& name : job->trajectories)
            emit trajectoryRequested(name);
    } else if (job->cancelled) {
        emit stopped();
    } else {
        emit failed(job->error);
    }
    emit finished();
}

void FileOpener::cancel()
{
    if (mp_Job)
        mp_Job->cancelled = true;
}

} // namespace tov::viewer
