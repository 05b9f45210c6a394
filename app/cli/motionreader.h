#pragma once

namespace tov::app {

class OptionReader;
struct MotionRequest;

/// Reads the options of a motion; what is wrong with them is noted in `reader`. Thread: any.
void readMotion(OptionReader& reader, MotionRequest& motion);
/// Reads the options of a picture of an animation.
void readStill(OptionReader& reader, MotionRequest& motion);

} // namespace tov::app
