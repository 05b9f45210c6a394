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

/// The command "grabimage": renders the scene, seen through the view of a panel, into a picture of any size. It has two
/// forms, which differ in the identifier of their parameter set: the interactive one (1) writes the picture to a file,
/// the programmatic one (10000) fills an image of the caller.
class TOV_EXPORT GrabImage : public tov::main::Command
{
public:
    static const char* CommandName;
    static bool m_Registered;
    /// A new command of the interactive form; the caller owns it. Thread: application.
    static tov::main::Command* create();

    /// The interactive form. Disabled until OpenGL has been checked and a panel is announced. Thread: application.
    GrabImage();
    /// The programmatic form, for one run. The caller owns image, matrix (scene to eye) and panel, which must outlive
    /// the run. The size of the image is the size of the picture. Thread: any.
    GrabImage(QImage* image, const tov::math::Matrix<double, 4u, 4u>* transform, tov::gui::ScenePanel* panel);
    ~GrabImage() override;

    /// Runs the command with its current parameter set. All failures are logged. Thread: command.
    void execute() override;

    /// Fills the target with the global scene seen through `transform`, in tiles of at most 512 x 512 pixels. Writes no
    /// file. Failures are logged; the tiles rendered before stay. Thread: command (a `QThread`).
    void saveImage(QImage* target, const tov::math::Matrix<double, 4u, 4u>& transform);

    /// The save dialog of the parameter "filename"; the caller owns it. Thread: application.
    QFileDialog* createSaveDialog();
    /// Handler of "SCENEPANEL_CHANGED". Thread: application.
    void scenePanelChanged(const tov::main::Event* event);

private:
    void scheduleProbe();
    void probe();
    bool readParameters(QString& fileName, int& width);
    void executeInteractive();
    void renderAndSave(QImage& target, const QPointer<tov::gui::ScenePanel>& panel, const QString& fileName);
    void executeProgrammatic();

    tov::main::ParameterPanelFactory* mp_PanelFactory = nullptr; ///< owned; null in the programmatic form
    QPointer<tov::gui::ScenePanel> mp_Panel; ///< used on the application thread only while a command runs
};

} // namespace tov::commands::grab
