#include "scene/view/scenepanel.h"

#include "scene/globalscene.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/panellist.h"
#include "scene/view/panelstate.h"
#include "scene/view/turningpoints.h"

#include <QThread>

#include <algorithm>
#include <cmath>

namespace tov::gui {

using tov::math::Matrix4;
using tov::scene::_GlobalScene;
using tov::scene::Camera;
using tov::scene::PanelList;
using tov::scene::PictureHalfHeight;
using tov::scene::SceneDrawer;
using tov::scene::SceneExtent;
using tov::scene::Vector3;

namespace {

/// Limits of the distance between eye and target, as shares of the scene's radius.
constexpr double NearestTarget = 0.002;
constexpr double FarthestTarget = 9;
/// The camera counts as still when it has not moved for this time.
constexpr int StillMs = 250;

} // namespace

ScenePanel::ScenePanel(QWidget* parent) : QOpenGLWidget(parent), d(new PanelState)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(false);
    resize(640, 480);
    d->stillTimer.setSingleShot(true);
    d->stillTimer.setInterval(StillMs);
    connect(&d->stillTimer, &QTimer::timeout, this, [this] {
        d->isMoving = false;
        update();
    });
    PanelList::getInstance()->add(this);
    setCamera(Camera());
}

ScenePanel::~ScenePanel()
{
    // The signal is emitted while the panel is complete; the base class would emit it when half of the panel is
    // destroyed.
    emit destroyed(this);
    QObject::disconnect(this, SIGNAL(destroyed(QObject*)), nullptr, nullptr);
    PanelList::getInstance()->remove(this);
}

std::shared_ptr<tov::scene::CaptureTimes> ScenePanel::getCaptureTimes() const
{
    return d->captures;
}

Matrix4 ScenePanel::getScaledTransformMatrix() const
{
    if (QThread::currentThread() != thread()) {
        d->captures->add();
        d->lastCapture = tov::scene::CameraFlight::Clock::now().time_since_epoch().count();
    }
    std::lock_guard<std::mutex> guard(d->mutex);
    Matrix4 matrix = d->matrix;
    for (unsigned int c = 0; c < 4; ++c)
        for (const unsigned int row : {0u, 1u})
            matrix(row, c) *= d->projectionFactor;
    return matrix;
}

void ScenePanel::setProjectionHalfHeight(double halfHeight)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    d->projectionFactor = halfHeight / PictureHalfHeight;
}

void ScenePanel::setScaledTransformMatrix(const Matrix4& transform)
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->extent = _GlobalScene()->getExtent();
        d->matrix = transform;
        d->exactMatrix = transform;
        d->flight.reset();
    }
    update();
    emit viewChanged();
}

Camera ScenePanel::getCamera() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->currentCamera();
}

void ScenePanel::setCamera(const Camera& camera)
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->camera = camera;
        d->camera.fieldOfView = std::clamp(camera.fieldOfView, Camera::MinFieldOfView, Camera::MaxFieldOfView);
        d->extent = _GlobalScene()->getExtent();
        d->matrix = d->camera.scaledMatrix(d->extent);
        d->exactMatrix.reset();
        d->flight.reset();
    }
    noteMove();
    update();
    emit viewChanged();
}

void ScenePanel::noteMove()
{
    if (!isVisible())
        return;
    d->isMoving = true;
    d->stillTimer.start();
}

void ScenePanel::setSketchAfter(int ms)
{
    d->sketchAfterMs = ms;
}

void ScenePanel::updateScaling()
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->extent = _GlobalScene()->getExtent();
        if (!d->exactMatrix)
            d->matrix = d->camera.scaledMatrix(d->extent);
    }
    QMetaObject::invokeMethod(
        this, [this] { update(); }, Qt::QueuedConnection);
}

int ScenePanel::width() const
{
    return d->width;
}

int ScenePanel::height() const
{
    return d->height;
}

void ScenePanel::resize(int width, int height)
{
    QOpenGLWidget::resize(width, height);
    updateSize();
}

void ScenePanel::updateSize()
{
    d->width = std::max(1, QOpenGLWidget::width());
    d->height = std::max(1, QOpenGLWidget::height());
}

void ScenePanel::setStandardView(StandardView view, double azimuth, double elevation, double roll)
{
    Camera camera = getCamera();
    camera.rotation = tov::scene::standardRotation(view);
    camera.orbit(azimuth, elevation, roll);
    setCamera(camera);
    fitToView();
}

