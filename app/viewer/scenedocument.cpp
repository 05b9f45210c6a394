#include "app/viewer/scenedocument.h"

#include "app/viewer/clipcontrols.h"
#include "app/viewer/editqueue.h"
#include "app/viewer/lookpanel.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/partedits.h"
#include "app/viewer/scenemodels.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/viewbookmarks.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/main/settings.h"
#include "kernel/workers/overseer.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/import/environmentfile.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMainWindow>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QUndoStack>

#include <algorithm>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::main::Overseer;
using tov::scene::SceneDrawer;
using tov::scene::SceneLook;
using tov::scene::Viewer;
using tov::trajectory::Selection;
using tov::trajectory::TrajectoryHandler;

namespace {

/// Changes that follow each other closely are compared with the file once.
constexpr int ComparisonMs = 300;
const QString FolderKey = QStringLiteral("window/lastscenedirectory");

void fireAdded()
{
    auto* events = tov::events::EventHandler::getInstance();
    tov::main::EventManager::getInstance()->fireEvent(
        tov::main::Event(events->addEvent("Scene", "SCENE_ELEMENT_ADDED")));
}

} // namespace

SceneDocument::SceneDocument(const Parts& parts, QObject* parent) : QObject(parent), m_Parts(parts)
{
    m_Comparison.setSingleShot(true);
    m_Comparison.setInterval(ComparisonMs);
    connect(&m_Comparison, &QTimer::timeout, this, &SceneDocument::compare);
    createActions();
    watch();
}

void SceneDocument::createActions()
{
    mp_Save = new QAction(tr("&Save scene"), this);
    mp_Save->setObjectName(QStringLiteral("SaveSceneAction"));
    mp_Save->setShortcut(QKeySequence::Save);
    connect(mp_Save, &QAction::triggered, this, &SceneDocument::save);
    mp_SaveAs = new QAction(tr("Save scene &as ..."), this);
    mp_SaveAs->setObjectName(QStringLiteral("SaveSceneAsAction"));
    mp_SaveAs->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    connect(mp_SaveAs, &QAction::triggered, this, &SceneDocument::saveAs);
}

void SceneDocument::watch()
{
    const auto watchViews = [this] {
        for (ScenePanel* view : m_Parts.grid->getPanels())
            connect(view, &ScenePanel::viewChanged, this, &SceneDocument::touch, Qt::UniqueConnection);
        touch();
    };
    connect(m_Parts.grid, &PanelGrid::panelCountChanged, this, watchViews);
    watchViews();
    connect(m_Parts.partEdits, &PartEdits::changed, this, &SceneDocument::touch);
    connect(m_Parts.look, &LookPanel::changed, this, &SceneDocument::touch);
    if (auto* clip = m_Parts.window->findChild<ClipControls*>())
        connect(clip, &ClipControls::changed, this, &SceneDocument::touch);
    connect(m_Parts.bookmarks, &ViewBookmarks::changed, this, &SceneDocument::touch);
    connect(m_Parts.opener, &FileOpener::finished, this, &SceneDocument::touch);
    auto* trajectory = TrajectoryHandler::getInstance();
    connect(trajectory, &TrajectoryHandler::trajectoryChanged, this, &SceneDocument::touch);
    connect(trajectory, &TrajectoryHandler::positionChanged, this, &SceneDocument::touch);
}

void SceneDocument::touch()
{
    // Not restarted: a view that turns all the time is compared, too.
    if (!m_Comparison.isActive())
        m_Comparison.start();
}

tov::app::SceneFile SceneDocument::collect() const
{
    SceneFile scene;
    m_Parts.models->update();
    scene.models = m_Parts.models->collect();
    scene.look = SceneDrawer::getLook();
    const auto shown = Viewer::getInstance()->getGlobalScene();
    scene.background = m_Background;
    const QColor color = SceneDrawer(shown).getBackgroundColor();
    if (m_Background.kind == tov::app::Background::Kind::Default || color != m_Background.top)
        scene.background = {tov::app::Background::Kind::Plain, color, color};
    scene.extent = shown->getExtent();
    for (ScenePanel* view : m_Parts.grid->getPanels()) {
        if (view == m_Parts.grid->getActivePanel())
            scene.activeView = scene.views.size();
        scene.views.push_back({view->getCamera(), view->followsTrajectory()});
    }
    scene.bookmarks = m_Parts.bookmarks->getBookmarks();
    const auto* trajectory = TrajectoryHandler::getInstance();
    scene.motion = {trajectory->getSelection(), trajectory->getPosition()};
    return scene;
}

