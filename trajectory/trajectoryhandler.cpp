#include "trajectory/trajectoryhandler.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/animationmotion.h"
#include "trajectory/camerapath.h"
#include "trajectory/selection.h"
#include "trajectory/trajectoryinfo.h"
#include "trajectory/trajectoryreader.h"
#include "trajectory/trajectorysignals.h"
#include "trajectory/turntable.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <functional>
#include <optional>

namespace tov::trajectory {

using tov::scene::Viewer;

namespace {

/// Larger files are not trajectories.
constexpr qint64 MaxFileSize = qint64(256) << 20;

/// The contents of a file: points, matrices or a camera path.
struct FileContent
{
    TimedPoints points;
    TimedMaps maps;
    bool isSampled = false; ///< at a frame rate, by the times of the file
    std::shared_ptr<const Motion> path;
};

QByteArray readAll(const QFileInfo& info, QString* reason)
{
    const auto tr = [](const char* text) { return TrajectoryHandler::tr(text); };
    QFile file(info.filePath());
    if (!info.exists())
        *reason = tr("there is no such file");
    else if (!info.isFile())
        *reason = tr("it is not a regular file");
    else if (!file.open(QIODevice::ReadOnly))
        *reason = file.errorString();
    else if (file.size() > MaxFileSize)
        *reason = tr("it is larger than 256 MiB");
    if (!reason->isEmpty())
        return QByteArray();
    QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        *reason = file.errorString();
    return data;
}

bool setEase(CameraPath& path, Ease ease, QString* reason)
{
    if (ease == Ease::None)
        return true;
    CameraPath::Options options = path.getOptions();
    options.ease = ease;
    return CameraPath::create(path.getKeys(), options, path, reason);
}

template <typename Values>
bool sample(Values& values, const PlaybackOptions& options, bool& isSampled, QString* reason)
{
    isSampled = !options.everyPosition && (!values.times.empty() || options.seconds > 0);
    return resample(values, options, reason);
}

/// Reads by suffix; false and the reason on failure.
bool readContent(const QString& suffix, const QByteArray& data, const PlaybackOptions& options, FileContent& content,
                 QString* reason)
{
    if (suffix == QLatin1String("csv"))
        return TrajectoryReader::readCsv(data, content.points, reason) &&
               sample(content.points, options, content.isSampled, reason);
    if (suffix == QLatin1String("json") && data.trimmed().startsWith('{')) {
        CameraPath path;
        if (CameraPath::fromJson(data, path, reason) && setEase(path, options.ease, reason))
            content.path = PathMotion::create(path, options.fps, options.seconds, reason);
        return content.path != nullptr;
    }
    const bool read = suffix == QLatin1String("json") ? TrajectoryReader::readJson(data, content.maps, reason)
                                                      : TrajectoryReader::readTum(data, content.maps, reason);
    return read && sample(content.maps, options, content.isSampled, reason);
}

} // namespace

struct TrajectoryHandler::Private
{
    std::atomic<int> mode{ModeNone};
    TrajectoryInfo plain;
    AdvancedTrajectoryInfo advanced;
    std::shared_ptr<const Motion> camera;       ///< the selected motion to which an animation can be added
    std::shared_ptr<const Motion> elements;     ///< the animation of the selection
    std::shared_ptr<const Turntable> turntable; ///< the one that is selected
    Selection source;                           ///< what the selection was made from
    std::optional<PlaybackOptions> playback;    ///< of the selection; none: it has no times
    /// Selects the same again with other options.
    SelectAgain selectAgain;
    std::vector<QMetaObject::Connection> following; ///< to the panel that the turntable started from
};

TrajectoryHandler* TrajectoryHandler::getInstance()
{
    static TrajectoryHandler* instance = [] {
        auto* handler = new TrajectoryHandler;
        // The signals belong to the application thread, whichever thread calls first.
        if (QCoreApplication::instance())
            handler->moveToThread(QCoreApplication::instance()->thread());
        return handler;
    }();
    return instance;
}

TrajectoryHandler::TrajectoryHandler() : d(new Private)
{
    tov::main::EventManager::getInstance()->registerEventFunction(
        tov::events::EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_ADDED"),
        [this](const tov::main::Event*) {
            QMetaObject::invokeMethod(
                this, [this] { showPosition(); }, Qt::QueuedConnection);
        },
        static_cast<const void*>(this));
}

TrajectoryHandler::~TrajectoryHandler()
{
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<const void*>(this));
}

