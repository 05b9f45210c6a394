#pragma once

#include "scene/model.h"
#include "trajectory/motion.h"
#include "trajectory/pose.h"

#include <QString>

#include <mutex>
#include <vector>

namespace tov::trajectory {

/// How the times of a file or clip become frames.
struct PlaybackOptions
{
    double fps = 25;
    double seconds = 0;         ///< 0: as long as the clip or file
    bool repeat = false;        ///< with `seconds`: the clip is repeated instead of stretched
    bool everyPosition = false; ///< files with times: one position per frame, times ignored
    double start = 0;           ///< seconds of an animation that the first frame shows
    Ease ease = Ease::None;     ///< of a camera path that is read from a file; `None` = as in the file
};

/// The values of a channel at a time, as many as a key has; rotations have unit length. Before the first and after the
/// last key, the value of that key. The channel must be valid (`findChannelProblem`). Thread: any.
TOV_EXPORT std::vector<double> sampled(const tov::scene::AnimationChannel& channel, double seconds);
/// Why a channel cannot be played, or an empty text. Thread: any.
TOV_EXPORT QString findChannelProblem(const tov::scene::AnimationChannel& channel);

/// An animation of a model file, frame by frame.
class TOV_EXPORT AnimationMotion : public Motion
{
public:
    /// The elements must exist, and the caller must keep them from changing; later the animation notices when they are
    /// removed. On failure null and one line in `error`.
    static std::shared_ptr<const AnimationMotion> create(const tov::scene::Animation& animation,
                                                         const PlaybackOptions& options, QString* error);
    ~AnimationMotion() override;

    unsigned long frameCount() const override { return m_Count; }
    /// The time in the clip that a frame shows.
    double timeAt(unsigned long frame) const;
    bool movesElements() const override { return true; }
    void moveElements(unsigned long frame, tov::scene::SceneElement* root,
                      std::uint64_t structureRevision) const override;

private:
    AnimationMotion() = default;
    struct Target;
    void bind(tov::scene::SceneElement* root) const;

    tov::scene::Animation m_Animation;
    PlaybackOptions m_Options;
    unsigned long m_Count = 1;
    mutable std::mutex m_Mutex;
    mutable std::vector<Target> m_Targets; ///< guarded by m_Mutex
    mutable std::uint64_t m_Revision = 0;  ///< guarded by m_Mutex; of the scene that the targets were found in
};

} // namespace tov::trajectory
