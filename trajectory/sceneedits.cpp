#include "trajectory/sceneedits.h"

#include "kernel/workers/overseer.h"
#include "scene/globalscene.h"
#include "scene/scene.h"

#include <QCoreApplication>

namespace tov::trajectory {

using tov::scene::SceneEdit;
using tov::scene::SceneLocker;

void SceneEdits::submit(Edit edit)
{
    const std::uint64_t number = ++*m_Latest;
    if (tov::main::Overseer::getInstance()->isApplicationThread()) {
        tryEdit(m_Latest, number, edit);
        return;
    }
    const auto scene = tov::scene::_GlobalScene();
    SceneEdit guard(scene.get(), SceneLocker::LockTransforms);
    edit(scene->getRootNode(), scene->getStructureRevision());
}

void SceneEdits::tryEdit(const std::shared_ptr<std::atomic<std::uint64_t>>& latest, std::uint64_t number,
                         const Edit& edit)
{
    if (*latest != number)
        return;
    const auto scene = tov::scene::_GlobalScene();
    const auto retry = [latest, number, edit] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [latest, number, edit] { tryEdit(latest, number, edit); },
            Qt::QueuedConnection);
    };
    SceneEdit guard(scene.get(), SceneLocker::LockTransforms, retry);
    if (guard.hasBegun())
        edit(scene->getRootNode(), scene->getStructureRevision());
}

} // namespace tov::trajectory
