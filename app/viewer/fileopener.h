#pragma once

#include "app/common/scenefile.h"

#include <QObject>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class QThread;
class QWidget;

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

class RunsBar;

/// Opens models and trajectories: models are read on a thread of their own with a row in the runs bar, and trajectories
/// are opened once the models are there, because a trajectory moves their elements. Thread: application.
class FileOpener : public QObject
{
    Q_OBJECT
public:
    /// `runs` shows the progress and must outlive the opener.
    explicit FileOpener(RunsBar* runs, QObject* parent = nullptr);
    /// Cancels what is being read and waits for its thread.
    ~FileOpener() override;

    /// Begins to open files. Emits `failed` when another opening is under way.
    void open(const QStringList& fileNames);
    /// The result of reading a model: its tree, or one line that says why there is none.
    struct Result
    {
        std::unique_ptr<tov::scene::SceneElement> tree;
        QString error;
    };
    /// Begins to read models without adding them to the scene; `text` is shown meanwhile. Afterwards calls `done` with
    /// a result for each model, unless the user stops it. False when another opening is under way.
    bool read(const std::vector<tov::app::SceneFile::Model>& models, const QString& text,
              std::function<void(std::vector<Result>)> done);
    bool isOpening() const { return mp_Thread != nullptr; }
    /// Stops the opening under way; the scene stays as it was.
    void cancel();

    /// Asks the user for files to open, in the folder of the last ones; none when the user cancels.
    static QStringList chooseFiles(QWidget* parent);
    /// True for files that are opened as trajectories, judged by their suffix.
    static bool isTrajectory(const QString& fileName);

signals:
    /// The models are in the scene.
    void modelsOpened(const QStringList& fileNames);
    /// Open this trajectory now.
    void trajectoryRequested(const QString& fileName);
    /// One line for the user.
    void failed(const QString& message);
    /// The user stopped the opening.
    void stopped();
    /// The opening has ended, whatever its result.
    void finished();

private:
    struct Job;
    typedef std::function<bool(int percent)> Progress;
    static void addModels(Job& job, const Progress& progress);
    static void readModels(Job& job, const Progress& progress);
    void start(const std::shared_ptr<Job>& job);
    void end(const std::shared_ptr<Job>& job);

    RunsBar* mp_Runs;             ///< not owned
    QThread* mp_Thread = nullptr; ///< owned while files are read
    std::shared_ptr<Job> mp_Job;  ///< the opening under way
};

} // namespace tov::viewer
