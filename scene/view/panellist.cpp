#include "scene/view/panellist.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"

#include <algorithm>

namespace tov::scene {

using tov::gui::ScenePanel;

PanelList* PanelList::getInstance()
{
    static auto* list = new PanelList; // never destroyed
    return list;
}

void PanelList::add(ScenePanel* panel)
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Panels.push_back(panel);
}

void PanelList::remove(ScenePanel* panel)
{
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Panels.erase(std::remove(m_Panels.begin(), m_Panels.end(), panel), m_Panels.end());
    }
    // A panel that is deleted without being closed leaves no dangling pointer behind.
    if (mp_Active == panel)
        setActive(m_Panels.empty() ? nullptr : m_Panels.back());
}

void PanelList::forEach(const std::function<void(ScenePanel&)>& function)
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    for (ScenePanel* panel : m_Panels)
        function(*panel);
}

void PanelList::setActive(ScenePanel* panel)
{
    if (mp_Active == panel)
        return;
    mp_Active = panel;
    announceActive();
}

void PanelList::announceActive()
{
    auto* events = tov::events::EventHandler::getInstance();
    // The receivers get a pointer to the panel, whose class this unit does not need to know.
    tov::main::EventManager::getInstance()->fireEvent(
        tov::main::Event(events->addEvent("Scene", "SCENEPANEL_CHANGED"), nullptr, mp_Active));
}

} // namespace tov::scene
