#pragma once

#include <QString>

#include <optional>

namespace tov::app {

class OptionReader;

/// What moves in a video, or the moment of an animation that a picture shows.
struct MotionRequest
{
    /// The motion of the camera, or of everything that a trajectory file moves.
    enum class Kind
    {
        None,
        Turntable,
        Trajectory,
        Path,
        Free,
        Scene, ///< that of the scene file
    };
    Kind kind = Kind::None;
    std::optional<QString> animation; ///< of the model, on its own or with a turntable or path; empty = the first
    int positions = 0;                ///< of the turntable; 0 = from the duration
    QString file;                     ///< of a trajectory or path
    std::optional<double> seconds;    ///< exact length; for `Free` the time to record
    double turns = 1;
    double swing = 0; ///< degrees; 0 = the turntable turns
    QString axis;     ///< of the turntable: "x", "y", "z" or "X,Y,Z"; empty or "up" = up
    bool isEased = false;
    bool isRepeated = false;         ///< with `seconds`: repeated instead of stretched
    bool takesEveryPosition = false; ///< one position of the trajectory per frame; its times are ignored
    std::optional<double> time;      ///< seconds of the animation, for pictures
};

/// True when the model turns about its upright axis all the way round, so that the view has to fit every side.
bool turnsUpright(const MotionRequest& motion);

/// Reads the options of a motion; errors are kept in `reader`. Thread: any.
void readMotion(OptionReader& reader, MotionRequest& motion);
/// Reads the options of a picture of an animation.
void readStill(OptionReader& reader, MotionRequest& motion);

} // namespace tov::app
