#pragma once

#include "scene/scenelocker.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace tov::scene {
class SceneElement;
}

namespace tov::trajectory {

/// Makes the edits of one trajectory. On the application thread an edit that a picture blocks is postponed; only the
/// latest one is made. Other threads wait.
class SceneEdits
{
public:
    typedef std::function<void(tov::scene::SceneElement* root, std::uint64_t structureRevision)> Edit;

    /// Runs `edit` under a `SceneEdit` of the transforms: now, or soon on the application thread. A postponed edit is
    /// dropped when another one follows. Thread: any.
    void submit(Edit edit);
    /// Drops a postponed edit. Thread: any.
    void cancel() { ++*m_Latest; }

private:
    static void tryEdit(const std::shared_ptr<std::atomic<std::uint64_t>>& latest, std::uint64_t number,
                        const Edit& edit);
    /// Number of the latest edit; postponed edits keep it alive after this object is destroyed.
    std::shared_ptr<std::atomic<std::uint64_t>> m_Latest = std::make_shared<std::atomic<std::uint64_t>>(0);
};

} // namespace tov::trajectory