void reportPosition(unsigned long position)
{
    TrajectoryHandler* handler = TrajectoryHandler::getInstance();
    QMetaObject::invokeMethod(
        handler, [handler, position] { emit handler->positionChanged(position); }, Qt::QueuedConnection);
}

int TrajectoryHandler::getSelectedMode() const
{
    return d->mode;
}

void TrajectoryHandler::selectMode(int mode)
{
    d->mode = mode == ModePlain || mode == ModeAdvanced ? mode : ModeNone;
    emit trajectoryChanged();
}

TrajectoryInfo* TrajectoryHandler::getTrajectoryInfo() const
{
    return &d->plain;
}

AdvancedTrajectoryInfo* TrajectoryHandler::getAdvancedTrajectoryInfo() const
{
    return &d->advanced;
}

unsigned long TrajectoryHandler::getCount() const
{
    switch (getSelectedMode()) {
    case ModePlain:
        return d->plain.getPoints().size();
    case ModeAdvanced:
        return d->advanced.getMatrixMapList() ? d->advanced.getMatrixMapList()->size() : 0;
    default:
        return 0;
    }
}

unsigned long TrajectoryHandler::getPosition() const
{
    switch (getSelectedMode()) {
    case ModePlain:
        return d->plain.getPosition();
    case ModeAdvanced:
        return d->advanced.getPosition();
    default:
        return 0;
    }
}

void TrajectoryHandler::setPosition(unsigned long position)
{
    switch (getSelectedMode()) {
    case ModePlain:
        d->plain.setPosition(position);
        break;
    case ModeAdvanced:
        d->advanced.setPosition(position);
        break;
    default:
        break;
    }
}

bool TrajectoryHandler::openFile(const QString& fileName, QString* error)
{
    PlaybackOptions options;
    options.everyPosition = true;
    return openFile(fileName, options, error);
}

bool TrajectoryHandler::openFile(const QString& fileName, const PlaybackOptions& options, QString* error)
{
    const auto fail = [&](const QString& reason) {
        if (error)
            *error = tr("%1 cannot be opened as a trajectory: %2").arg(fileName, reason);
        return false;
    };
    const QFileInfo info(fileName);
    const QString suffix = info.suffix().toLower();
    QString reason;
    const QByteArray data = readAll(info, &reason);
    if (!reason.isEmpty())
        return fail(reason);
    static const QStringList known{QStringLiteral("csv"), QStringLiteral("tum"), QStringLiteral("txt"),
                                   QStringLiteral("json")};
    if (!known.contains(suffix))
        return fail(tr("unknown type \"%1\"; known types: csv, tum, txt, json").arg(suffix));
    FileContent content;
    if (!readContent(suffix, data, options, content, &reason))
        return fail(reason);
    const auto openAgain = [this, fileName](const PlaybackOptions& changed, QString* problem) {
        return openFile(fileName, changed, problem);
    };
    Selection source;
    source.kind = Selection::Kind::File;
    source.file = info.absoluteFilePath();
    source.playback = options;
    if (content.path) {
        select(content.path);
        d->source = source;
        d->camera = content.path;
        setTimed(options, openAgain);
        return true;
    }
    select(nullptr);
    d->source = source;
    if (content.isSampled)
        setTimed(options, openAgain);
    if (suffix == QLatin1String("csv")) {
        d->plain.setPoints(std::move(content.points.values));
        d->mode = ModePlain;
    } else {
        d->advanced.setMatrixMapList(std::move(content.maps.values));
        d->mode = ModeAdvanced;
    }
    setPosition(0);
    emit trajectoryChanged();
    return true;
}

void TrajectoryHandler::setTimed(const PlaybackOptions& options, SelectAgain selectAgain)
{
    d->playback = options;
    d->selectAgain = std::move(selectAgain);
}

double TrajectoryHandler::getFrameRate() const
{
    return getSelectedMode() == ModeNone || !d->playback ? 0 : d->playback->fps;
}

bool TrajectoryHandler::setFrameRate(double fps, QString* error)
{
    if (!(getFrameRate() > 0) || fps == getFrameRate())
        return true;
    PlaybackOptions options = *d->playback;
    options.fps = fps;
    const auto selectAgain = d->selectAgain; // replaced by the call
    return selectAgain(options, error);
}