QByteArray SceneDocument::fingerprint() const
{
    SceneFile scene = collect();
    scene.motion.position = 0;
    scene.extent.reset();
    if (scene.motion.selection.kind != Selection::Kind::None)
        for (auto& view : scene.views)
            if (view.isFollowing)
                view.camera = tov::scene::Camera();
    return scene.toJson(QStringLiteral("/"));
}

void SceneDocument::compare()
{
    const bool isModified = !m_FileName.isEmpty() && fingerprint() != m_Saved;
    if (isModified != m_IsModified) {
        m_IsModified = isModified;
        emit titleChanged();
    }
    emit changed();
}

void SceneDocument::setFile(const QString& fileName, bool isModified)
{
    m_FileName = fileName;
    m_Saved = isModified ? QByteArray() : fingerprint();
    m_IsModified = isModified && !fileName.isEmpty();
    emit titleChanged();
    emit changed();
}

bool SceneDocument::mayDiscard()
{
    compare();
    if (m_FileName.isEmpty() || !m_IsModified)
        return true;
    QMessageBox question(QMessageBox::Question, tr("Save the scene?"),
                         tr("%1 was changed. Save the changes?").arg(QFileInfo(m_FileName).fileName()),
                         QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, m_Parts.window);
    question.setObjectName(QStringLiteral("SaveQuestion"));
    question.setDefaultButton(QMessageBox::Save);
    const int answer = question.exec();
    return answer == QMessageBox::Discard || (answer == QMessageBox::Save && save());
}

bool SceneDocument::save()
{
    return m_FileName.isEmpty() ? saveAs() : saveTo(m_FileName);
}

bool SceneDocument::saveAs()
{
    QString proposal = m_FileName;
    if (proposal.isEmpty()) {
        m_Parts.models->update();
        const auto models = m_Parts.models->getModels();
        const QString name = models.empty() ? tr("scene") : QFileInfo(models.front().file).completeBaseName();
        const QString folder =
            models.empty() ? tovSettings().value(FolderKey).toString() : QFileInfo(models.front().file).absolutePath();
        proposal = QDir(folder).filePath(name + QLatin1Char('.') + SceneFile::Suffix);
    }
    QFileDialog dialog(m_Parts.window, tr("Save scene"), QFileInfo(proposal).absolutePath(),
                       tr("Scenes (*.%1)").arg(SceneFile::Suffix));
    dialog.setObjectName(QStringLiteral("SaveSceneDialog"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(SceneFile::Suffix);
    dialog.selectFile(QFileInfo(proposal).fileName());
    while (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
        const QString name = dialog.selectedFiles().first();
        if (SceneFile::isSceneFile(name))
            return saveTo(name);
        // Only files with the suffix are opened as scenes. The dialog adds it to names without any.
        const QString complete = name + QLatin1Char('.') + SceneFile::Suffix;
        if (!QFileInfo::exists(complete))
            return saveTo(complete);
        dialog.selectFile(complete);
    }
    return false;
}

bool SceneDocument::saveTo(const QString& fileName)
{
    QString error;
    if (!collect().save(fileName, &error)) {
        emit failed(error);
        return false;
    }
    tovSettings().setValue(FolderKey, QFileInfo(fileName).absolutePath());
    setFile(QFileInfo(fileName).absoluteFilePath(), false);
    emit saved(m_FileName);
    return true;
}

void SceneDocument::open(const QString& fileName)
{
    if (mayDiscard())
        read(fileName, false);
}

bool SceneDocument::restore(const QString& copy)
{
    return mayDiscard() && read(copy, true);
}

/// False, with a message, while pictures or videos show the scene.
bool SceneDocument::mayReplace()
{
    if (Overseer::getInstance()->getCommandProcessor()->getRuns().empty())
        return true;
    emit failed(tr("A scene cannot be opened while pictures or videos are being made. Stop them first."));
    return false;
}

bool SceneDocument::read(const QString& fileName, bool isCopy)
{
    if (!mayReplace())
        return false;
    QString error;
    const auto scene = SceneFile::load(fileName, &error);
    if (!scene) {
        emit failed(error);
        return false;
    }
    const auto done = [this, scene, fileName, isCopy](std::vector<FileOpener::Result> results) {
        take(*scene, fileName, isCopy, std::move(results));
    };
    if (m_Parts.opener->read(scene->models, tr("Opening %1").arg(QFileInfo(fileName).fileName()), done))
        return true;
    emit failed(tr("Another file is still being opened. Try again when it is done."));
    return false;
}

void SceneDocument::take(const SceneFile& scene, const QString& fileName, bool isCopy,
                         std::vector<FileOpener::Result> results)
{
    // A recording may have been started while the models were read.
    if (!mayReplace())
        return;
    auto loaded = std::make_shared<std::vector<SceneModels::Loaded>>();
    std::vector<SceneFile::Model> missing;
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i].tree) {
            loaded->push_back({scene.models[i], std::move(results[i].tree)});
            continue;
        }
        missing.push_back(scene.models[i]);
        emit failed(results[i].error);
    }
    // Without a single model there is nothing to show in place of the current scene.
    if (loaded->empty() && !missing.empty())
        return;
    m_IsShowing = true;
    TrajectoryHandler::getInstance()->selectMode(TrajectoryHandler::ModeNone);
    m_Parts.edits->submit([this, scene, fileName, isCopy, loaded, missing] {
        const auto shown = Viewer::getInstance()->getGlobalScene();
        if (!shown->getRootNode())
            shown->adoptRootNode(new tov::scene::SceneElement(QStringLiteral("Scene")));
        m_Parts.models->show(std::move(*loaded), missing);
        shown->updateGlobalScaling();
        // The rest takes the scene lock, which is held here.
        QMetaObject::invokeMethod(
            this, [this, scene, fileName, isCopy] { showRest(scene, fileName, isCopy); }, Qt::QueuedConnection);
    });
}

