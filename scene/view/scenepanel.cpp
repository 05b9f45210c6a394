#include "scene/view/scenepanel.h"

#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/sceneview.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QResizeEvent>
#include <QWheelEvent>

#include <GL/gl.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>

namespace tov::gui {

using tov::math::Matrix4;
using tov::scene::PictureHalfHeight;
using tov::scene::SceneDrawer;
using tov::scene::transformed;
using tov::scene::Viewer;

namespace {

typedef std::array<double, 3> Vector;

constexpr double Pi = 3.14159265358979323846;
/// Room around a fitted scene.
constexpr double FitMargin = 1.04;
/// Degrees of orbit for a drag over the whole panel, and for a press of an arrow key.
constexpr double DragDegrees = 250.0;
constexpr double KeyDegrees = 5.0;
/// Eighths of a degree that a wheel reports for one notch, and what a notch does.
constexpr double WheelStep = 120.0;
constexpr double WheelFactor = 1.2;
constexpr double WheelPixels = 40.0;
constexpr double WheelDegrees = 7.5;
/// Angles at which a turning scene is measured.
constexpr int TurnSteps = 24;

/// The camera looks at a target from a distance along its own z axis.
struct Camera
{
    Matrix4 rotation = Matrix4::identity(); ///< scene axes to eye axes
    Vector target = {0, 0, 0};              ///< scene units
    double distance = 3000;                 ///< scaled units

    Matrix4 matrix(double scaling) const
    {
        Matrix4 toTarget = Matrix4::identity();
        for (int axis = 0; axis < 3; ++axis)
            toTarget(axis, 3) = -target[axis];
        Matrix4 scale = Matrix4::identity();
        for (int axis = 0; axis < 3; ++axis)
            scale(axis, axis) = scaling;
        Matrix4 back = Matrix4::identity();
        back(2, 3) = -distance;
        return back * scale * rotation * toTarget;
    }
};

Matrix4 rotationX(double radians)
{
    Matrix4 m = Matrix4::identity();
    m(1, 1) = m(2, 2) = std::cos(radians);
    m(2, 1) = std::sin(radians);
    m(1, 2) = -m(2, 1);
    return m;
}

Matrix4 rotationY(double radians)
{
    Matrix4 m = Matrix4::identity();
    m(0, 0) = m(2, 2) = std::cos(radians);
    m(0, 2) = std::sin(radians);
    m(2, 0) = -m(0, 2);
    return m;
}

/// Uniform scale of a matrix: the cube root of what it makes of volumes.
double scaleOf(const Matrix4& m)
{
    return std::cbrt(std::fabs(tov::math::volumeScaleOf(m)));
}

} // namespace

struct ScenePanel::Private
{
    Camera camera; ///< application thread
    QPoint lastMouse;
    std::unique_ptr<SceneDrawer> drawer;

    mutable std::mutex mutex;
    Matrix4 matrix = Matrix4::identity(); ///< guarded by mutex
    bool matrixSet = false;               ///< guarded by mutex; set from outside since the camera moved last
    std::atomic<bool> follows{true};
    mutable std::atomic<int> width{640};
    mutable std::atomic<int> height{480};
};

ScenePanel::ScenePanel(QWidget* parent) : QOpenGLWidget(parent), d(new Private)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(false);
    resize(640, 480);
    Viewer::getInstance()->add(this);
    applyCamera();
}

ScenePanel::~ScenePanel()
{
    // Those who hold a pointer learn of the end while everything here still works; the base class would tell them when
    // half of it is gone.
    emit destroyed(this);
    QObject::disconnect(this, SIGNAL(destroyed(QObject*)), nullptr, nullptr);
    Viewer::getInstance()->remove(this);
}

Matrix4 ScenePanel::getScaledTransformMatrix() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->matrix;
}

void ScenePanel::setScaledTransformMatrix(const Matrix4& transform)
{
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->matrix = transform;
        d->matrixSet = true;
    }
    QMetaObject::invokeMethod(
        this, [this] { update(); }, Qt::AutoConnection);
    emit viewChanged();
}

