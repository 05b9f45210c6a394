#include "trajectory/advancedtrajectoryinfo.h"

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

namespace {
const QLatin1String CameraName("camera");
}

struct AdvancedTrajectoryInfo::Private
{
    mutable std::mutex mutex;
    std::list<MatrixMapList> lists; ///< guarded by mutex; the last one counts, the others have readers
    std::atomic<unsigned long> position{0};
};

AdvancedTrajectoryInfo::AdvancedTrajectoryInfo() : d(new Private) {}
AdvancedTrajectoryInfo::~AdvancedTrajectoryInfo() = default;

const MatrixMapList* AdvancedTrajectoryInfo::getMatrixMapList() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->lists.empty() ? nullptr : &d->lists.back();
}

void AdvancedTrajectoryInfo::setMatrixMapList(MatrixMapList list)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    const std::size_t count = list.size();
    d->lists.push_back(std::move(list));
    if (d->position >= count)
        d->position = count == 0 ? 0 : count - 1;
}

unsigned long AdvancedTrajectoryInfo::getPosition() const
{
    return d->position;
}

void AdvancedTrajectoryInfo::setPosition(unsigned long position)
{
    const MatrixMapList* list = getMatrixMapList();
    if (!list || position >= list->size())
        return;
    const MatrixMap& map = (*list)[position];
    const auto scene = Viewer::getInstance()->getGlobalScene();
    {
        SceneEdit edit(scene.get(), SceneLocker::LockTransforms);
        auto* root = scene->getRootNode();
        for (const auto& [name, matrix] : map)
            if (name != CameraName)
                if (auto* element = root ? root->find(name) : nullptr)
                    element->setTransform(matrix);
    }
    const auto camera = map.find(CameraName);
    if (camera != map.end())
        Viewer::getInstance()->setTrajectoryCamera(camera->second);
    d->position = position;
    reportPosition(position);
}

} // namespace tov::trajectory
