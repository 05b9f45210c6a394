#include "app/viewer/editqueue.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/view/viewer.h"

namespace tov::viewer {

using tov::main::EventManager;
using tov::scene::SceneEdit;
using tov::scene::SceneLocker;
using tov::scene::Viewer;

EditQueue::EditQueue(QObject* parent) : QObject(parent)
{
    EventManager::getInstance()->registerEventFunction(
        tov::events::EventHandler::getInstance()->addEvent("Scene", "SCENE_STRUCTURE_UNLOCKED"),
        [this](const tov::main::Event*) {
            // Fired on the thread that had blocked edits.
            QMetaObject::invokeMethod(
                this, [this] { runAll(); }, Qt::QueuedConnection);
        },
        static_cast<const void*>(this));
}

EditQueue::~EditQueue()
{
    EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<const void*>(this));
}

void EditQueue::submit(std::function<void()> edit)
{
    m_Edits.push_back(std::move(edit));
    runAll();
    if (!m_Edits.empty())
        emit postponed();
}

void EditQueue::runAll()
{
    const auto scene = Viewer::getInstance()->getGlobalScene();
    bool any = false;
    while (!m_Edits.empty() && !scene->isLocked(SceneLocker::LockStructure)) {
        const auto edit = std::move(m_Edits.front());
        m_Edits.pop_front();
        SceneEdit guard(scene.get(), SceneLocker::LockStructure);
        edit();
        any = true;
    }
    if (!any)
        return;
    Viewer::getInstance()->redraw();
    emit edited();
}

} // namespace tov::viewer