void TrajectoryHandler::select(std::shared_ptr<const Motion> motion)
{
    d->playback.reset();
    for (const auto& connection : d->following)
        disconnect(connection);
    d->following.clear();
    d->turntable.reset();
    d->camera.reset();
    d->elements.reset();
    d->source = Selection();
    if (!motion)
        return;
    d->advanced.setMotion(std::move(motion));
    d->mode = ModeAdvanced;
    setPosition(0);
    emit trajectoryChanged();
}

void TrajectoryHandler::showPosition()
{
    switch (getSelectedMode()) {
    case ModePlain:
        d->plain.showPosition();
        break;
    case ModeAdvanced:
        d->advanced.showPosition();
        break;
    default:
        break;
    }
}

bool TrajectoryHandler::selectTurntable(int count, QString* error)
{
    TurntableOptions options;
    options.frames = count < 1 ? 0 : static_cast<unsigned long>(count);
    // A user who has zoomed in wants to see only that part.
    const auto* panel = Viewer::getInstance()->getActivePanel();
    options.keepInView = panel && showsWholeScene(*panel, 0);
    return selectTurntable(options, error);
}

bool TrajectoryHandler::selectTurntable(const TurntableOptions& options, QString* error)
{
    auto* panel = Viewer::getInstance()->getActivePanel();
    if (!panel) {
        if (error)
            *error = tr("a turntable starts from a view: open one first");
        return false;
    }
    const auto turntable = turntableFrom(*panel, options, error);
    if (!turntable)
        return false;
    startTurntable(turntable, panel);
    return true;
}

void TrajectoryHandler::startTurntable(std::shared_ptr<const Turntable> turntable, tov::gui::ScenePanel* panel)
{
    select(turntable);
    d->source.kind = Selection::Kind::Turntable;
    d->turntable = turntable;
    d->camera = turntable;
    const auto follow = [this, panel](auto signal, bool keepsInView) {
        d->following.push_back(connect(
            panel, signal, this, [this, panel, keepsInView] { rebaseTurntable(*panel, keepsInView); },
            Qt::DirectConnection));
    };
    follow(&tov::gui::ScenePanel::viewChanged, false);
    // A view that is fitted again must not be cropped at other angles.
    follow(&tov::gui::ScenePanel::fitted, true);
}

void TrajectoryHandler::rebaseTurntable(const tov::gui::ScenePanel& panel, bool keepsInView)
{
    if (!panel.followsTrajectory() || !d->turntable || d->mode != ModeAdvanced)
        return;
    d->turntable = d->turntable->fromView(panel.getCamera(), d->advanced.getPosition());
    if (keepsInView)
        d->turntable = keptInView(*d->turntable, panel);
    d->camera = d->turntable;
    std::shared_ptr<const Motion> motion = d->turntable;
    if (d->elements)
        motion = std::make_shared<CombinedMotion>(motion, d->elements);
    d->advanced.changeMotion(motion);
    if (keepsInView)
        d->advanced.showPosition();
    emit trajectoryChanged();
}

void TrajectoryHandler::selectCameraMotion(std::shared_ptr<const Motion> motion)
{
    select(motion);
    d->source.kind = Selection::Kind::Other;
    d->camera = std::move(motion);
}

bool TrajectoryHandler::selectPath(const CameraPath& path, const PlaybackOptions& options, QString* error)
{
    const auto motion = PathMotion::create(path, options.fps, options.seconds, error);
    if (!motion)
        return false;
    select(motion);
    d->source.kind = Selection::Kind::Path;
    d->source.path = path;
    d->source.playback = options;
    d->camera = motion;
    setTimed(options, [this, path](const PlaybackOptions& changed, QString* problem) {
        return selectPath(path, changed, problem);
    });
    return true;
}

