#pragma once

#include "kernel/math/matrix.h"

class QImage;

namespace tov::gui {
class ScenePanel;
}

namespace tov::main {
class Command;
}

namespace tov::app {

/// The word that calls the command that makes pictures.
inline constexpr char PictureCommand[] = "grabimage";

/// The picture command for one run that fills `image` with the scene seen through `transform`. All three arguments must
/// outlive the run; the processor deletes the command. Null when no module offers it. Thread: application.
tov::main::Command* makePictureCommand(QImage* image, tov::math::Matrix4* transform, tov::gui::ScenePanel* panel);

} // namespace tov::app