bool ScenePanel::lookAt(const Vector3& position, const Vector3& target, const Vector3& up)
{
    const auto camera = tov::scene::lookAt(position, target, up, getCamera());
    if (camera)
        setCamera(*camera);
    return camera.has_value();
}

bool ScenePanel::setFileCamera(const tov::scene::FileCamera& file)
{
    const auto scene = _GlobalScene();
    scene->lock();
    const auto camera = tov::scene::cameraOfFile(file, scene->getExtent());
    scene->unlock();
    if (camera)
        setCamera(*camera);
    return camera.has_value();
}

void ScenePanel::setFieldOfView(double degrees)
{
    if (!std::isfinite(degrees))
        return;
    Camera camera = getCamera();
    const double before = camera.halfHeight();
    camera.fieldOfView = std::clamp(degrees, Camera::MinFieldOfView, Camera::MaxFieldOfView);
    camera.distance *= before / camera.halfHeight();
    setCamera(camera);
}

void ScenePanel::setOrthographic(bool orthographic)
{
    Camera camera = getCamera();
    camera.orthographic = orthographic;
    setCamera(camera);
}

void ScenePanel::fitToView()
{
    fit(false);
    emit fitted();
}

void ScenePanel::fitToTurn()
{
    fit(true);
}

void ScenePanel::fit(bool turning)
{
    const Camera camera = getCamera();
    tov::scene::ViewFitter fitter(camera, getGuideFrame().width() / height());
    const auto scene = _GlobalScene();
    scene->lock();
    const auto* root = scene->getRootNode();
    if (turning) {
        const tov::scene::Turning turn{tov::scene::centreOf(tov::scene::visibleBox(root)), {0, 1, 0}, 0, 360};
        tov::scene::forEachTurnedPoint(root, turn, [&](const Vector3& point) { fitter.add(point); });
    } else {
        tov::scene::forEachPoint(root, [&](const Vector3& point) { fitter.add(point); });
    }
    const bool hidden = fitter.isEmpty() && root &&
                        (!root->getChildren().empty() || dynamic_cast<const tov::scene::GeometryElement*>(root));
    // Hidden elements count as well, so they are in view when they are shown again.
    if (!hidden)
        scene->updateGlobalScaling();
    scene->unlock();
    const SceneExtent extent = scene->getExtent();
    if (hidden)
        return;
    Camera fitted = fitter.fitted(2 * SceneDrawer::ZNEAR / extent.scaling);
    if (fitter.isEmpty()) {
        fitted.target = {0, 0, 0};
        fitted.distance = 3 * extent.radius();
    }
    setCamera(fitted);
}

void ScenePanel::orbit(double azimuth, double elevation)
{
    Camera camera = getCamera();
    camera.orbit(-azimuth, elevation);
    setCamera(camera);
}

void ScenePanel::roll(double degrees)
{
    Camera camera = getCamera();
    camera.orbit(0, 0, degrees);
    setCamera(camera);
}

void ScenePanel::pan(double dx, double dy)
{
    Camera camera = getCamera();
    const double perPixel = 2 * camera.halfHeight() / height();
    camera.shift(-dx * perPixel, dy * perPixel);
    setCamera(camera);
}

void ScenePanel::zoom(double factor)
{
    if (!(factor > 0))
        return;
    Camera camera = getCamera();
    const double radius = _GlobalScene()->getExtent().radius();
    // A camera that is already beyond a limit does not jump to it.
    const double nearest = std::min(camera.distance, NearestTarget * radius);
    const double farthest = std::max(camera.distance, FarthestTarget * radius);
    camera.distance = std::clamp(camera.distance / factor, nearest, farthest);
    setCamera(camera);
}

bool ScenePanel::followsTrajectory() const
{
    return d->follows;
}

void ScenePanel::setFollowsTrajectory(bool follows)
{
    d->follows = follows;
    update();
}

void ScenePanel::setTrajectoryCamera(const Matrix4& eyeToScene)
{
    if (!d->follows)
        return;
    if (const auto camera = tov::scene::cameraOfPose(eyeToScene, getCamera()))
        setTrajectoryCamera(*camera);
}

void ScenePanel::setTrajectoryCamera(const Camera& camera)
{
    if (!d->follows)
        return;
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->camera = camera;
        d->extent = _GlobalScene()->getExtent();
        d->matrix = camera.scaledMatrix(d->extent);
        d->exactMatrix.reset();
        d->flight.reset();
    }
    QMetaObject::invokeMethod(
        this, [this] { update(); }, Qt::QueuedConnection);
}

} // namespace tov::gui
