#pragma once

#include "kernel/main/export.h"

namespace tov::scene {

class Scene;

/// Keeps kinds of edits out of a scene while drawing goes on in panels: for long work that draws the scene more than
/// once. The "SCENE_*_LOCKED" and "_UNLOCKED" events tell those who edit. Thread: any.
class TOV_EXPORT SceneLocker
{
public:
    /// A mask of what must not change.
    enum LOCKTYPE
    {
        LockStructure = 1,
        LockTransforms = 2,
        LockData = 4,
        LockAll = 7,
    };

    /// Waits for edits under way. `scene` must outlive the locker.
    SceneLocker(Scene* scene, LOCKTYPE type);
    SceneLocker(const SceneLocker&) = delete;
    SceneLocker& operator=(const SceneLocker&) = delete;
    /// Unlocks, unless `unlock` did.
    ~SceneLocker();
    /// Lets edits in again. Once only; more calls do nothing.
    void unlock();

private:
    Scene* mp_Scene; ///< null once unlocked
    LOCKTYPE m_Type;
};

/// Holds lockers off while a scene is edited, and the scene lock too: made by whoever edits, for the time of the edit.
/// Thread: any; on the application thread workers are run while it waits.
class TOV_EXPORT SceneEdit
{
public:
    SceneEdit(Scene* scene, SceneLocker::LOCKTYPE type);
    SceneEdit(const SceneEdit&) = delete;
    SceneEdit& operator=(const SceneEdit&) = delete;
    ~SceneEdit();

private:
    Scene* mp_Scene;
    SceneLocker::LOCKTYPE m_Type;
};

} // namespace tov::scene
