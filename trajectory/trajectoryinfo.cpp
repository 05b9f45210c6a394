#include "trajectory/trajectoryinfo.h"

#include "scene/sceneelement.h"
#include "trajectory/path.h"
#include "trajectory/recordingpace.h"
#include "trajectory/sceneedits.h"
#include "trajectory/trajectorysignals.h"

namespace tov::trajectory {

using tov::scene::SceneElement;

struct TrajectoryInfo::Private : Path<std::vector<Point>>
{
    Private() { setList({}); }
    SceneEdits edits;
    void moveTo(const Point& point);
};

void TrajectoryInfo::Private::moveTo(const Point& point)
{
    edits.submit([point](SceneElement* root, std::uint64_t) {
        auto* carrier = root ? root->find(QStringLiteral("carrier")) : nullptr;
        if (!carrier)
            return;
        auto transform = carrier->getTransform();
        for (unsigned int axis = 0; axis < 3; ++axis)
            transform(axis, 3) = point[axis];
        carrier->setTransform(transform);
    });
}

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
    RecordingPace::beforeFrame();
    d->moveTo(points[position]);
    d->setPosition(position);
    reportPosition(position);
}

void TrajectoryInfo::showPosition()
{
    const auto& points = getPoints();
    if (getPosition() < points.size())
        d->moveTo(points[getPosition()]);
}

} // namespace tov::trajectory