void ScenePanel::applyCamera()
{
    const double scaling = Viewer::getInstance()->getGlobalScene()->getGlobalScaling();
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->matrix = d->camera.matrix(scaling);
        d->matrixSet = false;
    }
    update();
    emit viewChanged();
}

void ScenePanel::takeCameraFromMatrix()
{
    std::lock_guard<std::mutex> guard(d->mutex);
    if (!d->matrixSet)
        return;
    const double scale = scaleOf(d->matrix);
    Matrix4 inverse;
    if (!(scale > 0) || !tov::scene::inverted(d->matrix, inverse))
        return;
    Matrix4 rotation = Matrix4::identity();
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            rotation(r, c) = d->matrix(r, c) / scale;
    d->camera.rotation = rotation;
    // The distance stays; the target is the point that far ahead.
    d->camera.target = transformed(inverse, 0, 0, -d->camera.distance);
    d->matrixSet = false;
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
    noteSize();
}

void ScenePanel::noteSize()
{
    d->width = std::max(1, QOpenGLWidget::width());
    d->height = std::max(1, QOpenGLWidget::height());
}

void ScenePanel::setStandardView(StandardView view)
{
    takeCameraFromMatrix();
    double azimuth = 0, elevation = 0;
    switch (view) {
    case StandardView::Front:
        break;
    case StandardView::Back:
        azimuth = 180;
        break;
    case StandardView::Left:
        azimuth = -90;
        break;
    case StandardView::Right:
        azimuth = 90;
        break;
    case StandardView::Top:
        elevation = 90;
        break;
    case StandardView::Bottom:
        elevation = -90;
        break;
    case StandardView::Isometric:
        azimuth = 45;
        elevation = 35.264389682754654; // the elevation at which three axes foreshorten alike: atan(1 / sqrt 2)
        break;
    }
    d->camera.rotation = rotationX(elevation * Pi / 180) * rotationY(-azimuth * Pi / 180);
    fitToView();
}

void ScenePanel::fitToView()
{
    fit(1);
}

void ScenePanel::fitToTurn()
{
    fit(TurnSteps);
}

void ScenePanel::fit(int turnSteps)
{
    takeCameraFromMatrix();
    const auto scene = Viewer::getInstance()->getGlobalScene();
    const double tanY = PictureHalfHeight / FitMargin;
    const double tanX = tanY * width() / height();
    // In eye axes each vertex asks the camera to stand back: x - cx <= tanX * (d - z) and so on. The extremes of
    // x + tanX * z and its three sisters give the exact position and distance.
    double right = -1e300, left = -1e300, up = -1e300, down = -1e300, front = -1e300, back = 1e300;
    scene->lock();
    const auto centre = tov::scene::centreOf(tov::scene::visibleBox(scene->getRootNode()));
    for (int step = 0; step < turnSteps; ++step) {
        Matrix4 there = Matrix4::identity(), restore = Matrix4::identity();
        for (int axis = 0; axis < 3; ++axis) {
            there(axis, 3) = -centre[axis];
            restore(axis, 3) = centre[axis];
        }
        const Matrix4 turned = d->camera.rotation * restore * rotationY(2 * Pi * step / turnSteps) * there;
        tov::scene::forEachVisible(
            scene->getRootNode(), [&](const tov::scene::GeometryElement& element, const Matrix4& m) {
                const Matrix4 toEye = turned * m;
                for (const auto& vertex : element.getVertices()) {
                    const Vector p = transformed(toEye, vertex.position[0], vertex.position[1], vertex.position[2]);
                    right = std::max(right, p[0] + tanX * p[2]);
                    left = std::max(left, -p[0] + tanX * p[2]);
                    up = std::max(up, p[1] + tanY * p[2]);
                    down = std::max(down, -p[1] + tanY * p[2]);
                    front = std::max(front, p[2]);
                    back = std::min(back, p[2]);
                }
            });
    }
    const bool visible = front > -1e299;
    const auto* root = scene->getRootNode();
    const bool hidden =
        !visible && root && (!root->getChildren().empty() || dynamic_cast<const tov::scene::GeometryElement*>(root));
    if (!hidden)
        scene->updateGlobalScaling();
    scene->unlock();
    const double scaling = scene->getGlobalScaling();
    if (!visible) {
        // What is hidden comes back at its place, seen from the new side.
        if (!hidden)
            d->camera = Camera{d->camera.rotation, {0, 0, 0}, 3000};
        applyCamera();
        return;
    }
    const double eyeX = (right - left) / 2, eyeY = (up - down) / 2;
    const double middle = (front + back) / 2;
    double eyeZ = std::max((right + left) / (2 * tanX), (up + down) / (2 * tanY));
    // The nearest vertex stays well behind the near plane.
    eyeZ = std::max(eyeZ, front + 2 * SceneDrawer::ZNEAR / scaling);
    Matrix4 toScene;
    tov::scene::inverted(d->camera.rotation, toScene);
    d->camera.target = transformed(toScene, eyeX, eyeY, middle);
    d->camera.distance = std::min((eyeZ - middle) * scaling, SceneDrawer::ZFAR * 0.8);
    applyCamera();
}

