#include "app/cli/setup/motionsetup.h"

#include "app/cli/options/requests.h"
#include "app/cli/setup/viewsetup.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"
#include "scene/view/turningpoints.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/animationmotion.h"
#include "trajectory/motion.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/turntable.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <memory>

namespace tov::app {

using tov::scene::Camera;
using tov::scene::Vector3;
using tov::scene::Viewer;
using tov::trajectory::Ease;
using tov::trajectory::frameCountOf;
using tov::trajectory::PlaybackOptions;
using tov::trajectory::TrajectoryHandler;
typedef MotionRequest::Kind Kind;

namespace {

constexpr double DefaultTurntableSeconds = 5;
/// Moments of an animation at which the view is fitted.
constexpr int FittedMoments = 24;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// A camera of the file, which the animation may move.
class FileCameraMotion : public tov::trajectory::Motion
{
public:
    FileCameraMotion(const tov::scene::FileCamera& camera, const ViewRequest& view, unsigned long count)
        : m_Camera(camera), m_View(view), m_Count(count)
    {}
    unsigned long frameCount() const override { return m_Count; }
    std::optional<Camera> cameraAt(unsigned long) const override
    {
        const auto scene = Viewer::getInstance()->getGlobalScene();
        scene->lock();
        const auto camera = cameraOfFile(m_Camera, m_View, scene->getExtent());
        scene->unlock();
        return camera;
    }

private:
    const tov::scene::FileCamera m_Camera;
    const ViewRequest m_View;
    const unsigned long m_Count;
};

/// The length of an animation by its name in any case, or of the first one; 0 if no animation matches.
double animationSeconds(const QString& name)
{
    if (const auto* root = Viewer::getInstance()->getGlobalScene()->getRootNode())
        for (const auto* file : root->getChildren())
            if (const auto& data = file->getModelData())
                for (const auto& animation : data->animations)
                    if (name.isEmpty() || animation.name.compare(name, Qt::CaseInsensitive) == 0)
                        return animation.duration;
    return 0;
}

PlaybackOptions playbackOf(const MotionRequest& motion, double fps)
{
    PlaybackOptions playback;
    playback.fps = fps;
    playback.seconds = motion.seconds.value_or(0);
    playback.repeat = motion.isRepeated;
    playback.everyPosition = motion.takesEveryPosition;
    playback.ease = motion.isEased ? Ease::InOut : Ease::None;
    if (motion.time) {
        playback.start = *motion.time;
        playback.fps = 1;
    }
    return playback;
}

Vector3 axisOf(const QString& name)
{
    if (name == QLatin1String("x"))
        return {1, 0, 0};
    if (name == QLatin1String("z"))
        return {0, 0, 1};
    const QStringList parts = name.split(QLatin1Char(','));
    if (parts.size() == 3)
        return {parts[0].toDouble(), parts[1].toDouble(), parts[2].toDouble()};
    return {0, 1, 0};
}

bool selectTurntable(const MotionRequest& motion, const ViewRequest& view, double fps, QString* error)
{
    double seconds = motion.seconds.value_or(0);
    if (seconds == 0 && motion.animation)
        seconds = animationSeconds(*motion.animation);
    if (seconds == 0)
        seconds = DefaultTurntableSeconds;
    tov::trajectory::TurntableOptions options;
    options.frames = motion.positions > 0 ? static_cast<unsigned long>(motion.positions) : frameCountOf(seconds, fps);
    options.turns = motion.turns;
    options.swing = motion.swing;
    options.axis = axisOf(motion.axis);
    options.ease = motion.isEased ? Ease::InOut : Ease::None;
    // A view that was zoomed in, or stored in a scene file, shows a part of the model on purpose.
    options.keepInView = view.zoom <= 1 && !view.sceneCamera;
    return TrajectoryHandler::getInstance()->selectTurntable(options, error);
}

/// True when the file that was opened last is a camera path.
bool isPathOpen()
{
    const auto* handler = TrajectoryHandler::getInstance();
    return handler->getSelectedMode() == TrajectoryHandler::ModeAdvanced &&
           handler->getAdvancedTrajectoryInfo()->getMotion();
}

bool selectPath(const MotionRequest& motion, const PlaybackOptions& playback, QString* error)
{
    // Trajectories have other types; the message about their contents would mislead.
    if (QFileInfo::exists(motion.file) &&
        QFileInfo(motion.file).suffix().compare(QLatin1String("json"), Qt::CaseInsensitive) != 0) {
        *error = tr("%1 is not a camera path, which is a .json file; for positions use --trajectory").arg(motion.file);
        return false;
    }
    if (!TrajectoryHandler::getInstance()->openFile(motion.file, playback, error))
        return false;
    if (isPathOpen())
        return true;
    *error = tr("%1 is a trajectory, not a camera path; use --trajectory").arg(motion.file);
    return false;
}

bool selectFile(const MotionRequest& motion, const PlaybackOptions& playback, QString* error)
{
    if (!TrajectoryHandler::getInstance()->openFile(motion.file, playback, error))
        return false;
    if (!isPathOpen())
        return true;
    *error = tr("%1 is a camera path, not a trajectory; use --path").arg(motion.file);
    return false;
}

/// `fps`: 0 = as stored.
bool selectStored(const SceneFile::Motion& motion, double fps, QString* error)
{
    tov::trajectory::Selection selection = motion.selection;
    if (fps > 0)
        selection.playback.fps = selection.animationPlayback.fps = fps;
    return TrajectoryHandler::getInstance()->select(selection, error);
}

/// Follows the camera of the file while the animation runs.
bool selectFileCamera(const MotionRequest& motion, const ViewRequest& view, const PlaybackOptions& playback,
                      QString* error)
{
    const auto camera = findFileCamera(view.camera, error);
    if (!camera)
        return false;
    const double seconds = playback.seconds > 0 ? playback.seconds : animationSeconds(*motion.animation);
    const unsigned long count = std::max(1ul, frameCountOf(seconds, playback.fps));
    TrajectoryHandler::getInstance()->selectCameraMotion(std::make_shared<FileCameraMotion>(*camera, view, count));
    return true;
}

} // namespace

bool fitAnimation(tov::gui::ScenePanel& panel, const MotionRequest& motion, QString* error)
{
    auto* handler = TrajectoryHandler::getInstance();
    const double seconds = animationSeconds(*motion.animation);
    PlaybackOptions playback;
    playback.fps = seconds > 0 ? FittedMoments / seconds : 1;
    if (!handler->selectAnimation(*motion.animation, playback, error))
        return false;
    const auto scene = Viewer::getInstance()->getGlobalScene();
    const auto* root = scene->getRootNode();
    tov::scene::ViewFitter fitter(panel.getCamera(), double(panel.width()) / panel.height());
    const tov::scene::Turning turning{tov::scene::centreOf(tov::scene::visibleBox(root)), {0, 1, 0}, 0, 360};
    for (unsigned long position = 0; position < handler->getCount(); ++position) {
        handler->setPosition(position);
        const auto add = [&fitter](const Vector3& point) { fitter.add(point); };
        scene->lock();
        if (motion.kind == Kind::Turntable)
            tov::scene::forEachTurnedPoint(root, turning, add);
        else
            tov::scene::forEachPoint(root, add);
        scene->unlock();
    }
    panel.setCamera(fitter.fitted(2 * tov::scene::SceneDrawer::ZNEAR / scene->getExtent().scaling));
    return true;
}

bool selectTrajectory(const MotionRequest& motion, const ViewRequest& view, double fps, QString* error)
{
    auto* handler = TrajectoryHandler::getInstance();
    const PlaybackOptions playback = playbackOf(motion, fps);
    handler->selectMode(TrajectoryHandler::ModeNone);
    switch (motion.kind) {
    case Kind::Free:
        return true;
    case Kind::Scene:
        return selectStored(view.scene->motion, fps, error);
    case Kind::Trajectory:
        return selectFile(motion, playback, error);
    case Kind::Turntable:
        if (!selectTurntable(motion, view, fps, error))
            return false;
        break;
    case Kind::Path:
        if (!selectPath(motion, playback, error))
            return false;
        break;
    case Kind::None:
        if (motion.animation && !view.camera.isEmpty() && !selectFileCamera(motion, view, playback, error))
            return false;
        break;
    }
    return !motion.animation || handler->addAnimation(*motion.animation, playback, error);
}

} // namespace tov::app
