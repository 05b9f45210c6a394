#pragma once

#include "kernel/main/export.h"
#include "kernel/util/zpointer.h"
#include "scene/sceneextent.h"

#include <cstdint>
#include <memory>

namespace tov::scene {

class SceneElement;

/// A scene: a tree of elements under one root, and the lock that keeps it from changing.
class TOV_EXPORT Scene : public tov::util::ZReferenced
{
public:
    Scene();

    /// The root of the tree; null while the scene has none. Owned by the scene. Thread: any, but the tree may change
    /// unless `lock` or a `SceneLocker` is held.
    SceneElement* getRootNode() const;
    /// Replaces the tree (null: none) and deletes the old one. Waits for lockers of the structure. Holds the scene lock
    /// meanwhile. Thread: application.
    void setRootNode(SceneElement* root);

    /// Keeps structure, transforms and data from changing while a thread draws or edits; not recursive; hold it
    /// briefly. Fair: threads get it in the order of their requests. Taken after `SharedContext::lock`, never before.
    /// Thread: any.
    void lock();
    /// Releases the lock. Thread: the one that holds it.
    void unlock();
    /// True while a `SceneLocker` blocks edits of one of these kinds (a mask of `SceneLocker::LOCKTYPE`), so that a
    /// `SceneEdit` would wait. Thread: any.
    bool isLocked(int mask) const;

    /// The global scaling that panels apply so that the whole scene lies within `[SceneDrawer::ZNEAR, ZFAR]`.
    /// Thread: any.
    double getGlobalScaling() const;
    /// The global scaling and the centre of what it was computed from. Thread: any.
    SceneExtent getExtent() const;
    /// Sets what `getExtent` returns until elements are added or a view is fitted: a stored view is then drawn exactly
    /// as it was. Ignored unless finite and positive. The caller holds the scene lock, as for `updateGlobalScaling`.
    void setExtent(const SceneExtent& extent);
    /// Takes over a root if the scene has none. The caller holds a `SceneEdit` of the structure.
    void adoptRootNode(SceneElement* root);
    /// Recomputes the global scaling after elements were added or removed. The caller holds the scene lock. When the
    /// scaling changes, "SCENE_GLOBALSCALING_CHANGED" is fired as soon as the lock is released, on the same thread.
    void updateGlobalScaling();
    /// Counts edits of the structure. While it stays the same, pointers to elements of the tree stay valid. Read it
    /// while the scene lock is held. Thread: any.
    std::uint64_t getStructureRevision() const;

protected:
    ~Scene() override;

private:
    friend class SceneLocker;
    friend class SceneEdit;
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::scene
