#include "app/viewer/fileopener.h"

#include "app/viewer/runsbar.h"
#include "kernel/main/settings.h"
#include "kernel/workers/overseer.h"
#include "scene/import/sceneimport.h"
#include "scene/sceneelement.h"

#include <QFileDialog>
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
    std::function<void(Job&, const Progress&)> work; ///< called on the reading thread
    std::vector<tov::app::SceneFile::Model> sources; ///< of `readModels`
    std::vector<Result> results;
    std::function<void(std::vector<Result>)> take; ///< gets the results; empty for files that are added
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

QStringList FileOpener::chooseFiles(QWidget* parent)
{
    QStringList patterns{QStringLiteral("*.") + tov::app::SceneFile::Suffix};
    for (const QString& suffix : SceneImport::getSuffixes())
        patterns << QStringLiteral("*.") + suffix;
    const QString key = QStringLiteral("window/lastmodeldirectory");
    const QStringList names = QFileDialog::getOpenFileNames(
        parent, tr("Open"), tovSettings().value(key).toString(),
        tr("Models and scenes (%1);;Trajectories (*.csv *.tum *.txt *.json);;All files (*)")
            .arg(patterns.join(QLatin1Char(' '))));
    if (!names.isEmpty())
        tovSettings().setValue(key, QFileInfo(names.first()).absolutePath());
    return names;
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
    job->text = job->models.size() == 1 ? tr("Opening %1").arg(QFileInfo(job->models.first()).fileName())
                                        : tr("Opening %n files", nullptr, job->models.size());
    job->work = &FileOpener::addModels;
    start(job);
}

bool FileOpener::read(const std::vector<tov::app::SceneFile::Model>& models, const QString& text,
                      std::function<void(std::vector<Result>)> done)
{
    if (mp_Thread)
        return false;
    auto job = std::make_shared<Job>();
    job->sources = models;
    job->text = text;
    job->work = &FileOpener::readModels;
    job->take = std::move(done);
    start(job);
    return true;
}

void FileOpener::addModels(Job& job, const Progress& progress)
{
    job.done = SceneImport::addFiles(job.models, &job.error, progress);
}

void FileOpener::readModels(Job& job, const Progress& progress)
{
    const int count = int(job.sources.size());
    for (int i = 0; i < count && !job.cancelled; ++i) {
        SceneImport::Options options;
        options.modelUp = job.sources[i].up;
        Result result;
        result.tree.reset(SceneImport::readFile(job.sources[i].file, options, &result.error,
                                                [&](int percent) { return progress((100 * i + percent) / count); }));
        job.results.push_back(std::move(result));
    }
    job.done = !job.cancelled;
}

void FileOpener::start(const std::shared_ptr<Job>& job)
{
    mp_Job = job;
    job->task = mp_Runs->addTask(job->text, [job] { job->cancelled = true; });
    mp_Thread = QThread::create([this, job] {
        job->work(*job, [this, job](int percent) {
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
        job->error = tr("%1: failed, the system has no free thread").arg(job->text);
        end(job);
    }
}

void FileOpener::end(const std::shared_ptr<Job>& job)
{
    mp_Runs->removeTask(job->task);
    mp_Thread->deleteLater();
    mp_Thread = nullptr;
    mp_Job.reset();
    if (job->done && job->take) {
        job->take(std::move(job->results));
    } else if (job->done) {
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