void SceneDocument::showRest(const SceneFile& scene, const QString& fileName, bool isCopy)
{
    m_Parts.partEdits->getUndoStack()->clear();
    m_Parts.tree->rebuild();
    fireAdded();
    showLook(scene);
    showViews(scene);
    m_Parts.bookmarks->setBookmarks(scene.bookmarks);
    showMotion(scene);
    Viewer::getInstance()->redraw();
    setFile(isCopy ? scene.origin : QFileInfo(fileName).absoluteFilePath(), isCopy);
    m_IsShowing = false;
    emit opened(m_FileName);
}

void SceneDocument::showLook(const SceneFile& scene)
{
    SceneLook look = scene.look;
    if (look.light == SceneLook::Light::Environment) {
        QString error;
        look.environment = tov::scene::readEnvironment(look.environmentFile, &error);
        if (!look.environment)
            emit failed(error);
    }
    SceneDrawer::setLook(look);
    m_Background = scene.background;
    if (m_Background.top.isValid())
        SceneDrawer::setBackgroundColor(m_Background.top);
    m_Parts.look->refresh();
    if (auto* clip = m_Parts.window->findChild<ClipControls*>())
        clip->refresh();
}

void SceneDocument::showViews(const SceneFile& scene)
{
    if (scene.views.empty())
        return;
    const int count = int(scene.views.size());
    m_Parts.grid->setPanelCount(count > 2 ? 4 : count);
    while (m_Parts.grid->getPanelCount() > count)
        m_Parts.grid->closePanel(m_Parts.grid->getPanels().back());
    m_Parts.grid->setActivePanel(m_Parts.grid->getPanels()[scene.activeView]);
}

/// The cameras come last, because a motion moves the views that follow it.
void SceneDocument::showMotion(const SceneFile& scene)
{
    const auto& views = m_Parts.grid->getPanels();
    const std::size_t count = std::min(views.size(), scene.views.size());
    for (std::size_t i = 0; i < count; ++i)
        views[i]->setFollowsTrajectory(scene.views[i].isFollowing);
    // New views were fitted, which has changed the extent.
    if (scene.extent) {
        const auto shown = Viewer::getInstance()->getGlobalScene();
        shown->lock();
        shown->setExtent(*scene.extent);
        shown->unlock();
    }
    auto* trajectory = TrajectoryHandler::getInstance();
    QString error;
    if (!scene.motion.isNone() && !trajectory->select(scene.motion.selection, &error))
        emit failed(error);
    else if (trajectory->getCount() > 0)
        trajectory->setPosition(std::min<unsigned long>(scene.motion.position, trajectory->getCount() - 1));
    for (std::size_t i = 0; i < count; ++i) {
        // A turntable would take this for a movement by the user, and start from here.
        const QSignalBlocker blocker(views[i]);
        views[i]->setCamera(scene.views[i].camera);
    }
}

} // namespace tov::viewer
