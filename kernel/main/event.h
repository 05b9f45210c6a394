#pragma once

#include "kernel/events/eventhandler.h"

namespace tov::main {

using tov::events::EventType;

/// Something that happened. Sender and data belong to the code that fires the event and are valid during the call.
class Event
{
public:
    explicit Event(EventType type, void* sender = nullptr, void* data = nullptr)
        : m_Type(type), mp_Sender(sender), mp_Data(data)
    {}
    /// The number that `EventHandler::addEvent` returned.
    EventType getType() const { return m_Type; }
    /// The object that fired the event; may be null.
    void* getSender() const { return mp_Sender; }
    /// The event's data; its type depends on the event type ("SCENEPANEL_CHANGED": a `tov::gui::ScenePanel*`,
    /// null when no panel is active).
    void* getData() const { return mp_Data; }

private:
    EventType m_Type;
    void* mp_Sender;
    void* mp_Data;
};

} // namespace tov::main
