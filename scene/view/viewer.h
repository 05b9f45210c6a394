#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"
#include "kernel/util/zpointer.h"
#include "scene/scene.h"

#include <QString>

#include <memory>
#include <vector>

namespace tov::gui {
class ScenePanel;
}

namespace tov::scene {

struct Camera;

/// The entry point of the scene library: the global scene, OpenGL, and the panels.
class TOV_EXPORT Viewer
{
public:
    /// The viewer of the process; never null. Thread: any.
    static Viewer* getInstance();

    /// Creates the shared context and determines what OpenGL can do. Returns false (logged) without usable OpenGL;
    /// pictures and videos are then refused. Needs the QApplication. Thread: application.
    bool initialize();
    /// Frees the shared context and the scene's OpenGL objects; panels must be gone. Thread: application.
    void shutdown();

    /// The application's scene; never null. Thread: any.
    tov::util::ZPointer<Scene> getGlobalScene() const;
    /// True when OpenGL works and has framebuffer objects. Thread: any.
    bool isFboAvailable() const;
    /// Renderer and version of OpenGL; empty before `initialize`. Thread: application.
    QString getRenderer() const;

    /// Largest edge of a texture or framebuffer in pixels; 0 before `initialize`. Thread: application.
    int getMaxTextureSize() const;

    /// All existing panels, in order of creation. Thread: application.
    std::vector<tov::gui::ScenePanel*> getPanels() const;
    /// The panel that commands use, or null. Thread: application.
    tov::gui::ScenePanel* getActivePanel() const;
    /// Makes a panel the active one (null: none) and fires "SCENEPANEL_CHANGED" when that changes something.
    /// Thread: application.
    void setActivePanel(tov::gui::ScenePanel* panel);
    /// Fires "SCENEPANEL_CHANGED" with the active panel again, for commands that were loaded later. Thread:
    /// application.
    void announceActivePanel();
    /// The only way to delete a panel: it is hidden, the next panel (or none) is announced, then it is deleted. Holds
    /// no lock. Thread: application.
    void closePanel(tov::gui::ScenePanel* panel);
    /// Passes a camera pose (eye to scene) to every panel that follows the trajectory. Thread: any; no panel is
    /// destroyed meanwhile.
    void setTrajectoryCamera(const tov::math::Matrix<double, 4u, 4u>& eyeToScene);
    /// The same with a lens. Thread: any.
    void setTrajectoryCamera(const Camera& camera);
    /// Redraws all panels soon. Thread: application.
    void redraw();

private:
    Viewer();
    ~Viewer();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::scene
