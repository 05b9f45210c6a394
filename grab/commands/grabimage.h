#pragma once

#include "kernel/commands/command.h"
#include "kernel/main/export.h"
#include "kernel/math/matrix.h"

#include <QPointer>

class QFileDialog;
class QImage;

namespace tov::gui {
class ScenePanel;
}

namespace tov::main {
class Event;
class ParameterPanelFactory;
} // namespace tov::main

namespace tov::commands::grab {

/// The command "grabimage": renders the scene, seen as a panel sees it, into a picture of any size. Two forms, told
/// apart by the identifier of their parameter set: the interactive one (1) writes the picture to a file, the
/// programmatic one (10000) fills an image of the caller's.
class TOV_EXPORT GrabImage : public tov::main::Command
{
public:
    static const char* CommandName;
    static bool m_Registered;
    /// A new command of the interactive form; the caller owns it. Thread: application.
    static tov::main::Command* create();

    /// The interactive form; disabled until a panel is announced and OpenGL was found fit. Thread: application.
    GrabImage();
    /// The programmatic form, for one run. Image, matrix (scene to eye) and panel stay the caller's and must outlive
    /// the run; the image's size is the picture's. Thread: any.
    GrabImage(QImage* image, const tov::math::Matrix<double, 4u, 4u>* transform, tov::gui::ScenePanel* panel);
    ~GrabImage() override;

    /// Does what the current parameter set asks for. All failures are logged. Thread: command.
    void execute() override;

    /// Fills the target with the global scene seen through `transform`, in tiles of at most 512 x 512 pixels; writes no
    /// file. Failures are logged and leave the target as far as it was filled. Thread: command (a `QThread`).
    void saveImage(QImage* target, const tov::math::Matrix<double, 4u, 4u>& transform);

    /// The save dialog of the parameter "filename"; the caller owns it. Thread: application.
    QFileDialog* createSaveDialog();
    /// Handler of "SCENEPANEL_CHANGED". Thread: application.
    void scenePanelChanged(const tov::main::Event* event);

private:
    void scheduleProbe();
    void probe();
    void executeInteractive();
    void executeProgrammatic();

    tov::main::ParameterPanelFactory* mp_PanelFactory = nullptr; ///< owned; null in the programmatic form
    QPointer<tov::gui::ScenePanel> mp_Panel; ///< touched on the application thread while commands run
};

} // namespace tov::commands::grab
