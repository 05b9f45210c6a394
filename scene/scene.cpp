#include "scene/scene.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "scene/sceneelement.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/ticketlock.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace tov::scene {

namespace {

constexpr int Kinds = 3; ///< structure, transforms, data

void fire(const char* name)
{
    auto* events = tov::events::EventHandler::getInstance();
    tov::main::EventManager::getInstance()->fireEvent(tov::main::Event(events->addEvent("Scene", name)));
}

void fireLocked(int mask, bool locked)
{
    if (mask & SceneLocker::LockStructure)
        fire(locked ? "SCENE_STRUCTURE_LOCKED" : "SCENE_STRUCTURE_UNLOCKED");
    if (mask & SceneLocker::LockTransforms)
        fire(locked ? "SCENE_TRANSFORM_LOCKED" : "SCENE_TRANSFORM_UNLOCKED");
}

} // namespace

struct Scene::Private
{
    TicketLock drawing;
    SceneElement* root = nullptr; ///< owned
    std::atomic<double> scaling{1.0};

    std::mutex mutex;
    std::condition_variable changed;
    int lockers[Kinds] = {}; ///< guarded by mutex
    int edits[Kinds] = {};   ///< guarded by mutex

    bool any(const int (&counts)[Kinds], int mask) const
    {
        for (int kind = 0; kind < Kinds; ++kind)
            if ((mask & (1 << kind)) && counts[kind] > 0)
                return true;
        return false;
    }
    void count(int (&counts)[Kinds], int mask, int by)
    {
        for (int kind = 0; kind < Kinds; ++kind)
            if (mask & (1 << kind))
                counts[kind] += by;
    }
};

Scene::Scene() : d(new Private) {}

Scene::~Scene()
{
    delete d->root;
    d->root = nullptr;
}

SceneElement* Scene::getRootNode() const
{
    return d->root;
}

void Scene::setRootNode(SceneElement* root)
{
    SceneElement* old = nullptr;
    {
        SceneEdit edit(this, SceneLocker::LockAll);
        old = d->root;
        d->root = root;
        updateGlobalScaling();
    }
    delete old;
    fire(root ? "SCENE_ELEMENT_ADDED" : "SCENE_ELEMENT_REMOVED");
}

void Scene::adoptRootNode(SceneElement* root)
{
    delete d->root;
    d->root = root;
}

void Scene::updateGlobalScaling()
{
    const Box box = d->root ? visibleBox(d->root) : Box();
    d->scaling = box.isEmpty() ? 1.0 : scalingFor(box);
}

void Scene::lock()
{
    d->drawing.lock();
}

void Scene::unlock()
{
    d->drawing.unlock();
}

bool Scene::isLocked(int mask) const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->any(d->lockers, mask);
}

double Scene::getGlobalScaling() const
{
    return d->scaling;
}

SceneLocker::SceneLocker(Scene* scene, LOCKTYPE type) : mp_Scene(scene), m_Type(type)
{
    {
        auto& d = *scene->d;
        std::unique_lock<std::mutex> lock(d.mutex);
        d.changed.wait(lock, [&] { return !d.any(d.edits, type); });
        d.count(d.lockers, type, 1);
    }
    fireLocked(type, true);
}

SceneLocker::~SceneLocker()
{
    unlock();
}

void SceneLocker::unlock()
{
    if (!mp_Scene)
        return;
    {
        auto& d = *mp_Scene->d;
        std::lock_guard<std::mutex> lock(d.mutex);
        d.count(d.lockers, m_Type, -1);
        d.changed.notify_all();
    }
    mp_Scene = nullptr;
    fireLocked(m_Type, false);
}

SceneEdit::SceneEdit(Scene* scene, SceneLocker::LOCKTYPE type) : mp_Scene(scene), m_Type(type)
{
    auto& d = *scene->d;
    const auto tryEnter = [&] {
        std::lock_guard<std::mutex> lock(d.mutex);
        if (d.any(d.lockers, type) || d.any(d.edits, type))
            return false;
        d.count(d.edits, type, 1);
        return true;
    };
    auto* overseer = tov::main::Overseer::getInstance();
    if (overseer->isApplicationThread()) {
        overseer->processWorkersUntil(tryEnter);
    } else {
        std::unique_lock<std::mutex> lock(d.mutex);
        d.changed.wait(lock, [&] { return !d.any(d.lockers, type) && !d.any(d.edits, type); });
        d.count(d.edits, type, 1);
    }
    scene->lock();
}

SceneEdit::~SceneEdit()
{
    mp_Scene->unlock();
    auto& d = *mp_Scene->d;
    std::lock_guard<std::mutex> lock(d.mutex);
    d.count(d.edits, m_Type, -1);
    d.changed.notify_all();
}

} // namespace tov::scene
