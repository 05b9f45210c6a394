#include "trajectory/trajectoryinfo.h"

#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/scenelocker.h"
#include "scene/viewer.h"
#include "trajectory/trajectorysignals.h"

#include <atomic>
#include <list>
#include <mutex>

namespace tov::trajectory {

using tov::scene::SceneEdit;
using tov::scene::SceneLocker;
using tov::scene::Viewer;

struct TrajectoryInfo::Private
{
    mutable std::mutex mutex;
    std::list<std::vector<Point>> lists{{}}; ///< guarded by mutex; the last one counts, the others have readers
    std::atomic<unsigned long> position{0};
};

TrajectoryInfo::TrajectoryInfo() : d(new Private) {}
TrajectoryInfo::~TrajectoryInfo() = default;

const std::vector<Point>& TrajectoryInfo::getPoints() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->lists.back();
}

void TrajectoryInfo::setPoints(std::vector<Point> points)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    const std::size_t count = points.size();
    d->lists.push_back(std::move(points));
    if (d->position >= count)
        d->position = count == 0 ? 0 : count - 1;
}

unsigned long TrajectoryInfo::getPosition() const
{
    return d->position;
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
    d->position = position;
    reportPosition(position);
}

} // namespace tov::trajectory
