#include "trajectory/advancedtrajectoryinfo.h"

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

namespace {
const QLatin1String CameraName("camera");
}

struct AdvancedTrajectoryInfo::Private : Path<MatrixMapList>
{};

AdvancedTrajectoryInfo::AdvancedTrajectoryInfo() : d(new Private) {}
AdvancedTrajectoryInfo::~AdvancedTrajectoryInfo() = default;

const MatrixMapList* AdvancedTrajectoryInfo::getMatrixMapList() const
{
    return d->getList();
}

void AdvancedTrajectoryInfo::setMatrixMapList(MatrixMapList list)
{
    d->setList(std::move(list));
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
    d->setPosition(position);
    reportPosition(position);
}

} // namespace tov::trajectory
