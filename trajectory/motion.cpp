#include "trajectory/motion.h"

#include <algorithm>

namespace tov::trajectory {

std::optional<tov::scene::Camera> Motion::cameraAt(unsigned long) const
{
    return std::nullopt;
}

void Motion::moveElements(unsigned long, tov::scene::SceneElement*, std::uint64_t) const {}

CombinedMotion::CombinedMotion(std::shared_ptr<const Motion> camera, std::shared_ptr<const Motion> elements)
    : mp_Camera(std::move(camera)), mp_Elements(std::move(elements))
{}

unsigned long CombinedMotion::frameCount() const
{
    return std::max(mp_Camera->frameCount(), mp_Elements->frameCount());
}

std::optional<tov::scene::Camera> CombinedMotion::cameraAt(unsigned long frame) const
{
    return mp_Camera->cameraAt(std::min(frame, mp_Camera->frameCount() - 1));
}

void CombinedMotion::moveElements(unsigned long frame, tov::scene::SceneElement* root,
                                  std::uint64_t structureRevision) const
{
    mp_Elements->moveElements(std::min(frame, mp_Elements->frameCount() - 1), root, structureRevision);
}

} // namespace tov::trajectory
