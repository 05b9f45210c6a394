#include "trajectory/pathlines.h"

#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/camerapath.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

namespace tov::trajectory {

using tov::math::Matrix4;
using tov::scene::Camera;
using tov::scene::PanelOverlay;
using tov::scene::Vector3;

namespace {

/// Lines need no more points than this; longer trajectories are thinned out.
constexpr unsigned long MostPoints = 2000;
/// The number of camera outlines along a path without keys, and the most for any path.
constexpr unsigned long Outlines = 8, MostOutlines = 200;
/// Length of an outline as a share of the scene's radius, and its width divided by its height.
constexpr double OutlineShare = 0.06, OutlineAspect = 16.0 / 9;

/// The outline of a camera: the four edges of its view, and a rectangle with a tip on its upper side.
void addOutline(const Camera& camera, double length, PanelOverlay& overlay)
{
    const Matrix4 pose = camera.pose();
    const double up = length * std::tan(camera.fieldOfView * 3.14159265358979323846 / 360);
    const double right = up * OutlineAspect;
    const auto at = [&pose, length](double x, double y) { return tov::scene::transformed(pose, x, y, -length); };
    const Vector3 eye = camera.position();
    const Vector3 a = at(-right, -up), b = at(right, -up), c = at(right, up), e = at(-right, up);
    const auto add = [&overlay](std::vector<Vector3> points) {
        overlay.strips.push_back({PanelOverlay::Kind::Camera, std::move(points)});
    };
    add({a, b, c, e, a, eye, b});
    add({c, eye, e, at(0, 1.5 * up), c});
}

/// `count` positions, thinned out; the last one is always there.
void forEachShown(unsigned long count, unsigned long most, const std::function<void(unsigned long)>& take)
{
    const unsigned long step = std::max(1ul, (count + most - 1) / most);
    for (unsigned long i = 0; i < count; i += step)
        take(i);
    if (count > 0 && (count - 1) % step != 0)
        take(count - 1);
}

void addMotion(const Motion& motion, double length, PanelOverlay& overlay)
{
    PanelOverlay::Strip line;
    forEachShown(motion.frameCount(), MostPoints, [&](unsigned long frame) {
        if (const auto camera = motion.cameraAt(frame))
            line.points.push_back(camera->position());
    });
    if (line.points.empty())
        return;
    overlay.isOfCamera = true;
    overlay.strips.push_back(std::move(line));
    if (const auto* path = dynamic_cast<const PathMotion*>(&motion)) {
        const auto& keys = path->getPath().getKeys();
        forEachShown(keys.size(), MostOutlines, [&](unsigned long i) { addOutline(keys[i].camera, length, overlay); });
        return;
    }
    forEachShown(motion.frameCount(), Outlines,
                 [&](unsigned long frame) { addOutline(*motion.cameraAt(frame), length, overlay); });
}

/// Where the origin of an element is in the scene when its own transform is at `point`.
Vector3 inScene(const tov::scene::SceneElement* element, const Vector3& point)
{
    const auto* parent = element ? element->getParent() : nullptr;
    return parent ? tov::scene::transformed(tov::scene::transformToScene(parent), point[0], point[1], point[2]) : point;
}

void addMaps(const MatrixMapList& maps, tov::scene::SceneElement* root, double length, PanelOverlay& overlay)
{
    const QString cameraName = QStringLiteral("camera");
    std::map<QString, PanelOverlay::Strip> lines;
    std::map<QString, const tov::scene::SceneElement*> elements;
    forEachShown(maps.size(), MostPoints, [&](unsigned long position) {
        for (const auto& [name, matrix] : maps[position]) {
            const Vector3 point = {matrix(0, 3), matrix(1, 3), matrix(2, 3)};
            const auto found = elements.find(name);
            const auto* element = found != elements.end()      ? found->second
                                  : root && name != cameraName ? elements.emplace(name, root->find(name)).first->second
                                                               : nullptr;
            if (name == cameraName || element)
                lines[name].points.push_back(inScene(element, point));
        }
    });
    overlay.isOfCamera = lines.count(cameraName) > 0;
    for (auto& [name, line] : lines)
        overlay.strips.push_back(std::move(line));
    forEachShown(maps.size(), Outlines, [&](unsigned long position) {
        const auto camera = maps[position].find(cameraName);
        if (camera == maps[position].end())
            return;
        if (const auto view = tov::scene::cameraOfPose(camera->second))
            addOutline(*view, length, overlay);
    });
}

void addPoints(const std::vector<Point>& points, tov::scene::SceneElement* root, PanelOverlay& overlay)
{
    const auto* carrier = root ? root->find(QStringLiteral("carrier")) : nullptr;
    if (!carrier)
        return;
    PanelOverlay::Strip line;
    forEachShown(points.size(), MostPoints,
                 [&](unsigned long i) { line.points.push_back(inScene(carrier, points[i])); });
    overlay.strips.push_back(std::move(line));
}

} // namespace

std::shared_ptr<const PanelOverlay> pathLines()
{
    const auto* handler = TrajectoryHandler::getInstance();
    const auto overlay = std::make_shared<PanelOverlay>();
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    scene->lock();
    auto* root = scene->getRootNode();
    const double length = OutlineShare * scene->getExtent().radius();
    if (handler->getSelectedMode() == TrajectoryHandler::ModePlain) {
        addPoints(handler->getTrajectoryInfo()->getPoints(), root, *overlay);
    } else if (handler->getSelectedMode() == TrajectoryHandler::ModeAdvanced) {
        if (const auto motion = handler->getAdvancedTrajectoryInfo()->getMotion())
            addMotion(*motion, length, *overlay);
        else if (const auto* maps = handler->getAdvancedTrajectoryInfo()->getMatrixMapList())
            addMaps(*maps, root, length, *overlay);
    }
    scene->unlock();
    return overlay->strips.empty() ? nullptr : overlay;
}

} // namespace tov::trajectory