void ScenePanel::orbit(double azimuth, double elevation)
{
    takeCameraFromMatrix();
    // About the scene's upright axis and the screen's horizontal one.
    d->camera.rotation = rotationX(elevation * Pi / 180) * d->camera.rotation * rotationY(azimuth * Pi / 180);
    applyCamera();
}

void ScenePanel::pan(double dx, double dy)
{
    takeCameraFromMatrix();
    const double scaling = Viewer::getInstance()->getGlobalScene()->getGlobalScaling();
    const double perPixel = 2 * PictureHalfHeight * d->camera.distance / height() / scaling;
    Matrix4 toScene;
    if (!tov::scene::inverted(d->camera.rotation, toScene))
        return;
    const Vector shift = transformed(toScene, -dx * perPixel, dy * perPixel, 0);
    for (int axis = 0; axis < 3; ++axis)
        d->camera.target[axis] += shift[axis];
    applyCamera();
}

void ScenePanel::zoom(double factor)
{
    takeCameraFromMatrix();
    if (!(factor > 0))
        return;
    d->camera.distance = std::clamp(d->camera.distance / factor, SceneDrawer::ZNEAR * 2, SceneDrawer::ZFAR * 0.9);
    applyCamera();
}

bool ScenePanel::followsTrajectory() const
{
    return d->follows;
}

void ScenePanel::setFollowsTrajectory(bool follows)
{
    d->follows = follows;
}

void ScenePanel::setTrajectoryCamera(const Matrix4& eyeToScene)
{
    Matrix4 toEye;
    if (!d->follows || !tov::scene::inverted(eyeToScene, toEye))
        return;
    const double scaling = Viewer::getInstance()->getGlobalScene()->getGlobalScaling();
    Matrix4 scale = Matrix4::identity();
    for (int axis = 0; axis < 3; ++axis)
        scale(axis, axis) = scaling;
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        d->matrix = scale * toEye;
        d->matrixSet = true;
    }
    QMetaObject::invokeMethod(
        this, [this] { update(); }, Qt::QueuedConnection);
}

void ScenePanel::initializeGL()
{
    d->drawer = std::make_unique<SceneDrawer>(Viewer::getInstance()->getGlobalScene());
}

void ScenePanel::resizeGL(int, int) {}

