#pragma once

#include "trajectory/animationmotion.h"
#include "trajectory/camerapath.h"
#include "trajectory/turntable.h"

#include <QString>

#include <optional>

namespace tov::trajectory {

/// What the selected trajectory was made from, so that it can be selected again. See `TrajectoryHandler::getSelection`.
struct Selection
{
    enum class Kind
    {
        None,      ///< nothing, or only an animation
        File,      ///< `file`
        Turntable, ///< `turntable`, `start` and `center`
        Path,      ///< `path`
        Other,     ///< a motion that only its maker can repeat
    };
    Kind kind = Kind::None;
    QString file;
    TurntableOptions turntable;
    tov::scene::Camera start;               ///< the view of the turntable at angle 0
    tov::scene::Vector3 center = {0, 0, 0}; ///< a point of the turntable's axis
    CameraPath path;                        ///< a path that was not read from a file
    PlaybackOptions playback;               ///< of the file, the path or the animation alone
    std::optional<QString> animation;       ///< alone, or together with a turntable or a path
    PlaybackOptions animationPlayback;      ///< of an animation that runs together with a camera motion
};

} // namespace tov::trajectory
