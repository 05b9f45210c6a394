#include "trajectory/advancedtrajectoryinfo.h"

#include "scene/sceneelement.h"
#include "scene/view/viewer.h"
#include "trajectory/motion.h"
#include "trajectory/path.h"
#include "trajectory/recordingpace.h"
#include "trajectory/sceneedits.h"
#include "trajectory/trajectorysignals.h"

namespace tov::trajectory {

using tov::scene::SceneElement;
using tov::scene::Viewer;

namespace {
const QLatin1String CameraName("camera");
}

struct AdvancedTrajectoryInfo::Private : Path<MatrixMapList>
{
    SceneEdits edits;
    mutable std::mutex mutex;
    std::shared_ptr<const Motion> motion; ///< guarded by mutex

    void setMotion(std::shared_ptr<const Motion> value)
    {
        std::lock_guard<std::mutex> guard(mutex);
        motion = std::move(value);
    }
    void moveTo(const MatrixMap& map);
    void moveTo(const std::shared_ptr<const Motion>& motion, unsigned long frame);
    void moveTo(const MatrixMapList& list, unsigned long position)
    {
        std::shared_ptr<const Motion> current;
        {
            std::lock_guard<std::mutex> guard(mutex);
            current = motion;
        }
        if (current && position < current->frameCount())
            moveTo(current, position);
        else
            moveTo(list[position]);
    }
};

void AdvancedTrajectoryInfo::Private::moveTo(const MatrixMap& map)
{
    const auto camera = map.find(CameraName);
    if (map.size() > (camera == map.end() ? 0u : 1u)) {
        edits.submit([map](SceneElement* root, std::uint64_t) {
            for (const auto& [name, matrix] : map)
                if (name != CameraName)
                    if (auto* element = root ? root->find(name) : nullptr)
                        element->setTransform(matrix);
        });
    } else {
        edits.cancel();
    }
    if (camera != map.end())
        Viewer::getInstance()->setTrajectoryCamera(camera->second);
}

void AdvancedTrajectoryInfo::Private::moveTo(const std::shared_ptr<const Motion>& motion, unsigned long frame)
{
    if (motion->movesElements()) {
        edits.submit([motion, frame](SceneElement* root, std::uint64_t structureRevision) {
            motion->moveElements(frame, root, structureRevision);
        });
    } else {
        edits.cancel();
    }
    if (const auto camera = motion->cameraAt(frame))
        Viewer::getInstance()->setTrajectoryCamera(*camera);
}

AdvancedTrajectoryInfo::AdvancedTrajectoryInfo() : d(new Private) {}
AdvancedTrajectoryInfo::~AdvancedTrajectoryInfo() = default;

const MatrixMapList* AdvancedTrajectoryInfo::getMatrixMapList() const
{
    return d->getList();
}

void AdvancedTrajectoryInfo::setMatrixMapList(MatrixMapList list)
{
    d->setMotion(nullptr);
    d->setList(std::move(list));
}

void AdvancedTrajectoryInfo::setMotion(std::shared_ptr<const Motion> motion)
{
    const unsigned long count = motion->frameCount();
    d->setMotion(std::move(motion));
    d->setList(MatrixMapList(count));
}

void AdvancedTrajectoryInfo::changeMotion(std::shared_ptr<const Motion> motion)
{
    d->setMotion(std::move(motion));
}

std::shared_ptr<const Motion> AdvancedTrajectoryInfo::getMotion() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->motion;
}

unsigned long AdvancedTrajectoryInfo::getPosition() const
{
    return d->getPosition();
}

void AdvancedTrajectoryInfo::setPosition(unsigned long position)
{
    const MatrixMapList* list = getMatrixMapList();
    if (!list || position >= list->size())
        return;
    RecordingPace::beforeFrame();
    d->moveTo(*list, position);
    d->setPosition(position);
    reportPosition(position);
}

void AdvancedTrajectoryInfo::showPosition()
{
    const MatrixMapList* list = getMatrixMapList();
    if (list && getPosition() < list->size())
        d->moveTo(*list, getPosition());
}

} // namespace tov::trajectory
