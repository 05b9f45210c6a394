#include "app/viewer/modelreload.h"

#include "app/viewer/editqueue.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"
#include "trajectory/selection.h"
#include "trajectory/trajectoryhandler.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <memory>

namespace tov::viewer {

using tov::main::CommandProcessor;
using tov::main::Overseer;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;
using tov::util::FileStamp;

namespace {

constexpr int PauseMs = 500;

CommandProcessor* processor()
{
    return Overseer::getInstance()->getCommandProcessor();
}

} // namespace

ModelReload::ModelReload(FileOpener* opener, SceneModels* models, EditQueue* edits, QObject* parent)
    : QObject(parent), mp_Opener(opener), mp_Models(models), mp_Edits(edits),
      mp_Action(new QAction(tr("&Reload"), this))
{
    mp_Action->setObjectName(QStringLiteral("ReloadAction"));
    mp_Action->setShortcut(QKeySequence(Qt::Key_F5));
    connect(mp_Action, &QAction::triggered, this, &ModelReload::reloadAll);
    m_Pause.setSingleShot(true);
    m_Pause.setInterval(PauseMs);
    connect(&m_Pause, &QTimer::timeout, this, &ModelReload::check);
    // A file that is replaced by another is no longer watched, but its folder is.
    for (auto signal : {&QFileSystemWatcher::fileChanged, &QFileSystemWatcher::directoryChanged})
        connect(&m_Watcher, signal, this, [this] { m_Pause.start(); });
    connect(processor(), &CommandProcessor::runFinished, this, &ModelReload::begin, Qt::QueuedConnection);
    connect(opener, &FileOpener::finished, this, &ModelReload::begin, Qt::QueuedConnection);
}

/// Material files, buffers and the like usually have the name of the model.
QMap<QString, FileStamp> ModelReload::stampsOf(const QString& fileName)
{
    QMap<QString, FileStamp> stamps;
    const QFileInfo info(fileName);
    QStringList names{fileName};
    for (const char* suffix : {"mtl", "bin"})
        names << info.dir().filePath(info.completeBaseName() + QLatin1Char('.') + QLatin1String(suffix));
    for (const QString& name : names)
        stamps[name] = FileStamp(name);
    return stamps;
}

void ModelReload::watch()
{
    mp_Models->update();
    QMap<QString, Watched> files;
    QStringList paths;
    for (const auto& model : mp_Models->getModels()) {
        if (model.file.isEmpty())
            continue;
        const auto known = m_Files.constFind(model.file);
        const auto stamps = stampsOf(model.file);
        files[model.file] = known == m_Files.constEnd() ? Watched{stamps, stamps} : *known;
        paths << stamps.keys() << QFileInfo(model.file).absolutePath();
    }
    m_Files = files;
    const QStringList watched = m_Watcher.files() + m_Watcher.directories();
    if (!watched.isEmpty())
        m_Watcher.removePaths(watched);
    paths.removeDuplicates();
    paths.erase(
        std::remove_if(paths.begin(), paths.end(), [](const QString& path) { return !QFileInfo::exists(path); }),
        paths.end());
    if (!paths.isEmpty())
        m_Watcher.addPaths(paths);
    mp_Action->setEnabled(!m_Files.isEmpty());
}

void ModelReload::check()
{
    bool isMoving = false;
    for (auto file = m_Files.begin(); file != m_Files.end(); ++file) {
        const auto now = stampsOf(file.key());
        const bool isStill = now == file->seen;
        file->seen = now;
        if (now == file->read || !now[file.key()].exists())
            continue;
        // A file that is being written is read when it stays as it is.
        if (!isStill)
            isMoving = true;
        else if (!m_Changed.contains(file.key()))
            m_Changed << file.key();
    }
    if (isMoving)
        m_Pause.start();
    begin();
}

void ModelReload::reloadAll()
{
    watch();
    m_Changed = m_Files.keys();
    begin();
}

bool ModelReload::isBusy() const
{
    return mp_Opener->isOpening() || !processor()->getRuns().empty();
}

void ModelReload::begin()
{
    if (m_Changed.isEmpty())
        return;
    if (isBusy()) {
        emit postponed();
        return;
    }
    mp_Models->update();
    std::vector<SceneModels::Model> models;
    std::vector<tov::app::SceneFile::Model> sources;
    for (const auto& model : mp_Models->getModels())
        if (m_Changed.contains(model.file)) {
            models.push_back(model);
            sources.push_back({model.file, model.up, {}});
            // Taken before the file is read: a later change is noticed.
            const auto stamps = stampsOf(model.file);
            m_Files[model.file] = {stamps, stamps};
        }
    m_Changed.clear();
    if (models.empty())
        return;
    const QString text = models.size() == 1 ? tr("Reloading %1").arg(QFileInfo(models.front().file).fileName())
                                            : tr("Reloading %n models", nullptr, int(models.size()));
    mp_Opener->read(sources, text,
                    [this, models](std::vector<FileOpener::Result> results) { replace(models, std::move(results)); });
}

void ModelReload::replace(const std::vector<SceneModels::Model>& models, std::vector<FileOpener::Result> results)
{
    // Started while the files were read: they are read again afterwards.
    if (!processor()->getRuns().empty()) {
        for (const auto& model : models)
            m_Changed << model.file;
        m_Changed.removeDuplicates();
        return;
    }
    auto trees = std::make_shared<std::vector<std::pair<quint64, std::unique_ptr<tov::scene::SceneElement>>>>();
    QStringList names;
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i].tree) {
            names << models[i].file;
            trees->emplace_back(models[i].number, std::move(results[i].tree));
        } else {
            emit failed(tr("%1; the model stays as it was").arg(results[i].error));
        }
    }
    if (trees->empty()) {
        watch();
        return;
    }
    mp_Edits->submit([this, trees, names] {
        for (auto& [number, tree] : *trees)
            mp_Models->replace(number, std::move(tree));
        Viewer::getInstance()->getGlobalScene()->updateGlobalScaling();
        // The rest takes the scene lock, which is held here.
        QMetaObject::invokeMethod(
            this,
            [this, names] {
                auto* events = tov::events::EventHandler::getInstance();
                tov::main::EventManager::getInstance()->fireEvent(
                    tov::main::Event(events->addEvent("Scene", "SCENE_ELEMENT_ADDED")));
                showMotion();
                watch();
                emit reloaded(names);
            },
            Qt::QueuedConnection);
    });
}

/// An animation refers to the elements of the old model.
void ModelReload::showMotion()
{
    auto* trajectory = TrajectoryHandler::getInstance();
    const auto selection = trajectory->getSelection();
    const unsigned long position = trajectory->getPosition();
    if (!selection.animation)
        return;
    QString error;
    if (!trajectory->select(selection, &error))
        emit failed(error);
    else if (position < trajectory->getCount())
        trajectory->setPosition(position);
}

} // namespace tov::viewer