namespace {

/// Calls `take` for every animation in the scene until it returns true.
void forEachAnimation(tov::scene::SceneElement* root, const std::function<bool(const tov::scene::Animation&)>& take)
{
    std::vector<tov::scene::SceneElement*> pending;
    if (root)
        pending.push_back(root);
    while (!pending.empty()) {
        auto* element = pending.back();
        pending.pop_back();
        if (const auto& model = element->getModelData())
            for (const auto& animation : model->animations)
                if (take(animation))
                    return;
        pending.insert(pending.end(), element->getChildren().rbegin(), element->getChildren().rend());
    }
}

std::shared_ptr<const AnimationMotion> findAnimation(const QString& name, const PlaybackOptions& options,
                                                     QString* error)
{
    const auto scene = Viewer::getInstance()->getGlobalScene();
    std::shared_ptr<const AnimationMotion> motion;
    bool found = false;
    scene->lock();
    forEachAnimation(scene->getRootNode(), [&](const tov::scene::Animation& animation) {
        found = name.isEmpty() || animation.name.compare(name, Qt::CaseInsensitive) == 0;
        if (found)
            motion = AnimationMotion::create(animation, options, error);
        return found;
    });
    scene->unlock();
    if (!found && error) {
        const QStringList names = TrajectoryHandler::getInstance()->getAnimationNames();
        *error = names.isEmpty() ? TrajectoryHandler::tr("the scene has no animations")
                                 : TrajectoryHandler::tr("no animation \"%1\"; known: %2")
                                       .arg(name.simplified(), names.join(QStringLiteral(", ")));
    }
    return motion;
}

} // namespace

QStringList TrajectoryHandler::getAnimationNames() const
{
    QStringList names;
    const auto scene = Viewer::getInstance()->getGlobalScene();
    scene->lock();
    forEachAnimation(scene->getRootNode(), [&names](const tov::scene::Animation& animation) {
        names << animation.name.simplified();
        return false;
    });
    scene->unlock();
    return names;
}

bool TrajectoryHandler::selectAnimation(const QString& name, const PlaybackOptions& options, QString* error)
{
    const auto motion = findAnimation(name, options, error);
    if (!motion)
        return false;
    select(motion);
    d->source.animation = name;
    d->source.playback = options;
    d->elements = motion;
    setTimed(options, [this, name](const PlaybackOptions& changed, QString* problem) {
        return selectAnimation(name, changed, problem);
    });
    return true;
}

bool TrajectoryHandler::addAnimation(const QString& name, const PlaybackOptions& options, QString* error)
{
    if (d->mode != ModeAdvanced || !d->camera)
        return selectAnimation(name, options, error);
    const auto motion = findAnimation(name, options, error);
    if (!motion)
        return false;
    d->elements = motion;
    d->playback.reset();
    d->source.animation = name;
    d->source.animationPlayback = options;
    d->advanced.setMotion(std::make_shared<CombinedMotion>(d->camera, motion));
    setPosition(0);
    emit trajectoryChanged();
    return true;
}

Selection TrajectoryHandler::getSelection() const
{
    if (getSelectedMode() == ModeNone)
        return Selection();
    Selection selection = d->source;
    if (d->turntable) {
        selection.turntable = d->turntable->getOptions();
        selection.start = d->turntable->getStart();
        selection.center = d->turntable->getCenter();
    }
    return selection;
}

bool TrajectoryHandler::selectCamera(const Selection& selection, QString* error)
{
    switch (selection.kind) {
    case Selection::Kind::None:
        return true;
    case Selection::Kind::File:
        return openFile(selection.file, selection.playback, error);
    case Selection::Kind::Path:
        return selectPath(selection.path, selection.playback, error);
    case Selection::Kind::Turntable: {
        auto* panel = Viewer::getInstance()->getActivePanel();
        TurntableOptions options = selection.turntable;
        // The stored view has the elevation and the distance already.
        options.elevation.reset();
        options.keepInView = false;
        const auto turntable = Turntable::create(options, selection.start, selection.center, error);
        if (turntable && panel)
            startTurntable(turntable, panel);
        else if (turntable && error)
            *error = tr("A turntable starts from a view: open a panel first");
        return turntable && panel;
    }
    case Selection::Kind::Other:
        break;
    }
    if (error)
        *error = tr("this motion cannot be selected again");
    return false;
}

bool TrajectoryHandler::select(const Selection& selection, QString* error)
{
    select(nullptr);
    selectMode(ModeNone);
    if (selectCamera(selection, error)) {
        if (!selection.animation)
            return true;
        const bool isAlone = selection.kind == Selection::Kind::None;
        if (isAlone ? selectAnimation(*selection.animation, selection.playback, error)
                    : addAnimation(*selection.animation, selection.animationPlayback, error))
            return true;
    }
    select(nullptr);
    selectMode(ModeNone);
    return false;
}

} // namespace tov::trajectory
