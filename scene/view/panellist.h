#pragma once

#include "kernel/main/export.h"

#include <functional>
#include <mutex>
#include <vector>

namespace tov::gui {
class ScenePanel;
}

namespace tov::scene {

/// The existing panels, and the active one. Panels add and remove themselves.
class PanelList
{
public:
    /// The list of the process; never null. Thread: any.
    static PanelList* getInstance();

    /// Thread: application.
    void add(tov::gui::ScenePanel* panel);
    /// The last panel of the list becomes active when the active one is removed. Thread: application.
    void remove(tov::gui::ScenePanel* panel);

    /// In order of creation. Thread: application.
    const std::vector<tov::gui::ScenePanel*>& getPanels() const { return m_Panels; }
    /// Calls `function` for every panel; no panel is added or removed meanwhile. Thread: any.
    void forEach(const std::function<void(tov::gui::ScenePanel&)>& function);

    /// Null: none. Thread: application.
    tov::gui::ScenePanel* getActive() const { return mp_Active; }
    /// Fires "SCENEPANEL_CHANGED" when that changes something. Thread: application.
    void setActive(tov::gui::ScenePanel* panel);
    /// Fires "SCENEPANEL_CHANGED" with the active panel. Thread: application.
    void announceActive();

private:
    std::mutex m_Mutex;
    std::vector<tov::gui::ScenePanel*> m_Panels; ///< not owned; changed on the application thread under m_Mutex
    tov::gui::ScenePanel* mp_Active = nullptr;   ///< not owned; application thread
};

} // namespace tov::scene
