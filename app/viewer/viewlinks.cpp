#include "app/viewer/viewlinks.h"

#include "scene/view/scenepanel.h"

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::scene::Camera;

namespace {

/// `camera`, moved as another camera was from `before` to `after`, in the scene's axes.
Camera movedAlike(Camera camera, const Camera& before, const Camera& after)
{
    camera.rotation = camera.rotation * (before.rotation.transposed() * after.rotation);
    for (std::size_t axis = 0; axis < 3; ++axis)
        camera.target[axis] += after.target[axis] - before.target[axis];
    camera.distance *= after.distance / before.distance;
    return camera;
}

} // namespace

void ViewLinks::watch(ScenePanel* view)
{
    m_Cameras[view] = view->getCamera();
    connect(view, &ScenePanel::viewChanged, this, [this, view] { follow(view); });
    connect(view, &QObject::destroyed, this, [this, view] { m_Cameras.erase(view); });
}

void ViewLinks::setLinked(bool linked)
{
    m_Linked = linked;
    // Trajectories move views, too.
    for (auto& [view, camera] : m_Cameras)
        camera = view->getCamera();
}

void ViewLinks::follow(ScenePanel* moved)
{
    const auto found = m_Cameras.find(moved);
    if (m_IsFollowing || found == m_Cameras.end())
        return;
    const Camera before = found->second, after = moved->getCamera();
    found->second = after;
    if (!m_Linked)
        return;
    m_IsFollowing = true;
    for (auto& [view, camera] : m_Cameras) {
        if (view == moved)
            continue;
        camera = movedAlike(view->getCamera(), before, after);
        const auto move = [view = view, camera = camera] { view->setCamera(camera); };
        moved->isFlying() ? view->fly(move) : move();
    }
    m_IsFollowing = false;
}

} // namespace tov::viewer
