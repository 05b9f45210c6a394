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

class SharedContext;
TOV_EXPORT SharedContext* _GlobalContext();

/// The scene library's centre: the global scene, OpenGL, and which panel is the active one.
class TOV_EXPORT Viewer
{
public:
    static Viewer* getInstance();

    /// Makes the shared context and finds out what OpenGL can do. Returns false (logged) without usable OpenGL;
    /// pictures and videos are then refused. Needs the QApplication. Thread: application.
    bool initialize();
    /// Frees the shared context and the scene's OpenGL objects; panels must be gone. Thread: application.
    void shutdown();

    /// The application's scene; never null. Thread: any.
    tov::util::ZPointer<Scene> getGlobalScene() const;
    /// True when OpenGL works and has framebuffer objects. Thread: any.
    bool isFboAvailable() const;
    /// What draws: renderer and version of OpenGL; empty before `initialize`. Thread: application.
    QString getRenderer() const;

    /// Largest edge of a texture or framebuffer in pixels; 0 before `initialize`. Thread: application.
    int getMaxTextureSize() const;

    /// All living panels, in order of creation. Thread: application.
    std::vector<tov::gui::ScenePanel*> getPanels() const;
    tov::gui::ScenePanel* getActivePanel() const;
    /// Makes a panel the active one (null: none) and fires "SCENEPANEL_CHANGED" when that changes something.
    /// Thread: application.
    void setActivePanel(tov::gui::ScenePanel* panel);
    /// Fires "SCENEPANEL_CHANGED" with the active panel once more, for commands that came later. Thread: application.
    void announceActivePanel();
    /// The one way in which panels die: hidden, the next panel (or none) announced, then deleted. Holds no lock.
    /// Thread: application.
    void closePanel(tov::gui::ScenePanel* panel);
    /// Hands a camera pose (eye to scene) to every panel that follows the trajectory. Thread: any; no panel dies
    /// meanwhile.
    void setTrajectoryCamera(const tov::math::Matrix<double, 4u, 4u>& eyeToScene);
    /// Redraws all panels soon. Thread: application.
    void redraw();

private:
    friend class tov::gui::ScenePanel;
    friend SharedContext* _GlobalContext();
    Viewer();
    ~Viewer();
    void add(tov::gui::ScenePanel* panel);
    void remove(tov::gui::ScenePanel* panel);
    SharedContext* getSharedContext() const;
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::scene
