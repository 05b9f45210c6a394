#include "app/viewer/thumbnail.h"

#include "scene/drawing/scenedrawer.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"
#include "scene/view/camera.h"
#include "scene/view/viewer.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

#include <GL/gl.h>

#include <cmath>
#include <functional>
#include <optional>

namespace tov::viewer {

using tov::math::Matrix4;
using tov::scene::PictureHalfHeight;
using tov::scene::SceneDrawer;

namespace {

constexpr double Pi = 3.14159265358979323846;
/// The view from which a model is drawn, in degrees.
constexpr double Azimuth = 30, Elevation = 25;

/// Scene to eye for a camera that sees all of `box`.
Matrix4 cameraFor(const tov::scene::Box& box)
{
    const auto centre = tov::scene::centreOf(box);
    double radius = 0;
    for (int axis = 0; axis < 3; ++axis)
        radius += std::pow((double(box.high[axis]) - box.low[axis]) / 2, 2);
    radius = std::sqrt(radius);
    const double scaling = tov::scene::scalingFor(box);
    const double distance = radius * scaling / std::sin(std::atan(PictureHalfHeight));
    const double a = -Azimuth * Pi / 180, e = Elevation * Pi / 180;
    Matrix4 turn = Matrix4::identity(), tilt = Matrix4::identity(), move = Matrix4::identity(),
            scale = Matrix4::identity(), back = Matrix4::identity();
    turn(0, 0) = turn(2, 2) = std::cos(a);
    turn(0, 2) = std::sin(a);
    turn(2, 0) = -turn(0, 2);
    tilt(1, 1) = tilt(2, 2) = std::cos(e);
    tilt(2, 1) = std::sin(e);
    tilt(1, 2) = -tilt(2, 1);
    for (int axis = 0; axis < 3; ++axis) {
        move(axis, 3) = -centre[axis];
        scale(axis, axis) = scaling;
    }
    back(2, 3) = -distance;
    return back * scale * tilt * turn * move;
}

/// Draws under the current context.
QImage draw(tov::scene::SceneElement* model, const Matrix4& camera, int edge)
{
    QOpenGLFramebufferObject target(edge, edge, QOpenGLFramebufferObject::Depth);
    if (!target.isValid() || !target.bind())
        return QImage();
    SceneDrawer drawer(tov::scene::Viewer::getInstance()->getGlobalScene());
    const QColor background = drawer.getBackgroundColor();
    glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 1.0f);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_COLOR_MATERIAL);
    drawer.resize(edge, edge);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    const double top = SceneDrawer::ZNEAR * PictureHalfHeight;
    glFrustum(-top, top, -top, top, SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    drawer.glDraw(model, nullptr, camera, 0.0, SceneDrawer::LayersOfPicture, SceneDrawer::AllPrimitives);
    return target.toImage().convertToFormat(QImage::Format_RGB32);
}

/// Draws with a context of its own; `cameraOf` is called while the scene is locked, and returns none for no picture.
QImage drawLocked(tov::scene::SceneElement* model, const std::function<std::optional<Matrix4>()>& cameraOf, int edge)
{
    auto* shared = tov::scene::_GlobalContext();
    if (!model || !shared->glContext())
        return QImage();
    QOpenGLContext context;
    context.setShareContext(shared->glContext());
    QOffscreenSurface surface;
    surface.setFormat(shared->glContext()->format());
    surface.create();
    if (!context.create() || !context.makeCurrent(&surface))
        return QImage();
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    QImage picture;
    shared->lock();
    scene->lock();
    if (const auto camera = cameraOf())
        picture = draw(model, *camera, edge);
    scene->unlock();
    shared->unlock();
    context.doneCurrent();
    return picture;
}

} // namespace

QImage drawThumbnail(tov::scene::SceneElement* model, int edge)
{
    const auto cameraOf = [model]() -> std::optional<Matrix4> {
        const tov::scene::Box box = tov::scene::visibleBox(model);
        if (box.isEmpty())
            return std::nullopt;
        return cameraFor(box);
    };
    return drawLocked(model, cameraOf, edge);
}

QImage drawScene(const tov::scene::Camera& camera, int edge)
{
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    return drawLocked(
        scene->getRootNode(), [&] { return camera.scaledMatrix(scene->getExtent()); }, edge);
}

} // namespace tov::viewer
