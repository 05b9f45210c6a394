#pragma once

#include "kernel/main/export.h"
#include "kernel/util/zpointer.h"

#include <memory>

namespace tov::scene {

class SceneElement;

/// A scene: a tree of elements under one root, and the lock that keeps it still.
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

    /// Keeps structure, transforms and data still while somebody draws or edits; not recursive; hold it briefly. Fair:
    /// threads get it in the order in which they asked. Taken after `SharedContext::lock`, never before. Thread: any.
    void lock();
    void unlock();
    /// True while a `SceneLocker` keeps edits of one of these kinds (a mask of `SceneLocker::LOCKTYPE`) out, so that a
    /// `SceneEdit` would wait. Thread: any.
    bool isLocked(int mask) const;

    /// The global scaling that panels apply so that the whole scene lies within `[SceneDrawer::ZNEAR, ZFAR]`.
    /// Thread: any.
    double getGlobalScaling() const;
    /// Takes a root over where there is none, inside a `SceneEdit` of the caller's.
    void adoptRootNode(SceneElement* root);
    /// Computes the global scaling anew, after elements came or went. The scene lock is held by the caller.
    void updateGlobalScaling();

protected:
    ~Scene() override;

private:
    friend class SceneLocker;
    friend class SceneEdit;
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::scene
