#include "scene/scene.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "scene/deformation.h"
#include "scene/sceneelement.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/ticketlock.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

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
    std::atomic<std::uint64_t> structureRevision{0};
    Deformations deformations;               ///< guarded by drawing
    std::atomic<bool> scalingChanged{false}; ///< since the last announcement

    mutable std::mutex mutex;
    std::condition_variable changed;
    SceneExtent extent;                         ///< guarded by mutex
    int lockers[Kinds] = {};                    ///< guarded by mutex
    int edits[Kinds] = {};                      ///< guarded by mutex
    std::vector<std::function<void()>> retries; ///< guarded by mutex; of edits that could not begin

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

    bool isEditable(int mask) const { return !any(lockers, mask) && !any(edits, mask); }

    /// Ends a lock or an edit, and wakes the threads that wait for it.
    void leave(int (&counts)[Kinds], int mask)
    {
        std::vector<std::function<void()>> ready;
        {
            std::lock_guard<std::mutex> lock(mutex);
            count(counts, mask, -1);
            ready.swap(retries);
            changed.notify_all();
        }
        for (const auto& retry : ready)
            retry();
    }

    /// To be fired after the scene lock is released.
    void announceScaling()
    {
        if (scalingChanged.exchange(false))
            fire("SCENE_GLOBALSCALING_CHANGED");
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
    SceneExtent extent;
    if (!box.isEmpty())
        extent = {centreOf(box), scalingFor(box)};
    setExtent(extent);
}

void Scene::setExtent(const SceneExtent& extent)
{
    const bool isFinite =
        std::all_of(extent.center.begin(), extent.center.end(), [](double x) { return std::isfinite(x); });
    if (!isFinite || !std::isfinite(extent.scaling) || !(extent.scaling > 0))
        return;
    std::lock_guard<std::mutex> lock(d->mutex);
    if (extent.scaling != d->extent.scaling || extent.center != d->extent.center)
        d->scalingChanged = true;
    d->extent = extent;
}

std::uint64_t Scene::getStructureRevision() const
{
    return d->structureRevision;
}

void Scene::lock()
{
    d->drawing.lock();
}

void Scene::unlock()
{
    d->drawing.unlock();
    d->announceScaling();
}

bool Scene::isLocked(int mask) const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->any(d->lockers, mask);
}

double Scene::getGlobalScaling() const
{
    return getExtent().scaling;
}

SceneExtent Scene::getExtent() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->extent;
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
    Scene::Private& d = *mp_Scene->d;
    mp_Scene = nullptr;
    d.leave(d.lockers, m_Type);
    fireLocked(m_Type, false);
}

SceneEdit::SceneEdit(Scene* scene, SceneLocker::LOCKTYPE type) : mp_Scene(scene), m_Type(type)
{
    auto& d = *scene->d;
    const auto tryEnter = [&] {
        std::lock_guard<std::mutex> lock(d.mutex);
        if (!d.isEditable(type))
            return false;
        d.count(d.edits, type, 1);
        return true;
    };
    auto* overseer = tov::main::Overseer::getInstance();
    if (overseer->isApplicationThread()) {
        overseer->processWorkersUntil(tryEnter);
    } else {
        std::unique_lock<std::mutex> lock(d.mutex);
        d.changed.wait(lock, [&] { return d.isEditable(type); });
        d.count(d.edits, type, 1);
    }
    begin();
}

SceneEdit::SceneEdit(Scene* scene, SceneLocker::LOCKTYPE type, std::function<void()> retry)
    : mp_Scene(nullptr), m_Type(type)
{
    auto& d = *scene->d;
    {
        std::lock_guard<std::mutex> lock(d.mutex);
        if (!d.isEditable(type)) {
            d.retries.push_back(std::move(retry));
            return;
        }
        d.count(d.edits, type, 1);
    }
    mp_Scene = scene;
    begin();
}

SceneEdit::~SceneEdit()
{
    if (!mp_Scene)
        return;
    auto& d = *mp_Scene->d;
    d.deformations.update(d.root, d.structureRevision);
    d.drawing.unlock();
    d.leave(d.edits, m_Type);
    d.announceScaling();
}

void SceneEdit::begin()
{
    mp_Scene->d->drawing.lock();
    if (m_Type & SceneLocker::LockStructure)
        ++mp_Scene->d->structureRevision;
}

} // namespace tov::scene