void ScenePanel::paintGL()
{
    auto* shared = tov::scene::_GlobalContext();
    const auto scene = Viewer::getInstance()->getGlobalScene();
    const double ratio = devicePixelRatioF();
    const int pixelsWide = std::max(1, int(std::lround(QOpenGLWidget::width() * ratio)));
    const int pixelsHigh = std::max(1, int(std::lround(QOpenGLWidget::height() * ratio)));
    shared->lock();
    scene->lock();
    const QColor background = d->drawer->getBackgroundColor();
    glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 1.0f);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_COLOR_MATERIAL);
    d->drawer->resize(pixelsWide, pixelsHigh);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    const double top = SceneDrawer::ZNEAR * PictureHalfHeight;
    const double right = top * pixelsWide / pixelsHigh;
    glFrustum(-right, right, -top, top, SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_LIGHT0);
    d->drawer->glDraw(scene->getRootNode(), nullptr, getScaledTransformMatrix(), 0.0, SceneDrawer::LayersOfPanel,
                      SceneDrawer::AllPrimitives);
    glFlush();
    scene->unlock();
    shared->unlock();
}

void ScenePanel::resizeEvent(QResizeEvent* event)
{
    noteSize();
    QOpenGLWidget::resizeEvent(event);
}

void ScenePanel::mousePressEvent(QMouseEvent* event)
{
    d->lastMouse = event->pos();
    emit activated();
    event->accept();
}

void ScenePanel::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint by = event->pos() - d->lastMouse;
    d->lastMouse = event->pos();
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    if ((event->buttons() & (Qt::MiddleButton | Qt::RightButton)) || ((event->buttons() & Qt::LeftButton) && shift))
        pan(by.x(), by.y());
    else if (event->buttons() & Qt::LeftButton)
        orbit(by.x() * DragDegrees / width(), by.y() * DragDegrees / height());
    event->accept();
}

void ScenePanel::wheelEvent(QWheelEvent* event)
{
    emit activated();
    event->accept();
    // With a touchpad's two fingers both directions count, in small steps.
    const QPointF steps = QPointF(event->angleDelta()) / WheelStep;
    if (event->modifiers() & Qt::ShiftModifier) {
        pan(steps.x() * WheelPixels, steps.y() * WheelPixels);
        return;
    }
    if (event->modifiers() & Qt::ControlModifier) {
        orbit(steps.x() * WheelDegrees, steps.y() * WheelDegrees);
        return;
    }
    zoomAt(event->position(), std::pow(WheelFactor, steps.y()));
}

bool ScenePanel::event(QEvent* event)
{
    if (event->type() != QEvent::NativeGesture)
        return QOpenGLWidget::event(event);
    const auto* gesture = static_cast<QNativeGestureEvent*>(event);
    switch (gesture->gestureType()) {
    case Qt::ZoomNativeGesture:
        zoomAt(gesture->localPos(), 1.0 + std::max(gesture->value(), -0.9));
        break;
    case Qt::RotateNativeGesture:
        orbit(gesture->value(), 0);
        break;
    default:
        return QOpenGLWidget::event(event);
    }
    emit activated();
    event->accept();
    return true;
}

void ScenePanel::zoomAt(const QPointF& position, double factor)
{
    // What is under the pointer stays there.
    const double before = d->camera.distance;
    zoom(factor);
    const double share = 1.0 - before / d->camera.distance;
    const QPointF off = position - QPointF(width() / 2.0, height() / 2.0);
    pan(off.x() * share, off.y() * share);
}

void ScenePanel::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Left:
        orbit(-KeyDegrees, 0);
        break;
    case Qt::Key_Right:
        orbit(KeyDegrees, 0);
        break;
    case Qt::Key_Up:
        orbit(0, -KeyDegrees);
        break;
    case Qt::Key_Down:
        orbit(0, KeyDegrees);
        break;
    case Qt::Key_Plus:
        zoom(1.2);
        break;
    case Qt::Key_Minus:
        zoom(1 / 1.2);
        break;
    default:
        QOpenGLWidget::keyPressEvent(event);
    }
}

void ScenePanel::focusInEvent(QFocusEvent* event)
{
    emit activated();
    QOpenGLWidget::focusInEvent(event);
}

} // namespace tov::gui
