#include "trajectory/trajectoryinfo.h"

#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/scenelocker.h"
#include "scene/view/viewer.h"
#include "trajectory/path.h"
#include "trajectory/trajectorysignals.h"

namespace tov::trajectory {

using tov::scene::SceneEdit;
using tov::scene::SceneLocker;
using tov::scene::Viewer;

struct TrajectoryInfo::Private : Path<std::vector<Point>>
{
    Private() { setList({}); }
};

TrajectoryInfo::TrajectoryInfo() : d(new Private) {}
TrajectoryInfo::~TrajectoryInfo() = default;

const std::vector<Point>& TrajectoryInfo::getPoints() const
{
    return *d->getList();
}

void TrajectoryInfo::setPoints(std::vector<Point> points)
{
    d->setList(std::move(points));
}

unsigned long TrajectoryInfo::getPosition() const
{
    return d->getPosition();
}

void TrajectoryInfo::setPosition(unsigned long position)
{
    const auto& points = getPoints();
    if (position >= points.size())
        return;
    const Point& point = points[position];
    const auto scene = Viewer::getInstance()->getGlobalScene();
    {
        SceneEdit edit(scene.get(), SceneLocker::LockTransforms);
        auto* root = scene->getRootNode();
        if (auto* carrier = root ? root->find(QStringLiteral("carrier")) : nullptr) {
            auto transform = carrier->getTransform();
            for (unsigned int axis = 0; axis < 3; ++axis)
                transform(axis, 3) = point[axis];
            carrier->setTransform(transform);
        }
    }
    d->setPosition(position);
    reportPosition(position);
}

} // namespace tov::trajectory
