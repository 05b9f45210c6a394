// Conversions between positions in a panel and points of the scene.

#include "scene/drawing/scenedrawer.h"
#include "scene/globalscene.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/panelstate.h"
#include "scene/view/scenepanel.h"

#include <algorithm>
#include <array>

namespace tov::gui {

using tov::math::Matrix4;
using tov::scene::Camera;
using tov::scene::PictureHalfHeight;
using tov::scene::SceneLook;
using tov::scene::Vector3;

namespace {

/// Points and lines are picked within this distance, in device-independent pixels.
constexpr double PickRadius = 5;

/// Clip coordinates without depth, for the projection that panels draw with: x, y and w.
std::array<double, 3> clipCoordinates(const Matrix4& matrix, double aspect, const Vector3& point)
{
    double eye[4];
    for (unsigned int r = 0; r < 4; ++r)
        eye[r] = matrix(r, 0) * point[0] + matrix(r, 1) * point[1] + matrix(r, 2) * point[2] + matrix(r, 3);
    return {eye[0] / (PictureHalfHeight * aspect), eye[1] / PictureHalfHeight, -eye[2]};
}

} // namespace

std::optional<tov::scene::Ray> ScenePanel::rayAt(const QPointF& position) const
{
    return tov::scene::rayThrough(d->ownMatrix(), 2 * position.x() / width() - 1, 1 - 2 * position.y() / height(),
                                  double(width()) / height());
}

std::optional<tov::scene::Picked> ScenePanel::pickAt(const QPointF& position) const
{
    const auto ray = rayAt(position);
    if (!ray)
        return std::nullopt;
    const Camera camera = getCamera();
    const SceneLook look = tov::scene::SceneDrawer::getLook();
    tov::scene::PickOptions options;
    const double radius = PickRadius * 2 * camera.halfHeight() / height();
    if (camera.orthographic)
        options.radius = radius;
    else
        options.radiusPerDistance = radius / camera.distance;
    options.clip = look.clip;
    options.meetsBackFaces = look.show == SceneLook::Show::Wireframe || look.show == SceneLook::Show::Points;
    const auto scene = tov::scene::_GlobalScene();
    scene->lock();
    auto picked = tov::scene::pick(scene->getRootNode(), *ray, options);
    scene->unlock();
    return picked;
}

bool ScenePanel::centerAt(const QPointF& position)
{
    const auto picked = pickAt(position);
    if (!picked)
        return false;
    Camera camera = getCamera();
    if (!camera.orthographic) {
        // The camera moves sideways only, so that the point keeps its size.
        const Vector3 eye = camera.position();
        double depth = 0;
        for (unsigned int axis = 0; axis < 3; ++axis)
            depth += camera.rotation(2, axis) * (eye[axis] - picked->point[axis]);
        camera.distance = depth;
    }
    camera.target = picked->point;
    fly([this, &camera] { setCamera(camera); });
    return true;
}

void ScenePanel::fitToSelection()
{
    tov::scene::ViewFitter fitter(getCamera(), getGuideFrame().width() / height());
    const auto scene = tov::scene::_GlobalScene();
    scene->lock();
    tov::scene::forEachVisible(scene->getRootNode(), [&fitter](const tov::scene::GeometryElement& element,
                                                               const Matrix4& toScene) {
        if (!tov::scene::isInSelection(&element))
            return;
        for (const auto& vertex : element.getVertices())
            fitter.add(tov::scene::transformed(toScene, vertex.position[0], vertex.position[1], vertex.position[2]));
    });
    const double scaling = scene->getGlobalScaling();
    scene->unlock();
    if (!fitter.isEmpty())
        setCamera(fitter.fitted(2 * tov::scene::SceneDrawer::ZNEAR / scaling));
}

std::optional<QLineF> ScenePanel::lineAt(const Vector3& from, const Vector3& to) const
{
    const Matrix4 matrix = d->shownMatrix();
    const double aspect = double(width()) / height();
    auto a = clipCoordinates(matrix, aspect, from), b = clipCoordinates(matrix, aspect, to);
    constexpr double NearestDepth = 1e-3; // scaled units
    if (std::max(a[2], b[2]) < NearestDepth)
        return std::nullopt;
    auto& behind = a[2] < b[2] ? a : b;
    const auto& ahead = a[2] < b[2] ? b : a;
    if (behind[2] < NearestDepth) {
        const double share = (NearestDepth - ahead[2]) / (behind[2] - ahead[2]);
        for (std::size_t i = 0; i < 3; ++i)
            behind[i] = ahead[i] + share * (behind[i] - ahead[i]);
    }
    const auto position = [this](const std::array<double, 3>& point) {
        return QPointF((point[0] / point[2] + 1) / 2 * width(), (1 - point[1] / point[2]) / 2 * height());
    };
    return QLineF(position(a), position(b));
}

} // namespace tov::gui
