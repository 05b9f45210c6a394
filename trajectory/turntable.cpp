#include "trajectory/turntable.h"

#include "scene/drawing/scenedrawer.h"
#include "scene/globalscene.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace tov::trajectory {

using tov::math::Matrix4;
using tov::scene::Camera;
using tov::scene::Vector3;

namespace {

constexpr double Pi = 3.14159265358979323846;

double dot(const Vector3& a, const Vector3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The camera after a rotation together with the scene around it.
Camera turnedCamera(const Camera& camera, const tov::scene::Turning& turning, double degrees)
{
    Camera result = camera;
    result.target = tov::scene::turnedPoint(turning, degrees, camera.target);
    const tov::scene::Turning direction{{0, 0, 0}, turning.axis, 0, 0};
    for (unsigned int r = 0; r < 3; ++r) {
        const Vector3 turned = tov::scene::turnedPoint(
            direction, degrees, {camera.rotation(r, 0), camera.rotation(r, 1), camera.rotation(r, 2)});
        for (unsigned int c = 0; c < 3; ++c)
            result.rotation(r, c) = turned[c];
    }
    return result;
}

/// The camera at another elevation, looking at the centre from the same side and distance.
Camera raised(const Camera& camera, const Vector3& center, const Vector3& axis, double degrees)
{
    const Vector3 back = {camera.rotation(2, 0), camera.rotation(2, 1), camera.rotation(2, 2)};
    Vector3 aside = back;
    const double along = dot(back, axis);
    for (std::size_t i = 0; i < 3; ++i)
        aside[i] -= along * axis[i];
    double size = std::sqrt(dot(aside, aside));
    if (size < 1e-6) { // seen along the axis: the far side is at the top of the picture
        aside = camera.up();
        for (double& value : aside)
            value *= along > 0 ? -1 : 1;
        size = 1;
    }
    const double angle = degrees * Pi / 180;
    Vector3 position;
    for (std::size_t i = 0; i < 3; ++i)
        position[i] = center[i] + camera.distance * (std::cos(angle) * aside[i] / size + std::sin(angle) * axis[i]);
    return tov::scene::lookAt(position, center, axis, camera).value_or(camera);
}

} // namespace

bool showsWholeScene(const tov::gui::ScenePanel& panel, double aspect)
{
    // Fitting leaves a margin, into which the user may have zoomed.
    constexpr double Slack = 1.05;
    const Camera view = panel.getCamera();
    tov::scene::ViewFitter fitter(view, aspect > 0 ? aspect : double(panel.width()) / panel.height());
    const auto scene = tov::scene::_GlobalScene();
    scene->lock();
    tov::scene::forEachPoint(scene->getRootNode(), [&](const Vector3& point) { fitter.add(point); });
    scene->unlock();
    return fitter.movedBack(0).distance <= Slack * view.distance;
}

Turntable::Turntable(const TurntableOptions& options, const Camera& view, const Vector3& center)
    : m_Options(options), m_Start(view), m_Turning{center, options.axis, 0, 0}
{}

std::shared_ptr<const Turntable> Turntable::create(const TurntableOptions& options, const Camera& view,
                                                   const Vector3& center, QString* error)
{
    const auto tr = [](const char* text) { return QCoreApplication::translate("tov::trajectory", text); };
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return nullptr;
    };
    if (options.frames < 1 || double(options.frames) > MaxFrames)
        return fail(tr("A turntable needs 1 to 1000000 positions"));
    const double length = std::sqrt(dot(options.axis, options.axis));
    if (!(length > 0) || !std::isfinite(length))
        return fail(tr("The axis of a turntable must have a length"));
    if (!std::isfinite(options.turns) || !std::isfinite(options.swing) ||
        !std::isfinite(options.elevation.value_or(0)) || std::fabs(options.elevation.value_or(0)) > 90)
        return fail(tr("The turns and swing of a turntable must be numbers, and its elevation must be from -90 to 90"));
    TurntableOptions checked = options;
    for (double& value : checked.axis)
        value /= length;
    Camera start = view;
    if (options.elevation)
        start = raised(view, center, checked.axis, *options.elevation);
    return std::shared_ptr<const Turntable>(new Turntable(checked, start, center));
}

std::shared_ptr<const Turntable> Turntable::fromView(const Camera& view, unsigned long frame) const
{
    TurntableOptions options = m_Options;
    options.keepInView = false;
    const Camera start = turnedCamera(view, m_Turning, -angleAt(frame));
    return std::shared_ptr<const Turntable>(new Turntable(options, start, m_Turning.center));
}

std::shared_ptr<const Turntable> Turntable::keptInView(const tov::scene::SceneElement* root, double aspect,
                                                       double minimumDistance) const
{
    // Rotating the camera by an angle equals rotating the scene by the negative angle.
    double low = 0, high = 0;
    if (m_Options.swing != 0) {
        high = std::fabs(m_Options.swing) / 2;
        low = -high;
    } else {
        const double end = -angleAt(m_Options.frames);
        low = std::min(0.0, end);
        high = std::max(0.0, end);
    }
    tov::scene::Turning turning = m_Turning;
    turning.fromDegrees = low;
    turning.toDegrees = high;
    tov::scene::ViewFitter fitter(m_Start, m_Options.aspect > 0 ? m_Options.aspect : aspect);
    tov::scene::forEachTurnedPoint(root, turning, [&](const Vector3& point) { fitter.add(point); });
    return std::shared_ptr<const Turntable>(
        new Turntable(m_Options, fitter.movedBack(minimumDistance), m_Turning.center));
}

double Turntable::angleAt(unsigned long frame) const
{
    const double share = double(frame) / double(m_Options.frames);
    const double sign = m_Options.reverse ? -1 : 1;
    if (m_Options.swing != 0)
        return sign * m_Options.swing / 2 * std::sin(2 * Pi * share);
    return sign * m_Options.turns * 360 * eased(m_Options.ease, share);
}

std::optional<Camera> Turntable::cameraAt(unsigned long frame) const
{
    return turnedCamera(m_Start, m_Turning, angleAt(frame));
}

std::shared_ptr<const Turntable> keptInView(const Turntable& turntable, const tov::gui::ScenePanel& panel)
{
    const auto scene = tov::scene::_GlobalScene();
    scene->lock();
    auto result = turntable.keptInView(scene->getRootNode(), double(panel.width()) / panel.height(),
                                       2 * tov::scene::SceneDrawer::ZNEAR / scene->getGlobalScaling());
    scene->unlock();
    return result;
}

std::shared_ptr<const Turntable> turntableFrom(const tov::gui::ScenePanel& panel, const TurntableOptions& options,
                                               QString* error)
{
    const auto scene = tov::scene::_GlobalScene();
    scene->lock();
    const auto center = tov::scene::centreOf(tov::scene::visibleBox(scene->getRootNode()));
    scene->unlock();
    const auto turntable = Turntable::create(options, panel.getCamera(), center, error);
    return turntable && options.keepInView ? keptInView(*turntable, panel) : turntable;
}

} // namespace tov::trajectory
