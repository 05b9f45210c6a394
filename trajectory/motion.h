#pragma once

#include "kernel/main/export.h"
#include "scene/view/camera.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>

namespace tov::scene {
class SceneElement;
}

namespace tov::trajectory {

/// More frames than this are refused: a recording of nine hours at 30 frames per second.
constexpr double MaxFrames = 1000000;

/// The number of frames of `seconds` at `fps`: at least 1; 0 when it is more than `MaxFrames` or not a number.
inline unsigned long frameCountOf(double seconds, double fps)
{
    const double frames = seconds * fps;
    if (!(frames >= 0) || !(fps > 0) || frames > MaxFrames)
        return 0;
    return frames < 1.5 ? 1 : static_cast<unsigned long>(std::lround(frames));
}

/// Slow at the start or the end of a motion.
enum class Ease
{
    None,
    In,
    Out,
    InOut,
};

/// The share of the path at a share of the time, both from 0 to 1.
inline double eased(Ease ease, double share)
{
    switch (ease) {
    case Ease::In:
        return share * share * (2 - share);
    case Ease::Out:
        return 1 - (1 - share) * (1 - share) * (1 + share);
    case Ease::InOut:
        return share * share * (3 - 2 * share);
    default:
        return share;
    }
}

/// A motion that is computed frame by frame: turntables, camera paths, animations. Immutable for its users. Thread:
/// any.
class TOV_EXPORT Motion
{
public:
    virtual ~Motion() = default;
    /// At least 1.
    virtual unsigned long frameCount() const = 0;
    /// The camera of a frame; no value: the view does not change.
    virtual std::optional<tov::scene::Camera> cameraAt(unsigned long frame) const;
    /// Whether `moveElements` does anything.
    virtual bool movesElements() const { return false; }
    /// Moves the elements under `root` (null: none) to their state in a frame. `structureRevision` is that of the
    /// scene. The caller holds a `SceneEdit` of the transforms.
    virtual void moveElements(unsigned long frame, tov::scene::SceneElement* root,
                              std::uint64_t structureRevision) const;
};

/// Two motions that run together: the camera of the first, the elements of the second. The duration is that of the
/// longer one; the other keeps its last frame.
class TOV_EXPORT CombinedMotion : public Motion
{
public:
    CombinedMotion(std::shared_ptr<const Motion> camera, std::shared_ptr<const Motion> elements);
    unsigned long frameCount() const override;
    std::optional<tov::scene::Camera> cameraAt(unsigned long frame) const override;
    bool movesElements() const override { return true; }
    void moveElements(unsigned long frame, tov::scene::SceneElement* root,
                      std::uint64_t structureRevision) const override;

private:
    std::shared_ptr<const Motion> mp_Camera;
    std::shared_ptr<const Motion> mp_Elements;
};

} // namespace tov::trajectory
