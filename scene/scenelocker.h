#pragma once

#include "kernel/main/export.h"

#include <functional>

namespace tov::scene {

class Scene;

/// Blocks kinds of edits of a scene while panels continue to draw: for long work that draws the scene more than once.
/// The "SCENE_*_LOCKED" and "_UNLOCKED" events inform code that edits. Thread: any.
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

    /// Waits for edits in progress. `scene` must outlive the locker.
    SceneLocker(Scene* scene, LOCKTYPE type);
    SceneLocker(const SceneLocker&) = delete;
    SceneLocker& operator=(const SceneLocker&) = delete;
    /// Unlocks unless `unlock` was called.
    ~SceneLocker();
    /// Allows edits again. Further calls do nothing.
    void unlock();

private:
    Scene* mp_Scene; ///< null once unlocked
    LOCKTYPE m_Type;
};

/// An edit of the scene: blocks lockers and other edits of the same kinds, and holds the scene lock while it exists.
/// Made by the code that edits. Thread: any.
class TOV_EXPORT SceneEdit
{
public:
    /// Waits until the edit can begin; on the application thread workers are run meanwhile.
    SceneEdit(Scene* scene, SceneLocker::LOCKTYPE type);
    /// Does not wait for lockers: when the edit cannot begin now, `hasBegun` returns false and `retry` is called once
    /// when the edit may succeed, on the thread that released the scene. `retry` must only post.
    SceneEdit(Scene* scene, SceneLocker::LOCKTYPE type, std::function<void()> retry);
    SceneEdit(const SceneEdit&) = delete;
    SceneEdit& operator=(const SceneEdit&) = delete;
    ~SceneEdit();

    /// False when nothing may be edited.
    bool hasBegun() const { return mp_Scene != nullptr; }

private:
    void begin();
    Scene* mp_Scene; ///< null: the edit could not begin
    SceneLocker::LOCKTYPE m_Type;
};

} // namespace tov::scene
