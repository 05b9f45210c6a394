#pragma once

#include "kernel/main/event.h"
#include "kernel/main/export.h"

#include <boost/function.hpp>

#include <memory>

namespace tov::main {

class Command;

/// Delivers events. Thread: any; functions are called at once on the firing thread, without a lock held.
class TOV_EXPORT EventManager
{
public:
    typedef boost::function<void(const Event*)> EventFunction;

    static EventManager* getInstance();

    /// Calls `function` for every event of `type` (from `sender` only, unless null) until the owner's functions are
    /// unregistered. The owner is a key, never called.
    void registerEventFunction(EventType type, const EventFunction& function, Command* owner, void* sender = nullptr);
    /// The same for owners that are no commands.
    void registerEventFunction(EventType type, const EventFunction& function, const void* owner,
                               void* sender = nullptr);
    /// Forgets every function of that owner. When this returns, none of them runs (but one that is up the calling
    /// thread's own stack).
    void unregisterAllEventFunctionsOf(Command* owner);
    void unregisterAllEventFunctionsOf(const void* owner);

    /// Calls the functions registered for the event's type, in order of registration. Exceptions of a function are
    /// caught and logged.
    void fireEvent(const Event& event);
    void fireEvent(const Event* event);

private:
    EventManager();
    ~EventManager();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::main
